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
#include <stdexcept>
#include <string>

#include "simcard.h"
#include "tests/support/image_program.h"

int main(int argc, char **argv) {
    if (argc < 4 || argc % 2 != 0) {
        std::fprintf(stderr, "usage: tear_card IMAGE SANDBOX CHUNKS [PATH VALUE]...\n");
        return 2;
    }
    return simcard::testing::on_image("tear_card", argv[1], argv[2], 2, [&](auto &card) {
        if (simcard_init() != 0) throw std::runtime_error("start-up failed");
        for (int i = 4; i < argc; i += 2) {
            if (simcard_setParamValueByUri(argv[i], argv[i + 1]) != 0) {
                throw std::runtime_error(std::string("cannot set ") + argv[i]);
            }
        }
        card.cut_power_after_updates(std::strtoul(argv[3], nullptr, 10));
        return simcard_syncData2Sim() & 0xFF;
    });
}
