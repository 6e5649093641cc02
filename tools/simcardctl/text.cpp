#include "tools/simcardctl/text.h"

#include <cstdio>

#include "vcard/virtual_card.h"

namespace simcard::tool {
namespace {

// Length of the UTF-8 sequence at text[i] (2 to 4), or 0 when none starts there.
size_t utf8_length(std::string_view text, size_t i) {
    const auto b = static_cast<uint8_t>(text[i]);
    size_t n = 0;
    uint32_t code = 0;
    if (b >= 0xC2 && b <= 0xDF) {
        n = 2;
        code = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
        n = 3;
        code = b & 0x0F;
    } else if (b >= 0xF0 && b <= 0xF4) {
        n = 4;
        code = b & 0x07;
    } else {
        return 0;
    }
    if (i + n > text.size()) return 0;
    for (size_t k = 1; k < n; ++k) {
        const auto c = static_cast<uint8_t>(text[i + k]);
        if ((c & 0xC0) != 0x80) return 0;
        code = code << 6 | (c & 0x3F);
    }
    const bool overlong = (n == 3 && code < 0x800) || (n == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (overlong || surrogate || code > 0x10FFFF) return 0;
    return n;
}

void escape_byte(std::string &out, uint8_t b) {
    char buf[5];
    std::snprintf(buf, sizeof buf, "\\x%02X", b);
    out += buf;
}

}  // namespace

std::string printable(std::string_view text, bool keep_lines) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const auto b = static_cast<uint8_t>(text[i]);
        if (b == '\\') {
            out += "\\\\";
            ++i;
        } else if ((b >= 0x20 && b < 0x7F) || (keep_lines && (b == '\n' || b == '\t'))) {
            out += static_cast<char>(b);
            ++i;
        } else if (const size_t n = b >= 0x80 ? utf8_length(text, i) : 0;
                   n > 0 && !(b == 0xC2 && static_cast<uint8_t>(text[i + 1]) < 0xA0)) {
            out.append(text.substr(i, n));  // C1 controls (U+0080..U+009F) excepted
            i += n;
        } else {
            escape_byte(out, b);
            ++i;
        }
    }
    return out;
}

std::string brief(std::string_view text) {
    constexpr size_t kShown = 40;
    if (text.size() <= kShown + 20) return printable(text);
    return printable(text.substr(0, kShown)) + "...(" + std::to_string(text.size()) +
           " characters)";
}

std::string utf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const auto b = static_cast<uint8_t>(text[i]);
        const size_t n = b < 0x80 ? 1 : utf8_length(text, i);
        if (n == 0) {
            escape_byte(out, b);
            ++i;
        } else {
            out.append(text.substr(i, n));
            i += n;
        }
    }
    return out;
}

std::vector<std::string> hex_dump(const std::vector<uint8_t> &bytes) {
    constexpr size_t kRow = 16;
    std::vector<std::string> lines;
    for (size_t at = 0; at < bytes.size(); at += kRow) {
        char offset[24];
        std::snprintf(offset, sizeof offset, "%04zX", at);
        std::string hex;
        std::string chars;
        for (size_t k = 0; k < kRow; ++k) {
            if (k == kRow / 2) hex += ' ';
            if (at + k < bytes.size()) {
                const uint8_t b = bytes[at + k];
                hex += vcard::hex_bytes(&b, 1) + ' ';
                chars += b >= 0x20 && b < 0x7F ? static_cast<char>(b) : '.';
            } else {
                hex += "   ";
            }
        }
        lines.push_back(std::string(offset) + "  " + hex + " |" + chars + "|");
    }
    return lines;
}

}  // namespace simcard::tool
