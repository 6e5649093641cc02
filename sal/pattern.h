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
// keeping at most capacity - 1 characters, up to a character 0 that a "%c"
// makes. A pattern comes from the document, never from code, so it is no
// printf format: the conversions filled are "%%" and, with flags, width and
// precision, "%d", "%i", "%u", "%o", "%x", "%X" and "%c" with a number and
// "%s" with a text. Each "%" sequence that printf would give an argument
// takes the next one; when none is left, when it is of the other kind, or
// when the sequence is anything else (a length modifier, '*', another
// conversion), it is copied as written. A "%" that the pattern ends in the
// middle of is copied as written too.
std::string fill_pattern(std::string_view pattern, std::initializer_list<PatternArg> args,
                         size_t capacity);

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_PATTERN_H
