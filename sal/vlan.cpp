#include "sal/vlan.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "hal/hal.h"
#include "hal/records.h"
#include "sal/config.h"
#include "sal/xml.h"

namespace simcard::sal::vlan {
namespace {

constexpr std::string_view kVlanMarker = "X_CT-COM_VLAN";
constexpr std::string_view kModeMarker = "X_CT-COM_Mode";
constexpr std::string_view kLanPorts = "LANEthernetInterfaceConfig";
constexpr std::string_view kWlanPorts = "WLANConfiguration";

// Records of file 6F90.
constexpr const char *kLanMode = "P00";
constexpr const char *kLanVlans = "P01";
constexpr const char *kWlanMode = "P02";
constexpr const char *kWlanVlans = "P03";

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// One entry of a VLAN list, and whether a ";" follows it.
struct Entry {
    std::string_view text;
    bool last;
};

// The first kMaxEntries entries, split at ";". An empty text after a final
// ";" is no entry.
std::vector<Entry> entries(std::string_view record) {
    std::vector<Entry> list;
    size_t start = 0;
    while (list.size() < static_cast<size_t>(kMaxEntries) && start < record.size()) {
        const size_t semi = record.find(';', start);
        if (semi == std::string_view::npos) {
            list.push_back({record.substr(start), true});
            break;
        }
        list.push_back({record.substr(start, semi - start), false});
        start = semi + 1;
    }
    return list;
}

// An entry belongs to the port named by its first character.
bool belongs(std::string_view entry, int port) { return !entry.empty() && entry[0] - '0' == port; }

// The VLAN value of an entry: the text after its first "/", or nothing.
std::string_view vlan_of(std::string_view entry) {
    const size_t slash = entry.find('/');
    return slash == std::string_view::npos ? std::string_view() : entry.substr(slash + 1);
}

// The record's current text on the card; empty when it cannot be read.
std::string read_record(const char *name) {
    char text[kValueSize] = {};
    // The result is not looked at: a failed read is the empty record.
    hal::read_param(hal::kOperatorDir, kBindFile, name, text, sizeof text);
    return text;
}

// The record of 6F90 that a path of this kind names, or null for neither
// Ethernet ports nor WLAN interfaces.
const char *record_for(std::string_view uri, const char *lan, const char *wlan) {
    if (contains(uri, kLanPorts)) {
        return lan;
    }
    if (contains(uri, kWlanPorts)) {
        return wlan;
    }
    return nullptr;
}

std::string cut(std::string text) {
    if (text.size() > kValueSize - 1) {
        text.resize(kValueSize - 1);
    }
    return text;
}

}  // namespace

void copy_out(std::string_view text, char *out, size_t cap) {
    if (out == nullptr || cap == 0) {
        return;
    }
    const size_t n = std::min(text.size(), cap - 1);
    std::copy_n(text.data(), n, out);
    out[n] = '\0';
}

int port_of(std::string_view uri, std::string_view marker) {
    const size_t at = uri.find(marker);
    if (at == std::string_view::npos || at < 2) {
        return -1;
    }
    return uri[at - 2] - '0';
}

std::optional<std::string> port_value(const char *record, int port) {
    if (record == nullptr || port < 0 || port > kMaxPort) {
        std::puts("param error");
        return std::nullopt;
    }
    if (*record == '\0') {
        std::puts("can't get value");
        return std::nullopt;
    }
    std::vector<std::string_view> mine;
    for (const Entry &entry : entries(record)) {
        if (belongs(entry.text, port) && mine.size() < 3) {
            mine.push_back(entry.text.substr(0, kEntryMaxLength));
        }
    }
    if (mine.empty()) {
        return std::string();
    }
    std::string value(vlan_of(mine[0]));
    if (mine.size() >= 2) {  // a third entry is never used
        value += ';';
        value += vlan_of(mine[1]);
    }
    return value;
}

std::string format_entries(int port, std::string_view value) {
    const std::string p = std::to_string(port);
    const size_t semi = value.find(';');
    if (semi != std::string_view::npos) {
        // Only the first ";" splits: a third value stays in the second entry.
        const std::string_view first = value.substr(0, std::min(semi, kFirstValueMaxLength));
        return cut(p + "/" + std::string(first) + ";" + p + "/" +
                   std::string(value.substr(semi + 1)));
    }
    if (!value.empty()) {
        return cut(p + "/" + std::string(value));
    }
    return std::string();
}

std::optional<std::string> build_record(const char *old_record, int port, const char *value) {
    if (old_record == nullptr || value == nullptr || port < 0 || port > kMaxPort) {
        std::puts("param error");
        return std::nullopt;
    }
    const std::string fresh = format_entries(port, value);
    if (*old_record == '\0') {
        return fresh;
    }
    std::string record;
    bool last_was_mine = false;
    for (const Entry &entry : entries(old_record)) {
        if (belongs(entry.text, port)) {
            // Only the last entry sets the flag, deliberately.
            last_was_mine = entry.last;
            continue;
        }
        record += entry.text;
        if (!entry.last) {
            record += ';';
        }
    }
    if (fresh.empty()) {
        return cut(record);  // may end with ";"
    }
    if (record.empty()) {
        return fresh;
    }
    if (!last_was_mine) {
        record += ';';
    }
    record += fresh;
    return cut(record);
}

IXML_Node *set_config(const char *name, const char *simv, const char *dbv) {
    if (name == nullptr) {
        std::printf("param is NULL/n");  // no line end: deliberate
        return nullptr;
    }
    // The texts may be the tree's own, which the writes below replace.
    const std::string record(name);
    const std::optional<std::string> card_value =
        simv != nullptr ? std::optional<std::string>(simv) : std::nullopt;
    const std::optional<std::string> db_value =
        dbv != nullptr ? std::optional<std::string>(dbv) : std::nullopt;

    IXML_Node *target = nullptr;
    for (IXML_Node *child : xml::child_elements(find_file_node(kBindFile))) {
        if (xml::attr_is(child, "n", record)) {
            target = child;
            break;
        }
    }
    if (target == nullptr) {
        return nullptr;
    }
    if (db_value) {
        xml::set_attr(target, "dbv", *db_value);
    }
    if (!card_value) {
        return target;
    }
    xml::set_attr(target, "simv", *card_value);
    if (hal::write_param(hal::kOperatorDir, kBindFile, record.c_str(), card_value->c_str()) == 0) {
        hal::save_to_sim();  // its result is not looked at
        return target;
    }
    // Names P00 whatever the record: the program's own text.
    std::printf("write simcard P00 to %s error\n", card_value->c_str());
    return nullptr;
}

const char *get_by_uri(const char *uri) {
    if (uri == nullptr) {
        std::puts("param is NULL");
        return nullptr;
    }
    const std::string_view path(uri);
    if (contains(path, kVlanMarker)) {
        const int port = port_of(path, kVlanMarker);
        const char *name = record_for(path, kLanVlans, kWlanVlans);
        if (name == nullptr) {
            return nullptr;
        }
        const std::string record = read_record(name);
        const std::string value = port_value(record.c_str(), port).value_or(std::string());
        // One record serves every port: dbv holds the port asked for last.
        return xml::attr_cstr(set_config(name, nullptr, value.c_str()), "dbv");
    }
    if (contains(path, kModeMarker)) {
        // Answered from memory: the card is not read for the mode.
        const char *name = record_for(path, kLanMode, kWlanMode);
        return name != nullptr ? xml::attr_cstr(set_config(name, nullptr, nullptr), "dbv")
                               : nullptr;
    }
    return nullptr;
}

int set_by_uri(const char *uri, const char *value) {
    if (uri == nullptr || value == nullptr) {
        std::puts("param is NULL");
        return 0;
    }
    const std::string_view path(uri);
    if (contains(path, kVlanMarker)) {
        const int port = port_of(path, kVlanMarker);
        std::printf("index  = %d\n", port);
        const char *name = record_for(path, kLanVlans, kWlanVlans);
        if (name == nullptr) {
            return 0;
        }
        const std::string old_record = read_record(name);
        // After "param error" the record is written empty, clearing every
        // port: kept as the program does it.
        const std::string record =
            build_record(old_record.c_str(), port, value).value_or(std::string());
        set_config(name, record.c_str(), nullptr);  // a failed write is not reported
        return 1;
    }
    if (contains(path, kModeMarker)) {
        // One mode for all ports of the kind.
        const char *name = record_for(path, kLanMode, kWlanMode);
        if (name == nullptr) {
            return 0;
        }
        set_config(name, value, value);
        return 1;
    }
    return 0;
}

}  // namespace simcard::sal::vlan
