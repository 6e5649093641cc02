// Record text: one named record read, rewritten and appended, on text, names
// and values of the fuzzer's choosing; first on a bare buffer of an exact
// size, then through a card file of the virtual card.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/support.h"
#include "hal/records.h"
#include "simcard.h"

namespace {

using simcard::fuzz::Buffer;
using simcard::fuzz::Session;

constexpr unsigned short kDir = 0x7F80;
constexpr unsigned short kPlainFile = 0x6F10;
constexpr unsigned short kRebuiltFile = 0x6F02;  // rewritten without being read first

// A new length must describe the text: "<" at the start, ">" at the end, and
// the terminator right after it.
void check_result(int result, const char *content) {
    if (result > 0 && (content[0] != '<' || content[result - 1] != '>' ||
                       std::strlen(content) != static_cast<size_t>(result))) {
        __builtin_trap();
    }
}

void combine(const std::string &text, const char *name, const char *value, size_t size) {
    Buffer content(size, text);
    int result = _sim_combin_new_file_value(content.get(), name, value, static_cast<int>(size));
    check_result(result, content.get());
    if (result == 0) {
        result = _sim_combin_new_file_value1(content.get(), name, value, static_cast<int>(size));
        check_result(result, content.get());
    }
    Buffer appended(size, text);
    check_result(_sim_combin_new_file_value1(appended.get(), name, value, static_cast<int>(size)),
                 appended.get());
}

// The C entry point takes no bound: its caller's buffer holds any value the
// session text can give. The card layer's own readers pass their buffer's
// size, which must bound the copy.
struct Reader {
    unsigned short file;
    size_t whole;  // more than any session text of this input
    unsigned short cap;

    void read(const char *name) const {
        Buffer dest(whole);
        sim_card_read_param(kDir, file, name, dest.get(), 0);
        dest.text();
        Buffer bounded(cap);
        simcard::hal::read_param(kDir, file, name, bounded.get(), bounded.size());
        bounded.text();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    const std::string name = in.ConsumeRandomLengthString(8);
    const std::string value = in.ConsumeRandomLengthString(300);
    const std::string other = in.ConsumeRandomLengthString(8);
    const bool rebuilt = in.ConsumeBool();
    const auto room = in.ConsumeIntegralInRange<size_t>(0, 600);
    const auto cap = in.ConsumeIntegralInRange<unsigned short>(1, 400);
    const std::string text = in.ConsumeRandomLengthString();

    const size_t buffer_size = std::max<size_t>(1, text.size() + room);
    combine(text, name.c_str(), value.c_str(), buffer_size);
    combine(text, name.c_str(), "FF", buffer_size);

    static const simcard::vcard::VirtualCard blank;
    Session session(blank, simcard::fuzz::bench().root());
    const unsigned short file = rebuilt ? kRebuiltFile : kPlainFile;
    const size_t file_size = std::min<size_t>(text.size() + room, 0xFFFF);
    session.card.add_file(file, file_size, std::string_view(text).substr(0, file_size));
    session.install();
    if (sim_card_init() != 0) {
        __builtin_trap();
    }
    // Each rewrite adds at most the name, the value and its work room.
    const size_t whole = file_size + 2 * (name.size() + other.size() + value.size() + 1024) + 1;
    const Reader reader{file, whole, cap};
    reader.read(name.c_str());
    sim_card_write_param(kDir, file, name.c_str(), value.c_str(), 0);
    reader.read(other.c_str());
    sim_card_write_param(kDir, file, other.c_str(), value.c_str(), 0);
    hal_saveToSim();
    reader.read(name.c_str());
    return 0;
}
