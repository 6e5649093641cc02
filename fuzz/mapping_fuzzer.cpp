// Value mapping: card values to data-model values and back by list rules and
// the LAN interface callback, on values and rules of the fuzzer's choosing,
// with the buffer sizes the callers use.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/support.h"
#include "simcard.h"

namespace {

using simcard::fuzz::Buffer;

// The loader's data-model buffer and the set's card-value buffer.
constexpr size_t kDbValueSize = 1024;
constexpr size_t kSimValueSize = 256;

// Paths to a mask and back give the same paths.
void check_lan_round_trip(const std::string &value) {
    Buffer paths(kDbValueSize);
    if (callback_convertLanInterfaceSim2DB(value.c_str(), paths.get()) != 0) {
        return;
    }
    Buffer mask(kSimValueSize);
    if (callback_convertLanInterfaceDB2Sim(paths.text().c_str(), mask.get()) != 0) {
        __builtin_trap();
    }
    Buffer again(kDbValueSize);
    if (callback_convertLanInterfaceSim2DB(mask.text().c_str(), again.get()) != 0 ||
        again.text() != paths.text()) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    std::string rule = in.ConsumeRandomLengthString(400).c_str();
    if (in.ConsumeBool()) {
        rule = "callback" + rule;
    }
    const std::string prefix = in.ConsumeRandomLengthString(1100).c_str();
    const std::string value = in.ConsumeRandomLengthString().c_str();

    Buffer db(kDbValueSize);
    getDbValFromSimVal(value.c_str(), rule.c_str(), db.get());
    db.text();
    Buffer sim(kSimValueSize);
    getSimValFromDbVal(value.c_str(), rule.c_str(), sim.get());
    sim.text();

    // The card-to-model callback appends to what its buffer holds.
    Buffer appended(kDbValueSize, prefix.substr(0, kDbValueSize - 1));
    callback_convertLanInterfaceSim2DB(value.c_str(), appended.get());
    appended.text();
    Buffer mask(kSimValueSize);
    callback_convertLanInterfaceDB2Sim(value.c_str(), mask.get());
    mask.text();
    check_lan_round_trip(value);

    findSimv2dbvCallback(rule.c_str());
    isDigitString(value.c_str());
    return 0;
}
