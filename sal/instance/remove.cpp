#include "sal/instance/remove.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "hal/hal.h"
#include "sal/access.h"
#include "sal/config.h"
#include "sal/instance/add.h"
#include "sal/instance/kinds.h"
#include "sal/instance/paths.h"
#include "sal/instance/templates.h"
#include "sal/log.h"
#include "sal/xml.h"

namespace simcard::instance {
namespace {

// A deleted connection leaves its device's files in place.
constexpr std::string_view kConnectionPatterns[] = {
    "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANIPConnection.%d.",
    "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.",
};
// They belong to the device, not to the connection.
constexpr std::string_view kVlanParameters[] = {"ConnectVlanID", "VlanTransferMode"};

// Never destroyed, like the documents: the process may use the tree until
// it ends.
std::vector<DetachedNode> &removed() {
    static auto *nodes = new std::vector<DetachedNode>();
    return *nodes;
}

bool starts_with(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool is_connection(const char *uri) {
    const std::string pattern = sal::format_uri(uri);
    for (std::string_view connection : kConnectionPatterns) {
        if (pattern == connection) {
            return true;
        }
    }
    return false;
}

bool is_vlan_parameter(IXML_Node *param) {
    const std::string_view name = sal::xml::tag(param);
    for (std::string_view vlan : kVlanParameters) {
        if (name == vlan) {
            return true;
        }
    }
    return false;
}

}  // namespace

int delete_instance(const char *uri, int instance) {
    if (uri == nullptr || instance < 1) {
        SAL_LOG("simcard_delMulInstanceByUri", "del instance param is failed\n");
        return 0;
    }
    if (kind_of(uri) == Kind::kNone) {
        return 1;
    }
    std::printf("del node = %s\n", uri);
    delete_under(uri);
    return 1;
}

void delete_under(const char *uri) {
    if (!can_walk("delMulInstanceNodeByUri", uri)) {
        return;
    }
    const std::string_view path = uri;
    IXML_Node *next = nullptr;
    for (IXML_Node *file = ixmlNode_getFirstChild(ct_simcfg_root); file != nullptr; file = next) {
        // Taken first: the element may leave the tree below.
        next = ixmlNode_getNextSibling(file);
        if (!sal::xml::is_element(file)) {
            continue;
        }
        const char *kind = sal::xml::attr_cstr(file, "a");
        const char *file_uri = sal::xml::attr_cstr(file, "uri");
        const char *n = sal::xml::attr_cstr(file, "n");
        const char *t = sal::xml::attr_cstr(file, "t");
        if (kind == nullptr || file_uri == nullptr || n == nullptr || t == nullptr) {
            std::puts("node attr is null");
            continue;
        }
        // Templates ("TL") are never touched; "dynamic" is compared exactly.
        if (!sal::xml::is_file_element(file) || std::strcmp(t, "dynamic") != 0 ||
            *file_uri == '\0') {
            continue;
        }
        if (starts_with(file_uri, path)) {
            // Only the first WAN demo brings the three demos back.
            const bool tr069_wan = strcasecmp(n, kWanGroups[0].id) == 0;
            delete_node(file);
            if (tr069_wan) {
                for (const WanGroup &group : kWanGroups) {
                    add_node(group.demo, group.demo);
                }
            }
        } else if (starts_with(path, file_uri) && is_connection(uri)) {
            clear_param_uris(file);
        }
    }
}

int delete_node(IXML_Node *file_element) {
    if (file_element == nullptr) {
        std::puts("del node is NULL");
        return 0;
    }
    // The card first: a file whose P00 is still set would come back at the
    // next start.
    if (!write_record(file_element, "P00", "")) {
        std::puts("write simcard P00 to empty error");
        return 0;
    }
    hal::save_to_sim();
    // Only a child of the root is detached; any other element stays where it is.
    IXML_Node *taken = nullptr;
    if (ixmlNode_removeChild(ct_simcfg_root, file_element, &taken) == IXML_SUCCESS) {
        removed().emplace_back(taken);
        sal::xml::note_shape_changed();
    }
    return 1;
}

void clear_param_uris(IXML_Node *file_element) {
    for (IXML_Node *param : sal::xml::child_elements(file_element)) {
        const auto uri = sal::xml::attr(param, "uri");
        if (uri && *uri != kDeleted && !is_vlan_parameter(param)) {
            sal::xml::set_attr(param, "uri", "");
        }
    }
}

void release_removed() { removed().clear(); }

}  // namespace simcard::instance
