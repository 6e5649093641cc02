#include "sal/pattern.h"

#include <algorithm>

namespace simcard::sal {

std::string fill_pattern(std::string_view pattern, std::initializer_list<PatternArg> args,
                         size_t capacity) {
    const size_t limit = capacity > 0 ? capacity - 1 : 0;
    std::string out;
    auto put = [&](std::string_view text) {
        out.append(text.substr(0, limit - std::min(limit, out.size())));
    };
    auto next = args.begin();
    for (size_t i = 0; i < pattern.size() && out.size() < limit; ++i) {
        if (pattern[i] != '%' || i + 1 == pattern.size()) {
            out += pattern[i];
            continue;
        }
        const std::string_view sequence = pattern.substr(i++, 2);
        const char conversion = sequence[1];
        if (conversion == '%') {
            out += '%';
        } else if (conversion == 'd' || conversion == 's') {
            const PatternArg *arg = next != args.end() ? &*next++ : nullptr;
            if (arg != nullptr && conversion == 'd' && !arg->is_text()) {
                put(std::to_string(arg->number()));
            } else if (arg != nullptr && conversion == 's' && arg->is_text()) {
                put(arg->text());
            } else {
                put(sequence);
            }
        } else {
            put(sequence);
        }
    }
    return out;
}

}  // namespace simcard::sal
