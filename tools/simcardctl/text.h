// Text from the card or the document on its way to a terminal or a program.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_TEXT_H
#define SIMCARD_TOOLS_SIMCARDCTL_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace simcard::tool {

// Safe to print: control bytes (and line ends unless keep_lines), C1 controls,
// bytes that are no UTF-8 and the backslash become \xHH or \\; printable
// ASCII and other UTF-8 stay as they are.
std::string printable(std::string_view text, bool keep_lines = false);

// printable(), cut to a length that fits a message.
std::string brief(std::string_view text);

// For JSON strings, which must be UTF-8: only bytes that are no UTF-8 become
// \xHH; the JSON writer escapes the rest.
std::string utf8(std::string_view text);

// "0000  3C 50 30 30 ...  |<P00|" lines, 16 bytes each.
std::vector<std::string> hex_dump(const std::vector<uint8_t> &bytes);

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_TEXT_H
