// simcardctl's reading of record text, and its mending: a card text, a
// factory text and the record names a document expects, of the fuzzer's
// choosing. The records a reading finds whole read back the same once written
// out; a mended text keeps every record the card held whole, and reads as
// sound with every expected record unless the document names a record that no
// text can hold (which the tool then refuses to write).
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/simcardctl/records.h"

namespace {

using simcard::tool::Mended;
using simcard::tool::Reading;
using simcard::tool::Record;

void require(bool ok) {
    if (!ok) __builtin_trap();
}

bool same(const std::vector<Record> &a, const std::vector<Record> &b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Record &x, const Record &y) {
        return x.name == y.name && x.value == y.value;
    });
}

// A name that a record text can hold: three characters, none of the text's
// own.
bool holdable(const std::string &name) {
    return name.size() == 3 && name.find_first_of(" =\"<>") == std::string::npos &&
           name.find('\0') == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    std::vector<std::string> expected(in.ConsumeIntegralInRange<size_t>(0, 6));
    for (std::string &name : expected) name = in.ConsumeRandomLengthString(4);
    const std::string card_bytes = in.ConsumeRandomLengthString(1024);
    const std::string factory_bytes = in.ConsumeRemainingBytesAsString();

    const Reading card = simcard::tool::read_records(simcard::tool::text_of(card_bytes), expected);
    const Reading factory = simcard::tool::read_records(simcard::tool::text_of(factory_bytes));
    for (const Reading *r : {&card, &factory}) {
        const Reading again = simcard::tool::read_records(simcard::tool::record_text(r->whole));
        require(again.problems.empty() && again.complete && same(again.whole, r->whole));
    }
    if (card.problems.empty()) require(!simcard::tool::needs_factory(card, expected));

    const std::vector<Mended> mended = simcard::tool::mend(card, factory, expected);
    std::vector<Record> records;
    for (const Mended &m : mended) records.push_back(m.record);
    const Reading result =
        simcard::tool::read_records(simcard::tool::record_text(records), expected);
    for (const Record &kept : card.whole) {
        require(std::any_of(mended.begin(), mended.end(), [&](const Mended &m) {
            return m.source == simcard::tool::Source::Card && m.record.name == kept.name &&
                   m.record.value == kept.value;
        }));
    }
    if (std::all_of(expected.begin(), expected.end(), holdable)) {
        require(result.problems.empty() && same(result.whole, records));
    } else {
        require(!result.problems.empty());  // what the tool refuses to write
    }
    return 0;
}
