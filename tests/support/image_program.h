// The frame of a test program that runs the library, as a gateway process
// would, on a saved card image.
#pragma once

#include <functional>

#include "vcard/virtual_card.h"

namespace simcard::testing {

// Runs `body` with the library on the card of IMAGE, SANDBOX standing for "/",
// and saves the card back to IMAGE after it. A failure of the program itself
// is printed as "NAME: what" on standard error and gives `failure`.
int on_image(const char *name, const char *image, const char *sandbox, int failure,
             const std::function<int(vcard::VirtualCard &)> &body);

}  // namespace simcard::testing
