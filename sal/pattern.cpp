#include "sal/pattern.h"

#include <algorithm>
#include <climits>
#include <string_view>

namespace simcard::sal {
namespace {

constexpr std::string_view kFlags = "-+ #0";
constexpr std::string_view kIntConversions = "diuoxXc";
// Conversions that take an argument when printf meets them.
constexpr std::string_view kTakesArgument = "diouxXcsfFeEgGaApn";

bool one_of(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

// One "%" sequence: %[flags][width][.precision]conversion. Any
// length modifier or '*' makes it one that is copied as written.
struct Spec {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    size_t width = 0;
    bool has_precision = false;
    size_t precision = 0;
    char conversion = '\0';
    bool plain = false;  // no length modifier, no '*', numbers within int
    size_t length = 0;   // characters of the pattern it takes, '%' included
};

// Reads digits at `at` into `value`; false when they pass the range of int.
bool read_number(std::string_view text, size_t &at, size_t &value) {
    value = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
        value = value * 10 + static_cast<size_t>(text[at++] - '0');
        if (value > static_cast<size_t>(INT_MAX)) {
            return false;
        }
    }
    return true;
}

// The sequence starting at pattern[start] == '%'. Its length is 0 when
// the pattern ends before a conversion character.
Spec parse(std::string_view pattern, size_t start) {
    Spec spec;
    size_t at = start + 1;
    for (; at < pattern.size() && one_of(pattern[at], kFlags); ++at) {
        switch (pattern[at]) {
            case '-':
                spec.left = true;
                break;
            case '+':
                spec.plus = true;
                break;
            case ' ':
                spec.space = true;
                break;
            case '#':
                spec.alternate = true;
                break;
            default:
                spec.zero = true;
                break;
        }
    }
    bool plain = read_number(pattern, at, spec.width);
    if (at < pattern.size() && pattern[at] == '.') {
        ++at;
        spec.has_precision = true;
        plain = read_number(pattern, at, spec.precision) && plain;
    }
    // Length modifiers and '*' belong to the sequence but are not
    // filled: they run up to the conversion character.
    while (at < pattern.size() && one_of(pattern[at], "hlLqjzt*0123456789.")) {
        plain = false;
        ++at;
    }
    if (at >= pattern.size()) {
        return spec;
    }
    spec.conversion = pattern[at];
    spec.plain = plain;
    spec.length = at - start + 1;
    return spec;
}

// The text with the sequence's width, justified as printf does:
// prefix, `zeros` zeros, body. Only the first `room` characters are kept by
// the caller, so no run of padding or zeros goes on past them.
std::string justify(const Spec &spec, std::string_view prefix, size_t zeros, std::string_view body,
                    size_t room) {
    const size_t used = prefix.size() + zeros + body.size();
    const size_t padding = spec.width > used ? spec.width - used : 0;
    std::string out;
    auto pad = [&](size_t count, char fill) {
        out.append(std::min(count, room - std::min(room, out.size())), fill);
    };
    if (!spec.left && !spec.zero) {
        pad(padding, ' ');
    }
    out.append(prefix);
    if (spec.zero) {
        pad(padding, '0');
    }
    pad(zeros, '0');
    out.append(body);
    if (spec.left) {
        pad(padding, ' ');
    }
    return out;
}

std::string digits_of(unsigned value, unsigned base, bool upper) {
    const char *set = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), set[value % base]);
        value /= base;
    } while (value != 0);
    return text;
}

std::string format_int(Spec spec, int number, size_t room) {
    if (spec.conversion == 'c') {
        spec.zero = false;
        return justify(spec, {}, 0, std::string(1, static_cast<char>(number)), room);
    }
    const bool is_signed = spec.conversion == 'd' || spec.conversion == 'i';
    const unsigned magnitude = is_signed && number < 0 ? 0u - static_cast<unsigned>(number)
                                                       : static_cast<unsigned>(number);
    const unsigned base =
        spec.conversion == 'o' ? 8 : (spec.conversion == 'u' || is_signed ? 10 : 16);
    std::string body = digits_of(magnitude, base, spec.conversion == 'X');
    if (spec.has_precision) {
        spec.zero = false;
        if (spec.precision == 0 && magnitude == 0) {
            body.clear();
        }
    }
    size_t zeros = body.size() < spec.precision ? spec.precision - body.size() : 0;
    std::string prefix;
    if (is_signed) {
        if (number < 0) {
            prefix = "-";
        } else if (spec.plus) {
            prefix = "+";
        } else if (spec.space) {
            prefix = " ";
        }
    } else if (spec.alternate) {
        if (spec.conversion == 'o' && zeros == 0 && (body.empty() || body[0] != '0')) {
            zeros = 1;
        } else if (base == 16 && magnitude != 0) {
            prefix = spec.conversion == 'X' ? "0X" : "0x";
        }
    }
    if (spec.left) {
        spec.zero = false;
    }
    return justify(spec, prefix, zeros, body, room);
}

std::string format_text(Spec spec, std::string_view text, size_t room) {
    if (spec.has_precision) {
        text = text.substr(0, spec.precision);
    }
    spec.zero = false;
    return justify(spec, {}, 0, text, room);
}

}  // namespace

std::string fill_pattern(std::string_view pattern, std::initializer_list<PatternArg> args,
                         size_t capacity) {
    const size_t limit = capacity > 0 ? capacity - 1 : 0;
    std::string out;
    auto put = [&](std::string_view text) {
        out.append(text.substr(0, limit - std::min(limit, out.size())));
    };
    auto next = args.begin();
    for (size_t i = 0; i < pattern.size() && out.size() < limit;) {
        if (pattern[i] != '%') {
            out += pattern[i++];
            continue;
        }
        if (i + 1 < pattern.size() && pattern[i + 1] == '%') {
            out += '%';
            i += 2;
            continue;
        }
        const Spec spec = parse(pattern, i);
        if (spec.length == 0) {  // the pattern ends inside it
            put(pattern.substr(i));
            break;
        }
        const std::string_view written = pattern.substr(i, spec.length);
        i += spec.length;
        const PatternArg *arg = nullptr;
        if (one_of(spec.conversion, kTakesArgument) && next != args.end()) {
            arg = &*next++;
        }
        const size_t room = limit - out.size();
        if (arg != nullptr && spec.plain && !arg->is_text() &&
            one_of(spec.conversion, kIntConversions)) {
            put(format_int(spec, arg->number(), room));
        } else if (arg != nullptr && spec.plain && arg->is_text() && spec.conversion == 's') {
            put(format_text(spec, arg->text(), room));
        } else {
            put(written);
        }
    }
    // A character 0 ends the text, as it ends the C string the program made.
    const size_t end = out.find('\0');
    if (end != std::string::npos) {
        out.resize(end);
    }
    return out;
}

}  // namespace simcard::sal
