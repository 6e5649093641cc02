// A gateway program whose synchronisation loses the card part-way: on a card
// image it starts up, sets the values given and synchronises, and the card's
// power goes after the first CHUNKS UPDATE BINARY commands. The image is
// saved as the cut left the card.
//
//   tear_card IMAGE SANDBOX CHUNKS [PATH VALUE]...
//
// SANDBOX stands for "/" and holds the configuration document. The exit
// status is the synchronisation's result (0 or 255), or 2 for a failure of
// the program itself; the library's messages go to standard output.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "simcard.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

int main(int argc, char **argv) {
    if (argc < 4 || argc % 2 != 0) {
        std::fprintf(stderr, "usage: tear_card IMAGE SANDBOX CHUNKS [PATH VALUE]...\n");
        return 2;
    }
    try {
        simcard::vcard::VirtualCard card;
        card.load_image_file(argv[1]);
        simcard::vcard::VirtualPlatform platform(card, argv[2]);
        g_table = platform.table();
        if (simcard_init() != 0) throw std::runtime_error("start-up failed");
        for (int i = 4; i < argc; i += 2) {
            if (simcard_setParamValueByUri(argv[i], argv[i + 1]) != 0) {
                throw std::runtime_error(std::string("cannot set ") + argv[i]);
            }
        }
        card.cut_power_after_updates(std::strtoul(argv[3], nullptr, 10));
        const int rc = simcard_syncData2Sim();
        std::fflush(stdout);
        g_table = nullptr;
        card.save_image_file(argv[1]);
        return rc & 0xFF;
    } catch (const std::exception &e) {
        std::fprintf(stderr, "tear_card: %s\n", e.what());
        return 2;
    }
}
