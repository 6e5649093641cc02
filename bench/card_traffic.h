// What each operation of the library costs on the card: the rows of the
// card-traffic table, each run on the sample card and document, measured
// from the virtual card's trace and the clock's pauses.
#ifndef SIMCARD_BENCH_CARD_TRAFFIC_H
#define SIMCARD_BENCH_CARD_TRAFFIC_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "hal/platform.h"
#include "vcard/virtual_card.h"

namespace simcard::bench {

struct Traffic {
    size_t commands = 0;         // card commands
    size_t online = 0;           // the driver asked whether the card is online
    size_t bytes_to_card = 0;    // command headers and data
    size_t bytes_from_card = 0;  // answers and status words
    size_t pauses = 0;           // usleep and sleep calls
    uint64_t paused_usec = 0;
};

struct Scenario {
    std::string name;
    bool started = true;                                // start-up runs first, unmeasured
    std::function<void(vcard::VirtualCard &)> prepare;  // after start-up, unmeasured
    std::function<void()> operation;                    // measured
};

// The rows of the table, in order.
std::vector<Scenario> traffic_scenarios();

struct Run {
    // Each driver request in order: "ONLINE", or the command as the card
    // received it without its answer ("SELECT 6F05", "READ BINARY off=0
    // len=200"; a GET RESPONSE without its length, which the card chose).
    std::vector<std::string> requests;
    Traffic traffic;
};

// Makes `table` the one the library uses; the program defines the hook.
using Install = void (*)(const simcard_platform *table);

// A look at the card (and the library's state) before the operation.
using Look = std::function<void(const vcard::VirtualCard &card)>;

// Runs one row on a fresh copy of the sample card and document, with the
// library's state as at load and its console output discarded. `before`
// looks just before the operation.
Run run_scenario(const Scenario &scenario, Install install, const Look &before = {});

// Prints the whole table; false when a row could not be run.
bool print_traffic_table(FILE *out, Install install);

}  // namespace simcard::bench

#endif  // SIMCARD_BENCH_CARD_TRAFFIC_H
