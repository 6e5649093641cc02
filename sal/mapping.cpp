#include "sal/mapping.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace simcard::sal {
namespace {

constexpr std::string_view kCallbackPrefix = "callback";

// One entry of a list rule: the card's character, one separator that is
// never looked at, and the data-model value.
struct Pair {
    char code;
    std::string_view value;
};

// The first non-empty pair of the list rule that `match` accepts.
template <typename Match>
std::optional<Pair> find_pair(std::string_view rule, Match match) {
    rule = rule.substr(0, std::min(rule.size(), kRuleMaxLength));
    size_t start = 0;
    while (start < rule.size()) {
        size_t end = rule.find(';', start);
        if (end == std::string_view::npos) {
            end = rule.size();
        }
        const std::string_view text = rule.substr(start, end - start);
        start = end + 1;
        if (text.empty()) {
            continue;
        }
        // A pair too short to reach its value has an empty one.
        const Pair pair{text[0], text.size() > 2 ? text.substr(2) : std::string_view()};
        if (match(pair)) {
            return pair;
        }
    }
    return std::nullopt;
}

bool equals_ignoring_case(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c; };
               return lower(x) == lower(y);
           });
}

// Copies text and its terminator into out, cut to cap.
void copy_text(std::string_view text, char *out, size_t cap) {
    const size_t n = std::min(text.size(), cap - 1);
    std::copy_n(text.begin(), n, out);
    out[n] = '\0';
}

// The callback row that a rule names, or null when it is read as a list.
simv2dbv_cb_t *callback_for(const char *rule) {
    return std::strncmp(rule, kCallbackPrefix.data(), kCallbackPrefix.size()) == 0
               ? find_callback(rule)
               : nullptr;
}

void argument_is_null(const char *func) { std::printf("[sal] %s: Argument is null\n", func); }

}  // namespace

int sim_to_db(const char *simv, const char *rule, char *out, size_t cap) {
    if (simv == nullptr || rule == nullptr || out == nullptr || cap == 0) {
        argument_is_null("getDbValFromSimVal");
        return -1;
    }
    if (simv2dbv_cb_t *row = callback_for(rule)) {
        // The built-in row knows the real size of out; others get it unsized.
        if (row->sim2db == callback_convertLanInterfaceSim2DB) {
            return lan_sim_to_db(simv, out, cap);
        }
        return row->sim2db != nullptr ? row->sim2db(simv, out) : -1;
    }
    // Only the first character of the card value counts.
    const auto pair = find_pair(rule, [&](const Pair &p) { return p.code == simv[0]; });
    if (pair) {
        copy_text(pair->value, out, cap);
    }
    return 0;
}

int db_to_sim(const char *dbv, const char *rule, char *out, size_t cap) {
    if (dbv == nullptr || rule == nullptr || out == nullptr || cap == 0) {
        argument_is_null("getSimValFromDbVal");
        return -1;
    }
    if (simv2dbv_cb_t *row = callback_for(rule)) {
        if (row->db2sim == callback_convertLanInterfaceDB2Sim) {
            return lan_db_to_sim(dbv, out, cap);
        }
        return row->db2sim != nullptr ? row->db2sim(dbv, out) : -1;
    }
    const auto pair =
        find_pair(rule, [&](const Pair &p) { return equals_ignoring_case(p.value, dbv); });
    if (pair) {
        out[0] = pair->code;  // one byte; the caller zeroed the rest
    }
    return 0;
}

simv2dbv_cb_t *find_callback(const char *name) {
    if (name == nullptr) {
        return nullptr;
    }
    for (simv2dbv_cb_t &row : simv2dbv_cb_tbl) {
        if (row.name != nullptr && std::strcmp(row.name, name) == 0) {
            return &row;
        }
    }
    return nullptr;
}

int lan_sim_to_db(const char *simv, char *out, size_t cap) {
    constexpr const char *kFunc = "callback_convertLanInterfaceSim2DB";
    if (simv == nullptr || out == nullptr || cap == 0) {
        argument_is_null(kFunc);
        return -1;
    }
    if (!is_digit_string(simv)) {
        std::printf("[sal] %s: simval is not digit\n", kFunc);
        return -1;
    }
    // As atoi reads it: "-" and "" are 0, "-1" sets every bit.
    const auto mask = static_cast<unsigned>(static_cast<int>(std::strtol(simv, nullptr, 10)));

    size_t len = strnlen(out, cap - 1);
    out[len] = '\0';
    auto append = [&](std::string_view text) {
        const size_t n = std::min(text.size(), cap - 1 - len);
        std::memcpy(out + len, text.data(), n);
        len += n;
        out[len] = '\0';
    };
    for (size_t bit = 0; bit < kLanInterfacePaths.size(); ++bit) {
        if ((mask & (1u << bit)) != 0) {
            append(kLanInterfacePaths[bit]);
            append(",");
        }
    }
    if (len > 0) {
        out[len - 1] = '\0';  // the last separator
    }
    return 0;
}

int lan_db_to_sim(const char *dbv, char *out, size_t cap) {
    if (dbv == nullptr || out == nullptr || cap == 0) {
        argument_is_null("callback_convertLanInterfaceDB2Sim");
        return -1;
    }
    const std::string_view text(dbv);
    int mask = 0;
    for (size_t bit = 0; bit < kLanInterfacePaths.size(); ++bit) {
        if (text.find(kLanInterfacePaths[bit]) != std::string_view::npos) {
            mask |= 1 << bit;
        }
    }
    std::snprintf(out, cap, "%d", mask);
    return 0;
}

bool is_digit_string(const char *text) {
    if (text == nullptr) {
        return false;
    }
    for (const char *p = text; *p != '\0'; ++p) {
        if ((*p < '0' || *p > '9') && *p != '-') {
            return false;
        }
    }
    return true;
}

}  // namespace simcard::sal

simv2dbv_cb_t simv2dbv_cb_tbl[1] = {
    {"callback_convertLanInterface", callback_convertLanInterfaceDB2Sim,
     callback_convertLanInterfaceSim2DB},
};
