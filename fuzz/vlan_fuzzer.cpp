// VLAN binding values: a port's value out of a card record, the record rebuilt
// for a port's new value, and a port's entries, on records, ports and values
// of the fuzzer's choosing, through the C entry points and their buffers.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/support.h"
#include "simcard.h"

namespace {

// What the callers hand over: zeroed 512-byte buffers.
constexpr size_t kValueSize = 512;
constexpr size_t kEntriesLookedAt = 8;
constexpr size_t kEntrySlot = 39;  // an entry is kept in a 40-byte slot

struct Out {
    std::unique_ptr<char[]> buf{new char[kValueSize]()};
    std::string text() const {
        if (strnlen(buf.get(), kValueSize) == kValueSize) {
            __builtin_trap();  // no terminator inside the buffer
        }
        return buf.get();
    }
};

size_t entry_count(std::string_view record) {
    return record.empty() ? 0
                          : static_cast<size_t>(std::count(record.begin(), record.end(), ';')) + 1;
}

// A record rebuilt for one port holds that port's new entry among the entries
// read back, as long as nothing was cut and the value is one plain entry.
void check_round_trip(const std::string &rebuilt, int port, const std::string &value) {
    const bool plain =
        !value.empty() && value.find(';') == std::string::npos && value.size() + 2 <= kEntrySlot;
    if (!plain || port < 0 || port > 4 || rebuilt.size() + 1 >= kValueSize ||
        entry_count(rebuilt) > kEntriesLookedAt) {
        return;
    }
    Out back;
    getVlanBindValue(rebuilt.c_str(), port, back.buf.get());
    if (back.text() != value) {
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
    const int port =
        in.ConsumeBool() ? in.ConsumeIntegralInRange<int>(-1, 6) : in.ConsumeIntegral<int>();
    const std::string record = in.ConsumeRandomLengthString(700).c_str();
    const std::string value = in.ConsumeRandomLengthString().c_str();

    Out port_value;
    getVlanBindValue(record.c_str(), port, port_value.buf.get());
    port_value.text();

    Out rebuilt;
    setVlanBindValue(record.c_str(), rebuilt.buf.get(), port, value.c_str());
    check_round_trip(rebuilt.text(), port, value);

    Out entries;
    formatVlanBindValue(port, value.c_str(), entries.buf.get());
    entries.text();
    return 0;
}
