#include "tools/simcardctl/checks.h"

#include <strings.h>

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "simcard.h"
#include "tools/simcardctl/model.h"
#include "tools/simcardctl/records.h"
#include "tools/simcardctl/text.h"

namespace simcard::tool {
namespace {

using model::file_name;
using model::kVlanFile;

// The library's value buffers: a set's card value and a VLAN record.
constexpr size_t kCardValue = 256;
constexpr size_t kVlanRecord = 512;
constexpr int kVlanRead = 64;

using Writes = std::vector<std::pair<std::string, std::string>>;

std::string quoted(const std::string &text) { return "\"" + brief(text) + "\""; }

// The text after the library's record rewrites, in order; nothing when one
// of them would fail. A value "FF" is the library's "leave it".
std::optional<std::string> rewritten(std::string text, const Writes &writes) {
    for (const auto &[name, value] : writes) {
        if (value == "FF") continue;
        std::vector<char> buf(text.size() + name.size() + value.size() + 1024, '\0');
        text.copy(buf.data(), text.size());
        const int size = static_cast<int>(buf.size());
        int rc = _sim_combin_new_file_value(buf.data(), name.c_str(), value.c_str(), size);
        if (rc == 0)
            rc = _sim_combin_new_file_value1(buf.data(), name.c_str(), value.c_str(), size);
        if (rc < 0) return std::nullopt;
        text = buf.data();
    }
    return text;
}

// Whether the card file can take the records rewritten.
std::optional<std::string> check_fits(uint16_t id, const Writes &writes) {
    const std::string file = file_name(id);
    const auto bytes = read_card_file(id);
    if (!bytes) return "card file " + file + " cannot be read";
    const std::string text(text_of(*bytes));
    const auto after = rewritten(text, writes);
    if (!after) {
        return "the record text of card file " + file + " cannot be rewritten (" + quoted(text) +
               "); card repair " + file + " mends it";
    }
    if (after->size() > bytes->size()) {
        return "card file " + file + " would need " + std::to_string(after->size()) +
               " bytes of record text and holds " + std::to_string(bytes->size()) +
               ": the card would keep a torn record";
    }
    return std::nullopt;
}

// What a card record's text cannot hold.
std::optional<std::string> check_record_value(const std::string &value, const std::string &ml,
                                              const std::vector<std::string> &other_names) {
    if (!ml.empty() && value.size() > std::strtoul(ml.c_str(), nullptr, 10)) {
        return "its card value " + quoted(value) + " has " + std::to_string(value.size()) +
               " characters; the record holds " + ml + " (ml=\"" + ml + "\")";
    }
    for (const char c : {'"', '>'}) {
        if (value.find(c) != std::string::npos) {
            return std::string("it holds '") + c +
                   "', which ends a value in the card's record text";
        }
    }
    if (value == "FF") {
        return "the card value \"FF\" means \"leave the record as it is\" to the library: "
               "it would never be written";
    }
    for (const std::string &name : other_names) {
        if (!name.empty() && value.find(name) != std::string::npos) {
            return "it holds \"" + name +
                   "\", the name of another record of the file: the library "
                   "finds records by plain text search and would take the value for that record";
        }
    }
    return std::nullopt;
}

std::vector<std::string> list_values(const std::string &rule) {
    std::vector<std::string> values;
    size_t start = 0;
    while (start <= rule.size()) {
        size_t end = rule.find(';', start);
        if (end == std::string::npos) end = rule.size();
        const std::string pair = rule.substr(start, end - start);
        if (pair.size() >= 2) values.push_back(pair.substr(2));
        start = end + 1;
    }
    return values;
}

std::string joined(const std::vector<std::string> &items) {
    std::string text;
    for (const auto &item : items) text += (text.empty() ? "" : ", ") + printable(item);
    return text;
}

}  // namespace

std::optional<std::string> check_value(IXML_Node *param, const std::string &value) {
    const std::string rw = model::attr_or(param, "rw");
    if (rw.find('W') == std::string::npos) {
        return "it is not writable (rw=\"" + printable(rw) + "\")";
    }
    const std::optional<std::string> rule = model::attr(param, "simv2dbv");
    if (!rule) {
        return "the document gives it no conversion rule (simv2dbv): the library would write an "
               "empty card value";
    }
    std::string simv = value;
    if (!rule->empty()) {
        const bool callback =
            rule->rfind("callback", 0) == 0 && findSimv2dbvCallback(rule->c_str());
        if (!callback) {
            const auto values = list_values(*rule);
            bool listed = false;
            for (const auto &v : values)
                listed = listed || strcasecmp(v.c_str(), value.c_str()) == 0;
            if (!listed) {
                return quoted(value) + " is not one of " + joined(values) + " (simv2dbv=\"" +
                       printable(*rule) + "\")";
            }
        }
        char out[kCardValue] = {};
        getSimValFromDbVal(value.c_str(), rule->c_str(), out);
        simv = std::string(out, strnlen(out, sizeof out));
    }
    IXML_Node *file = ixmlNode_getParentNode(param);
    const std::string name = model::attr_or(param, "n");
    std::vector<std::string> others;
    Writes writes;
    for (IXML_Node *p : model::children(file)) {
        const std::string n = model::attr_or(p, "n");
        if (n != name) others.push_back(n);
        const std::optional<std::string> card_value = p == param ? simv : model::attr(p, "simv");
        if (model::served_path(model::attr_or(p, "uri")) && !n.empty() && card_value) {
            writes.emplace_back(n, *card_value);
        }
    }
    if (auto why = check_record_value(simv, model::attr_or(param, "ml"), others)) return why;
    const auto id = model::file_id(file);
    if (!id) return "its file element has no card file id";
    return check_fits(*id, writes);
}

std::optional<VlanRecord> vlan_record(const std::string &path) {
    const bool lan = path.find("LANEthernetInterfaceConfig") != std::string::npos;
    const bool wlan = path.find("WLANConfiguration") != std::string::npos;
    if (!lan && !wlan) return std::nullopt;
    if (const size_t at = path.find("X_CT-COM_VLAN"); at != std::string::npos) {
        const int port = at >= 2 ? path[at - 2] - '0' : -1;
        return VlanRecord{lan ? "P01" : "P03", true, port};
    }
    if (path.find("X_CT-COM_Mode") != std::string::npos) {
        return VlanRecord{lan ? "P00" : "P02", false, 0};
    }
    return std::nullopt;
}

std::optional<std::string> card_record(uint16_t file, const std::string &name) {
    char value[kVlanRecord] = {};
    const int rc = simcard_ReadParamFromFile(file, 0, name.c_str(), value, sizeof value);
    if (rc < 0) return std::nullopt;
    return rc == 1 ? std::string("FF") : std::string(value, strnlen(value, sizeof value));
}

std::optional<std::string> vlan_record_after(const VlanRecord &record, const std::string &value) {
    if (!record.list) return value;
    char old[kVlanRecord] = {};
    if (simcard_ReadParamFromFile(kVlanFile, 0, record.name.c_str(), old, kVlanRead) < 0) {
        return std::nullopt;
    }
    char after[kVlanRecord] = {};
    setVlanBindValue(old, after, record.port, value.c_str());
    return std::string(after, strnlen(after, sizeof after));
}

std::optional<std::string> check_vlan_value(const VlanRecord &record, const std::string &value,
                                            const std::string &after) {
    if (record.list) {
        if (record.port < 0 || record.port > 4) {
            return "the port number must be 0 to 4: the library would clear every port's VLANs";
        }
        const size_t first = value.find(';');
        if (first != std::string::npos && value.find(';', first + 1) != std::string::npos) {
            return "a port takes one VLAN or two joined by ';': a third would be read as another "
                   "port's";
        }
        if (value.find('/') != std::string::npos) {
            return "it holds '/', which the card's VLAN list uses after the port number";
        }
    }
    IXML_Node *param = nullptr;
    for (IXML_Node *file : model::files()) {
        if (model::file_id(file) != kVlanFile) continue;
        for (IXML_Node *p : model::children(file)) {
            if (model::attr(p, "n") == record.name) param = p;
        }
    }
    if (param == nullptr) return "the document has no record " + record.name + " in card file 6F90";
    if (auto why = check_record_value(after, model::attr_or(param, "ml"), {})) return why;
    return check_fits(kVlanFile, {{record.name, after}});
}

}  // namespace simcard::tool
