// Value mapping: card values to data-model values and back by list rules and
// the LAN interface callback, on values and rules of the fuzzer's choosing,
// with the buffer sizes the callers use.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "fuzz/support.h"
#include "simcard.h"

namespace {

// The loader's data-model buffer and the set's card-value buffer.
constexpr size_t kDbValueSize = 1024;
constexpr size_t kSimValueSize = 256;

// A heap buffer of the caller's size, holding `prefix` (cut to fit) and zeros.
struct Out {
    Out(size_t n, const std::string &prefix) : size(n), buf(new char[n]()) {
        std::memcpy(buf.get(), prefix.data(), std::min(prefix.size(), n - 1));
    }
    std::string text() const {
        if (strnlen(buf.get(), size) == size) {
            __builtin_trap();  // no terminator inside the buffer
        }
        return buf.get();
    }
    size_t size;
    std::unique_ptr<char[]> buf;
};

// Paths to a mask and back give the same paths.
void check_lan_round_trip(const std::string &value) {
    Out paths(kDbValueSize, "");
    if (callback_convertLanInterfaceSim2DB(value.c_str(), paths.buf.get()) != 0) {
        return;
    }
    Out mask(kSimValueSize, "");
    if (callback_convertLanInterfaceDB2Sim(paths.text().c_str(), mask.buf.get()) != 0) {
        __builtin_trap();
    }
    Out again(kDbValueSize, "");
    if (callback_convertLanInterfaceSim2DB(mask.text().c_str(), again.buf.get()) != 0 ||
        again.text() != paths.text()) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    simcard::fuzz::silence_stdout();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    std::string rule = in.ConsumeRandomLengthString(400).c_str();
    if (in.ConsumeBool()) {
        rule = "callback" + rule;
    }
    const std::string prefix = in.ConsumeRandomLengthString(1100).c_str();
    const std::string value = in.ConsumeRandomLengthString().c_str();

    Out db(kDbValueSize, "");
    getDbValFromSimVal(value.c_str(), rule.c_str(), db.buf.get());
    db.text();
    Out sim(kSimValueSize, "");
    getSimValFromDbVal(value.c_str(), rule.c_str(), sim.buf.get());
    sim.text();

    // The card-to-model callback appends to what its buffer holds.
    Out appended(kDbValueSize, prefix);
    callback_convertLanInterfaceSim2DB(value.c_str(), appended.buf.get());
    appended.text();
    Out mask(kSimValueSize, "");
    callback_convertLanInterfaceDB2Sim(value.c_str(), mask.buf.get());
    mask.text();
    check_lan_round_trip(value);

    findSimv2dbvCallback(rule.c_str());
    isDigitString(value.c_str());
    return 0;
}
