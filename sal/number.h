// Numbers in attribute and record texts, read the way the program reads them.
#ifndef SIMCARD_SAL_NUMBER_H
#define SIMCARD_SAL_NUMBER_H

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

namespace simcard::sal {

// strtol's value held to the range of int, as on the gateway where long is
// int: leading blanks and a sign are taken, the first other character ends
// the number, and no number at all reads as 0.
inline int to_int(const char *text, int base = 10) {
    const long value = std::strtol(text, nullptr, base);
    return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

inline int to_int(std::string_view text, int base = 10) {
    return to_int(std::string(text).c_str(), base);
}

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_NUMBER_H
