// Record text: one named record read, rewritten and appended, on text, names
// and values of the fuzzer's choosing; first on a bare buffer of an exact
// size, then through a card file of the virtual card.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/support.h"
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

void read_into(unsigned short file, const char *name, unsigned short len) {
    Buffer dest(len);
    sim_card_read_param(kDir, file, name, len > 0 ? dest.get() : nullptr, len);
    dest.text();  // the copy ends in a terminator inside dest
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    const std::string name = in.ConsumeRandomLengthString(8);
    const std::string value = in.ConsumeRandomLengthString(300);
    const std::string other = in.ConsumeRandomLengthString(8);
    const bool rebuilt = in.ConsumeBool();
    const auto room = in.ConsumeIntegralInRange<size_t>(0, 600);
    const auto dest_len = in.ConsumeIntegralInRange<unsigned short>(0, 400);
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
    read_into(file, name.c_str(), dest_len);
    sim_card_write_param(kDir, file, name.c_str(), value.c_str(), 0);
    read_into(file, other.c_str(), dest_len);
    sim_card_write_param(kDir, file, other.c_str(), value.c_str(), 0);
    hal_saveToSim();
    read_into(file, name.c_str(), dest_len);
    char small[4] = {};
    simcard_ReadParamFromFile(file, 0, other.c_str(), small, static_cast<int>(sizeof small));
    return 0;
}
