// Path patterns: the pattern filler on patterns, arguments and capacities of
// the fuzzer's choosing, held against snprintf wherever the pattern is a
// well-defined format for the arguments; and the path-to-pattern conversion.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/support.h"
#include "sal/pattern.h"
#include "simcard.h"

namespace {

using simcard::sal::PatternArg;

constexpr size_t kMaxArgs = 3;
constexpr size_t kFormatUriSize = 256;  // convertUriToFormatUri's output
// Widths and precisions compared with snprintf stay short, so that it is quick.
constexpr size_t kMaxComparedWidth = 4096;

struct Arg {
    bool is_text;
    int number;
    std::string text;
    PatternArg pattern_arg() const {
        return is_text ? PatternArg(std::string_view(text)) : PatternArg(number);
    }
};

std::string fill(const std::string &pattern, const std::vector<Arg> &args, size_t capacity) {
    switch (args.size()) {
        case 0:
            return simcard::sal::fill_pattern(pattern, {}, capacity);
        case 1:
            return simcard::sal::fill_pattern(pattern, {args[0].pattern_arg()}, capacity);
        case 2:
            return simcard::sal::fill_pattern(
                pattern, {args[0].pattern_arg(), args[1].pattern_arg()}, capacity);
        default:
            return simcard::sal::fill_pattern(
                pattern, {args[0].pattern_arg(), args[1].pattern_arg(), args[2].pattern_arg()},
                capacity);
    }
}

// Reads a width or precision; false past what the comparison keeps short.
bool read_number(const std::string &pattern, size_t &at) {
    size_t value = 0;
    while (at < pattern.size() && pattern[at] >= '0' && pattern[at] <= '9') {
        value = value * 10 + static_cast<size_t>(pattern[at++] - '0');
        if (value > kMaxComparedWidth) {
            return false;
        }
    }
    return true;
}

// The kinds of the conversions in pattern (true for a text), or false when it
// holds a "%" sequence that is no such well-defined conversion for
// snprintf: %[flags][width][.precision] and one of d i u o x X c s, with '#'
// only for o x X, '0' only for numbers other than c, a precision not for c.
bool conversions(const std::string &pattern, std::vector<bool> &texts) {
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            continue;
        }
        if (i + 1 < pattern.size() && pattern[i + 1] == '%') {
            ++i;
            continue;
        }
        size_t at = i + 1;
        bool alternate = false;
        bool zero = false;
        for (; at < pattern.size() && std::strchr("-+ #0", pattern[at]) != nullptr; ++at) {
            alternate = alternate || pattern[at] == '#';
            zero = zero || pattern[at] == '0';
        }
        if (!read_number(pattern, at)) {
            return false;
        }
        bool precision = false;
        if (at < pattern.size() && pattern[at] == '.') {
            precision = true;
            ++at;
            if (!read_number(pattern, at)) {
                return false;
            }
        }
        if (at >= pattern.size() || std::strchr("diuoxXcs", pattern[at]) == nullptr) {
            return false;
        }
        const char c = pattern[at];
        if ((alternate && std::strchr("oxX", c) == nullptr) || (zero && (c == 'c' || c == 's')) ||
            (precision && c == 'c')) {
            return false;
        }
        texts.push_back(c == 's');
        i = at;
    }
    return true;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
// snprintf's output for a format and arguments that match it.
template <typename... Done>
std::string reference(const std::string &format, const std::vector<Arg> &args, size_t capacity,
                      Done... done) {
    if constexpr (sizeof...(Done) < kMaxArgs) {
        const size_t i = sizeof...(Done);
        if (i < args.size()) {
            return args[i].is_text
                       ? reference(format, args, capacity, done..., args[i].text.c_str())
                       : reference(format, args, capacity, done..., args[i].number);
        }
    }
    std::vector<char> out(capacity + 1, '\0');
    std::snprintf(out.data(), capacity, format.c_str(), done...);
    return out.data();
}
#pragma GCC diagnostic pop

void check_against_snprintf(const std::string &pattern, const std::vector<Arg> &args,
                            size_t capacity, const std::string &filled) {
    std::vector<bool> texts;
    if (pattern.find('\0') != std::string::npos || !conversions(pattern, texts) ||
        texts.size() != args.size()) {
        return;
    }
    for (size_t i = 0; i < args.size(); ++i) {
        if (texts[i] != args[i].is_text || args[i].text.find('\0') != std::string::npos) {
            return;
        }
    }
    if (reference(pattern, args, capacity) != filled) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    const auto capacity = in.ConsumeIntegralInRange<size_t>(0, 300);
    std::vector<Arg> args(in.ConsumeIntegralInRange<size_t>(0, kMaxArgs));
    for (Arg &arg : args) {
        arg.is_text = in.ConsumeBool();
        if (arg.is_text) {
            arg.text = in.ConsumeRandomLengthString(64);
        } else {
            arg.number = in.ConsumeIntegral<int>();
        }
    }
    const std::string pattern = in.ConsumeRandomLengthString();

    const std::string filled = fill(pattern, args, capacity);
    if (filled.size() > (capacity > 0 ? capacity - 1 : 0)) {
        __builtin_trap();
    }
    check_against_snprintf(pattern, args, capacity, filled);

    simcard::fuzz::Buffer out(kFormatUriSize);
    convertUriToFormatUri(pattern.c_str(), out.get());
    out.text();
    return 0;
}
