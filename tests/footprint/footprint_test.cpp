// What the library holds on the heap: nothing new for a get answered from
// memory, and a path index no larger than the tree it indexes.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/generated.h"
#include "sal/param_index.h"
#include "simcard.h"
#include "tests/footprint/heap_meter.h"
#include "tests/support/sample.h"

namespace simcard::testing {
namespace {

class Footprint : public SampleTest {
protected:
    void start() {
        capture();
        ASSERT_EQ(0, simcard_init());
        captured();
    }
};

TEST_F(Footprint, AGetAnsweredFromMemoryAllocatesNothing) {
    start();
    const std::vector<std::string> paths = {
        // A long tag, a list rule, the LAN callback, and a mode that the VLAN
        // values answer from memory.
        "InternetGatewayDevice.ManagementServer.PeriodicInformInterval",
        "InternetGatewayDevice.ManagementServer.PeriodicInformEnable",
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANPPPConnection.1."
        "X_CT-COM_LanInterface",
        "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.1.X_CT-COM_Mode",
    };
    capture();
    ASSERT_EQ(0, simcard_setParamValueByUri(paths.back().c_str(), "1"));
    captured();
    for (const std::string &path : paths) {
        ASSERT_NE(nullptr, simcard_getParamValueByUri(path.c_str())) << path;  // loads it
    }
    clear_log();
    const heap::Counts before = heap::now();
    for (int round = 0; round < 10; ++round) {
        for (const std::string &path : paths) {
            simcard_getParamValueByUri(path.c_str());
        }
    }
    EXPECT_EQ(before.allocations, heap::now().allocations);
    const std::string lines = read_file(SIMCARD_PATH_LOG);
    EXPECT_EQ(30, std::count(lines.begin(), lines.end(), '\n')) << "a line per lookup, as ever";
}

TEST_F(CardTest, ThePathIndexIsNoLargerThanTheTreeItIndexes) {
    const bench::Generated generated = bench::generate(card);
    write_file(SIMCARD_PATH_CONFIG, generated.document);
    write_file(SIMCARD_PATH_LOG, "");
    const long start = heap::now().in_use;
    capture();
    ASSERT_EQ(0, simcard_init());
    captured();
    const long tree = heap::now().in_use - start;

    const long before = heap::now().in_use;
    ASSERT_NE(nullptr, sal::first_param_with_uri(ct_simcfg_root, generated.paths.back().c_str()));
    const long index = heap::now().in_use - before;
    // Every path, and the "*DEL*" of the VLAN binding records.
    ASSERT_EQ(generated.paths.size() + 1, sal::param_index_stats().entries);

    std::printf("heap in use after start-up: tree %ld bytes, path index %ld bytes (%zu paths)\n",
                tree, index, generated.paths.size());
    EXPECT_LE(index, tree);
}

}  // namespace
}  // namespace simcard::testing
