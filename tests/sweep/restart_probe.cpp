// A gateway program started afresh on a saved card image, as after a power
// cut: start-up, every value it serves, then the sets given and one
// synchronisation. The card is saved back to the image at the end.
//
//   restart_probe IMAGE SANDBOX REPORT [PATH VALUE]...
//
// SANDBOX stands for "/" and holds the configuration document. REPORT gets
// "init RC", "value FILE PATH<TAB>VALUE" per path, "set RC PATH" per set and
// "sync RC"; the library's own messages go to standard output.
#include <cstdio>
#include <fstream>

#include "simcard.h"
#include "tests/support/image_program.h"
#include "tests/sweep/served.h"

int main(int argc, char **argv) {
    if (argc < 4 || argc % 2 != 0) {
        std::fprintf(stderr, "usage: restart_probe IMAGE SANDBOX REPORT [PATH VALUE]...\n");
        return 2;
    }
    return simcard::testing::on_image("restart_probe", argv[1], argv[2], 1, [&](auto &) {
        std::ofstream report(argv[3]);
        report << "init " << simcard_init() << "\n";
        for (const auto &[path, served] : simcard::sweep::served()) {
            report << "value " << std::hex << served.file << std::dec << " " << path << "\t"
                   << served.value << "\n";
        }
        for (int i = 4; i < argc; i += 2) {
            report << "set " << simcard_setParamValueByUri(argv[i], argv[i + 1]) << " " << argv[i]
                   << "\n";
        }
        report << "sync " << simcard_syncData2Sim() << "\n";
        return report ? 0 : 1;
    });
}
