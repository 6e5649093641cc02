// The rig: a virtual card behind the library's seam, each scenario in a
// process of its own so that it starts from the library's state at load.
#ifndef SIMCARD_TESTS_OUTSIDE_RIG_H
#define SIMCARD_TESTS_OUTSIDE_RIG_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::rig {

struct Rig {
    vcard::ScopedSandbox sandbox;
    vcard::VirtualCard card;
    vcard::VirtualPlatform platform{card, sandbox.path()};
};

// Runs scenario in a child process with a fresh rig installed; the test fails
// when any expectation inside failed.
void isolated(const std::function<void(Rig &)> &scenario);

// Standard output written while body runs.
std::string stdout_of(const std::function<void()> &body);

}  // namespace simcard::rig

#endif  // SIMCARD_TESTS_OUTSIDE_RIG_H
