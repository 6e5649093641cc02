#include "tools/simcardctl/records.h"

#include <algorithm>

#include "simcard.h"
#include "tools/simcardctl/model.h"
#include "tools/simcardctl/text.h"

namespace simcard::tool {
namespace {

constexpr size_t kNameLength = 3;  // the library's rewrite counts on it

bool name_char(char c) {
    return c != ' ' && c != '=' && c != '"' && c != '<' && c != '>' && c != '\0';
}

bool listed(const std::vector<std::string> &names, const std::string &name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool has_record(const std::vector<Mended> &records, const std::string &name) {
    return std::any_of(records.begin(), records.end(),
                       [&](const Mended &m) { return m.record.name == name; });
}

std::string quoted(std::string_view text) { return "\"" + brief(text) + "\""; }

// Walks the record text entry by entry and stops at the first break.
class Reader {
public:
    Reader(std::string_view text, Reading &r) : text_(text), r_(r) {}

    void run() {
        const size_t open = text_.find('<');
        if (open == std::string_view::npos) {
            r_.problems.push_back("no opening \"<\"");
            return;
        }
        if (open > 0) {
            r_.problems.push_back(std::to_string(open) + " bytes before the opening \"<\"");
        }
        at_ = open + 1;
        r_.complete = at_ < text_.size() && text_[at_] == '>';  // "<>": no record
        while (!r_.complete && entry()) {
        }
        if (!r_.complete && text_.find('>', open) == std::string_view::npos) {
            r_.problems.push_back("no closing \">\": the text ends after " +
                                  std::to_string(text_.size()) + " bytes");
        }
    }

private:
    bool ended() const { return at_ >= text_.size(); }
    std::string byte() const { return " (byte " + std::to_string(at_) + ")"; }
    // A break; `cut` is the name, or as much of it as there is.
    bool stop(std::string what, const std::string &cut) {
        r_.problems.push_back(std::move(what));
        if (!cut.empty()) r_.cut = cut;
        return false;
    }

    // One entry and what follows it; false at the end or a break.
    bool entry() {
        const size_t start = at_;
        while (at_ < text_.size() && at_ - start < kNameLength && name_char(text_[at_])) ++at_;
        const std::string name(text_.substr(start, at_ - start));
        if (name.size() < kNameLength) {
            if (name.empty() && ended()) {
                return stop("the text ends after " + std::to_string(at_) +
                                " bytes, where a record should start",
                            "");
            }
            return stop(
                "record name cut short at byte " + std::to_string(start) + ": " + quoted(name),
                name);
        }
        if (ended()) return stop("record " + name + " cut short after its name" + byte(), name);
        if (text_[at_] != '=') return stop("record " + name + " has no \"=\"" + byte(), name);
        ++at_;
        std::optional<std::string> value;
        if (text_.substr(at_, 2) == "FF") {
            at_ += 2;
        } else if (!ended() && text_[at_] == '"') {
            const size_t from = ++at_;
            at_ = text_.find_first_of("\">", from);
            if (at_ == std::string_view::npos) {
                at_ = text_.size();
                return stop("the value of " + name + " has no closing quote: the text ends after " +
                                std::to_string(text_.size()) + " bytes",
                            name);
            }
            if (text_[at_] == '>') {
                return stop(
                    "the value of " + name + " has no closing quote before the \">\"" + byte(),
                    name);
            }
            value = std::string(text_.substr(from, at_ - from));
            ++at_;
        } else if (ended() || text_.substr(at_) == "F") {
            return stop("record " + name + " cut short after \"=\"" + byte(), name);
        } else {
            return stop("record " + name + " has neither a quoted value nor FF" + byte(), name);
        }
        if (r_.has(name)) {
            r_.problems.push_back("record " + name + " appears twice (again at byte " +
                                  std::to_string(start) +
                                  "): the library reads and rewrites the first only");
        } else {
            r_.whole.push_back({name, value});
        }
        if (ended()) return false;  // whole, but never closed
        if (text_[at_] == '>') {
            r_.complete = true;
            return false;
        }
        if (text_[at_] != ' ') {
            return stop(
                "unexpected " + quoted(text_.substr(at_, 1)) + " after record " + name + byte(),
                "");
        }
        ++at_;
        return true;
    }

    std::string_view text_;
    Reading &r_;
    size_t at_ = 0;
};

}  // namespace

bool Reading::has(const std::string &name) const { return find(name) != nullptr; }

const Record *Reading::find(const std::string &name) const {
    for (const Record &r : whole) {
        if (r.name == name) return &r;
    }
    return nullptr;
}

Reading read_records(std::string_view text, const std::vector<std::string> &expected) {
    Reading r;
    if (text.empty()) {
        r.complete = true;
    } else {
        Reader(text, r).run();
    }
    std::string missing;
    for (const std::string &name : expected) {
        if (!r.has(name) && name != r.cut) missing += " " + name;
    }
    if (!missing.empty()) {
        r.problems.push_back(
            (text.empty() ? "no record text; records missing:" : "records missing:") + missing);
    }
    return r;
}

std::string record_text(const std::vector<Record> &records) {
    std::string text = "<";
    for (const Record &r : records) {
        if (text.size() > 1) text += ' ';
        text += r.name + "=" + (r.value ? "\"" + *r.value + "\"" : "FF");
    }
    return text + ">";
}

bool needs_factory(const Reading &card, const std::vector<std::string> &expected) {
    return !card.complete || std::any_of(expected.begin(), expected.end(),
                                         [&](const std::string &n) { return !card.has(n); });
}

std::vector<Mended> mend(const Reading &card, const Reading &factory,
                         const std::vector<std::string> &expected) {
    std::vector<Mended> out;
    for (const Record &r : card.whole) out.push_back({r, Source::Card});
    for (const Record &r : factory.whole) {
        if (!has_record(out, r.name) && (!card.complete || listed(expected, r.name))) {
            out.push_back({r, Source::Factory});
        }
    }
    for (const std::string &name : expected) {
        if (!has_record(out, name)) out.push_back({{name, std::nullopt}, Source::Neither});
    }
    // The document's order; records it does not name keep theirs, after it.
    auto rank = [&](const Mended &m) {
        return std::find(expected.begin(), expected.end(), m.record.name) - expected.begin();
    };
    std::stable_sort(out.begin(), out.end(),
                     [&](const Mended &a, const Mended &b) { return rank(a) < rank(b); });
    return out;
}

std::optional<std::string> read_card_file(uint16_t id) {
    const int size = sim_card_select_file(model::kOperatorDir, id);
    if (size < 0) return std::nullopt;
    std::string bytes(static_cast<size_t>(size) + 1, '\0');  // a NUL after a full file
    if (size > 0 && simcard_ReadFile(id, bytes.data(), size) != 0) return std::nullopt;
    bytes.pop_back();
    return bytes;
}

bool write_card_file(uint16_t id, std::string bytes) {
    return simcard_WriteFile(id, bytes.data(), static_cast<int>(bytes.size())) == 0 &&
           read_card_file(id) == bytes;
}

std::string_view text_of(std::string_view bytes) { return bytes.substr(0, bytes.find('\0')); }

}  // namespace simcard::tool
