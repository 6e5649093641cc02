// VLAN binding values: a port's value out of a card record, the record rebuilt
// for a port's new value, and a port's entries, on records, ports and values
// of the fuzzer's choosing, through the C entry points and their buffers.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/support.h"
#include "simcard.h"

namespace {

using simcard::fuzz::Buffer;

// What the callers hand over: zeroed 512-byte buffers.
constexpr size_t kValueSize = 512;
constexpr size_t kEntriesLookedAt = 8;
constexpr size_t kEntrySlot = 39;  // an entry is kept in a 40-byte slot

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
    Buffer back(kValueSize);
    getVlanBindValue(rebuilt.c_str(), port, back.get());
    if (back.text() != value) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    const int port =
        in.ConsumeBool() ? in.ConsumeIntegralInRange<int>(-1, 6) : in.ConsumeIntegral<int>();
    const std::string record = in.ConsumeRandomLengthString(700).c_str();
    const std::string value = in.ConsumeRandomLengthString().c_str();

    Buffer port_value(kValueSize);
    getVlanBindValue(record.c_str(), port, port_value.get());
    port_value.text();

    Buffer rebuilt(kValueSize);
    setVlanBindValue(record.c_str(), rebuilt.get(), port, value.c_str());
    check_round_trip(rebuilt.text(), port, value);

    Buffer entries(kValueSize);
    formatVlanBindValue(port, value.c_str(), entries.get());
    entries.text();
    return 0;
}
