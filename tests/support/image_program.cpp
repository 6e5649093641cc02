#include "tests/support/image_program.h"

#include <cstdio>
#include <exception>

#include "simcard.h"
#include "vcard/virtual_platform.h"

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::testing {

int on_image(const char *name, const char *image, const char *sandbox, int failure,
             const std::function<int(vcard::VirtualCard &)> &body) {
    try {
        vcard::VirtualCard card;
        card.load_image_file(image);
        vcard::VirtualPlatform platform(card, sandbox);
        g_table = platform.table();
        const int rc = body(card);
        std::fflush(stdout);
        g_table = nullptr;
        card.save_image_file(image);
        return rc;
    } catch (const std::exception &e) {
        g_table = nullptr;
        std::fprintf(stderr, "%s: %s\n", name, e.what());
        return failure;
    }
}

}  // namespace simcard::testing
