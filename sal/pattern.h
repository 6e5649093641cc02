// Filling the path patterns that the configuration document holds.
#ifndef SIMCARD_SAL_PATTERN_H
#define SIMCARD_SAL_PATTERN_H

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace simcard::sal {

// One argument of a pattern: a number for "%d" or a text for "%s".
class PatternArg {
public:
    PatternArg(int number) : number_(number) {}
    PatternArg(std::string_view text) : text_(text), is_text_(true) {}
    PatternArg(const char *text) : text_(text != nullptr ? text : ""), is_text_(true) {}
    PatternArg(const std::string &text) : text_(text), is_text_(true) {}

    bool is_text() const { return is_text_; }
    int number() const { return number_; }
    std::string_view text() const { return text_; }

private:
    int number_ = 0;
    std::string_view text_;
    bool is_text_ = false;
};

// The plain substring test that the model's path checks make.
inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Fills `pattern` as snprintf would fill it into a buffer of `capacity` bytes,
// keeping at most capacity - 1 characters. A pattern comes from the document,
// never from code, so it is no printf format: only "%d", "%s" and "%%" are
// conversions. "%d" and "%s" each take the next argument; when none is left,
// or it is of the other kind, the conversion is copied as written (and the
// argument, if any, is used up all the same, so later ones keep their places).
// Every other "%" sequence, and a "%" at the very end, is copied as written.
std::string fill_pattern(std::string_view pattern, std::initializer_list<PatternArg> args,
                         size_t capacity);

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_PATTERN_H
