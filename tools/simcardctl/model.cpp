#include "tools/simcardctl/model.h"

#include <strings.h>

#include <cstdlib>
#include <map>

#include "sal/instance/templates.h"
#include "simcard.h"

namespace simcard::tool::model {
namespace {

constexpr std::string_view kRoot = "InternetGatewayDevice.";

bool starts_with(const std::string &text, std::string_view prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

CardFile tree_file(IXML_Node *file) {
    CardFile f{file_id(file), describe_file(file), tag(file), true, {}};
    for (IXML_Node *param : children(file)) {
        const std::string name = attr_or(param, "n");
        if (!name.empty() && strncasecmp(attr_or(param, "a").c_str(), "PARAM", 5) == 0) {
            f.expected.push_back(name);
        }
    }
    return f;
}

CardFile outside_file(uint16_t id, IXML_Node *demo) {
    CardFile f = tree_file(demo);
    f.id = id;
    f.label = file_name(id) + " (instance file of " + f.element + ", outside the tree)";
    f.in_tree = false;
    return f;
}

}  // namespace

std::optional<std::string> attr(IXML_Node *node, const char *name) {
    const char *value = ixmlElement_getAttribute(reinterpret_cast<IXML_Element *>(node), name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::string attr_or(IXML_Node *node, const char *name, const std::string &fallback) {
    return attr(node, name).value_or(fallback);
}

std::string tag(IXML_Node *node) {
    const char *name = ixmlNode_getNodeName(node);
    return name != nullptr ? name : "";
}

std::vector<IXML_Node *> children(IXML_Node *node) {
    std::vector<IXML_Node *> list;
    for (IXML_Node *c = ixmlNode_getFirstChild(node); c != nullptr;
         c = ixmlNode_getNextSibling(c)) {
        if (ixmlNode_getNodeType(c) == eELEMENT_NODE) list.push_back(c);
    }
    return list;
}

std::vector<IXML_Node *> files() {
    std::vector<IXML_Node *> list;
    if (ct_simcfg_root == nullptr) return list;
    for (IXML_Node *node : children(ct_simcfg_root)) {
        if (strncasecmp(attr_or(node, "a").c_str(), "EF", 2) == 0) list.push_back(node);
    }
    return list;
}

std::optional<uint16_t> file_id(IXML_Node *file) {
    const std::string n = attr_or(file, "n");
    char *end = nullptr;
    const long id = std::strtol(n.c_str(), &end, 16);
    if (n.empty() || *end != '\0' || id <= 0 || id > 0xFFFF) return std::nullopt;
    return static_cast<uint16_t>(id);
}

std::string file_name(unsigned id) {
    char text[16];
    std::snprintf(text, sizeof text, "%04X", id);
    return text;
}

std::string describe_file(IXML_Node *file) {
    const auto id = file_id(file);
    return (id ? file_name(*id) : "?") + " (" + tag(file) + ")";
}

bool dirty(IXML_Node *file) {
    const std::string wf = attr_or(file, "wf");
    return !wf.empty() && std::strtol(wf.c_str(), nullptr, 10) == 2;
}

std::vector<IXML_Node *> dirty_files() {
    std::vector<IXML_Node *> list;
    for (IXML_Node *file : files()) {
        if (dirty(file)) list.push_back(file);
    }
    return list;
}

IXML_Node *param_by_path(const std::string &path) {
    for (IXML_Node *file : files()) {
        for (IXML_Node *param : children(file)) {
            if (attr(param, "uri") == path) return param;
        }
    }
    return nullptr;
}

bool served_path(const std::string &uri) {
    return starts_with(uri, kRoot) && uri.find("%s") == std::string::npos &&
           uri.find("%d") == std::string::npos;
}

bool in_model(const std::string &prefix) {
    for (IXML_Node *file : files()) {
        if (starts_with(attr_or(file, "uri"), prefix)) return true;
        for (IXML_Node *param : children(file)) {
            if (starts_with(attr_or(param, "uri"), prefix)) return true;
        }
    }
    return false;
}

std::vector<std::string> CardFile::expected_in(std::string_view text) const {
    return in_tree || !text.empty() ? expected : std::vector<std::string>();
}

std::vector<CardFile> card_files() {
    std::vector<CardFile> list;
    std::map<unsigned, IXML_Node *> named;
    for (IXML_Node *file : files()) {
        CardFile f = tree_file(file);
        if (f.id && !named.emplace(*f.id, file).second) continue;
        list.push_back(std::move(f));
    }
    for (const auto &group : instance::kGroups) {
        const auto demo = named.find(static_cast<unsigned>(group.demo));
        if (demo == named.end()) continue;
        for (int id = group.demo + 1; id <= group.last; ++id) {
            if (named.count(static_cast<unsigned>(id)) == 0) {
                list.push_back(outside_file(static_cast<uint16_t>(id), demo->second));
            }
        }
    }
    return list;
}

CardFile card_file(uint16_t id) {
    for (CardFile &f : card_files()) {
        if (f.id == id) return f;
    }
    return {id, file_name(id), "", false, {}};
}

}  // namespace simcard::tool::model
