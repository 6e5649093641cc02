#include "sal/instance/wan.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "hal/hal.h"
#include "hal/platform.h"
#include "sal/config.h"
#include "sal/instance/add.h"
#include "sal/instance/kinds.h"
#include "sal/instance/paths.h"
#include "sal/pattern.h"
#include "sal/xml.h"

namespace simcard::instance {
namespace {

using sal::contains;

// What the model keeps of a request path when it cuts it to its parent.
constexpr size_t kRequestPathSize = 256;
constexpr size_t kWanRefSize = 10;
constexpr size_t kPortRefSize = 20;
constexpr size_t kPortNumberSize = 8;
constexpr size_t kPortPathSize = 256;
// The device number stands just after the device table.
constexpr size_t kDevicePosition = kWanDeviceTable.size();

std::string parent_table(const char *uri) {
    std::string parent(uri, strnlen(uri, kRequestPathSize - 1));
    cut_to_parent(parent);
    return parent;
}

// One decimal digit: device 12 reads as 1, as the card's records expect.
// Positions outside the path read as its terminator.
int digit_at(std::string_view path, size_t at) {
    return (at < path.size() ? path[at] : '\0') - '0';
}

std::string reference(int device, std::string_view kind, int connection, size_t size) {
    char text[kPortRefSize] = {};
    std::snprintf(text, std::min(size, sizeof text), "%d.%s.%d", device, std::string(kind).c_str(),
                  connection);
    return text;
}

// The device and the WAN reference of a new connection `instance` under the
// device that `request` names.
struct Connection {
    int device;
    std::string ref;
};

Connection connection_of(std::string_view request, int instance) {
    const int device = digit_at(request, kDevicePosition);
    const char *kind = contains(request, kIpConnection) ? "IP" : "PPP";
    return {device, reference(device, kind, instance, kWanRefSize)};
}

// The WAN group an element belongs to by its name; -1 for none.
int wan_group_of(IXML_Node *file) {
    const std::string_view name = sal::xml::tag(file);
    for (size_t i = 0; i < std::size(kWanGroups); ++i) {
        if (name == kWanGroups[i].name) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool is_wan_demo(IXML_Node *file) {
    const char *n = sal::xml::attr_cstr(file, "n");
    for (const WanGroup &group : kWanGroups) {
        if (n != nullptr && strcasecmp(n, group.id) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

void wan_add(const char *uri, int instance) {
    if (!can_walk("handleWanAddInstance", uri)) {
        return;
    }
    const std::string_view request = uri;
    const std::string parent = parent_table(uri);
    // One file of each group per device.
    std::array<bool, std::size(kWanGroups)> done{};
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        const auto path = sal::xml::attr(file, "uri");
        if (!path || path->empty() || !sal::xml::is_file_element(file) || is_wan_demo(file)) {
            continue;  // the demo files belong to the TR-069 WAN
        }
        const int group = wan_group_of(file);
        if (contains(*path, request)) {
            // A copy made for a new device: its path is still the pattern.
            if (group >= 0 && !done[group] && contains(*path, "%d")) {
                sal::xml::set_attr(file, "uri", sal::fill_pattern(*path, {instance}, kPathSize));
                done[group] = true;
                if (group == 0) {
                    set_vlan_uri(file);
                }
            }
        } else if (contains(request, *path)) {
            // A file of the device that the new connection is added under.
            if (parent != kWanDeviceTable) {
                std::puts("filter other subnode");
                return;
            }
            if (group >= 0 && !done[group]) {
                const Connection connection = connection_of(request, instance);
                update_param_uri(file, connection.device, instance, connection.ref.c_str());
                done[group] = true;
            }
        }
    }
}

void tr069_add(const char *uri, int instance, int demo) {
    if (uri == nullptr || instance < 1) {
        std::puts("param is NULL");
        return;
    }
    IXML_Node *file = sal::find_file_node(demo);
    if (file == nullptr) {
        std::puts("cant find tr069 node in mem");
        return;
    }
    const std::string_view request = uri;
    const std::string parent = parent_table(uri);
    const auto path = sal::xml::attr(file, "uri");
    if (!path) {
        return;
    }
    if (contains(*path, request)) {
        sal::xml::set_attr(file, "uri", sal::fill_pattern(*path, {instance}, kPathSize));
        set_vlan_uri(file);
    } else if (contains(request, *path) && parent == kWanDeviceTable) {
        const Connection connection = connection_of(request, instance);
        update_param_uri(file, connection.device, instance, connection.ref.c_str());
    }
}

void port_mapping_add(IXML_Node *file_element, const char *uri, int instance) {
    if (file_element == nullptr || uri == nullptr) {
        std::puts("param error");
        return;
    }
    const std::string_view request = uri;
    std::string_view kind = kIpConnection;
    const char *short_kind = "IP";
    size_t at = request.find(kIpConnection);
    if (at == std::string_view::npos) {
        kind = kPppConnection;
        short_kind = "PPP";
        at = request.find(kPppConnection);
    }
    // Both numbers stand two places before the name that follows them.
    const int device = at == std::string_view::npos || at < 2 ? 0 : digit_at(request, at - 2);
    if (device == 0) {
        std::puts("can't find WANConnectionDevice index");
        return;
    }
    const size_t mapping = request.find("PortMapping");
    if (mapping == std::string_view::npos || mapping < 2) {
        std::puts("can't find WANXXXConnection index");
        return;
    }
    const int connection = digit_at(request, mapping - 2);

    // An element whose path is already full keeps it, and its records get
    // an empty reference.
    std::string path;
    std::string ref;
    const auto pattern = sal::xml::attr(file_element, "uri");
    if (sal::xml::attr_is(file_element, "a", "EF") &&
        sal::xml::tag(file_element) == "PortMapping" && pattern && contains(*pattern, "%d")) {
        path = sal::fill_pattern(*pattern, {device, kind, connection, instance}, kPortPathSize);
        ref = reference(device, short_kind, connection, kPortRefSize);
        sal::xml::set_attr(file_element, "uri", path);
    }
    char number[kPortNumberSize] = {};
    std::snprintf(number, sizeof number, "%d", instance);

    for (IXML_Node *param : sal::xml::child_elements(file_element)) {
        if (!sal::xml::attr_is(param, "uri", kDeleted)) {
            complete_param_path(param, path, kPortPathSize);
            continue;
        }
        // Card-only records. The record writer keeps the whole value, so the
        // parameter's ml need not be passed on.
        const std::string_view name = sal::xml::tag(param);
        if (name == "WANIndex") {
            if (!write_record(file_element, "P00", ref)) {
                std::puts("write simcard P00  to empty error");
                return;
            }
            sal::xml::set_attr(param, "simv", ref);
        } else if (name == "PortIndex") {
            if (!write_record(file_element, "P01", number)) {
                std::puts("write simcard  P01 to empty error");
                return;
            }
            sal::xml::set_attr(param, "simv", number);
        }
        hal::save_to_sim();
    }
}

bool tr069_marker_present() { return sys::access(SIMCARD_PATH_TR069_MARKER, F_OK) == 0; }

}  // namespace simcard::instance
