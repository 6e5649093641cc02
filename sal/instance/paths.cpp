#include "sal/instance/paths.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hal/hal.h"
#include "hal/records.h"
#include "sal/log.h"
#include "sal/number.h"
#include "sal/pattern.h"
#include "sal/xml.h"

namespace simcard::instance {
namespace {

using sal::contains;

constexpr const char *kUpdateNodeUri = "updateNodeUri";

bool conn_type_is(const InstanceIndexInfo &info, const char *kind) {
    return strcasecmp(std::string(conn_type(info)).c_str(), kind) == 0;
}

// Parameters of the element that name the VLAN of a WAN connection device.
bool is_vlan_parameter(IXML_Node *child) {
    const std::string_view name = sal::xml::tag(child);
    return name == "ConnectVlanID" || name == "VlanTransferMode";
}

}  // namespace

std::string_view conn_type(const InstanceIndexInfo &info) {
    return {info.connType, strnlen(info.connType, sizeof info.connType)};
}

bool other_connection(const InstanceIndexInfo &info, std::string_view path) {
    return (conn_type_is(info, "ip") && contains(path, kPppConnection)) ||
           (conn_type_is(info, "ppp") && contains(path, kIpConnection));
}

std::string fill_instance_pattern(std::string_view pattern, const InstanceIndexInfo &info,
                                  size_t capacity) {
    if (info.hasWan == 0) {
        return sal::fill_pattern(pattern, {info.instIndex, info.subIndex}, capacity);
    }
    if (contains(pattern, "%s")) {
        const std::string_view name = conn_type_is(info, "ip") ? kIpConnection : kPppConnection;
        return sal::fill_pattern(
            pattern, {info.wanIndex, name, info.connIndex, info.instIndex, info.subIndex},
            capacity);
    }
    if (contains(pattern, kIpConnection) || contains(pattern, kPppConnection)) {
        return sal::fill_pattern(
            pattern, {info.wanIndex, info.connIndex, info.instIndex, info.subIndex}, capacity);
    }
    return sal::fill_pattern(pattern, {info.wanIndex, info.instIndex, info.subIndex}, capacity);
}

std::string join_path(std::string_view a, std::string_view b) {
    return sal::fill_pattern("%s%s", {a, b}, kPathSize);
}

std::optional<uint16_t> card_file_of(IXML_Node *file_element) {
    const char *n = sal::xml::attr_cstr(file_element, "n");
    const auto id = static_cast<uint16_t>(n != nullptr ? sal::to_int(n, 16) : 0);
    return id != 0 ? std::optional<uint16_t>(id) : std::nullopt;
}

void init_param_furi(IXML_Node *file_element) {
    const auto pattern = sal::xml::attr(file_element, "uri");
    if (!pattern) {
        return;
    }
    for (IXML_Node *child : sal::xml::child_elements(file_element)) {
        const auto uri = sal::xml::attr(child, "uri");
        const auto furi = sal::xml::attr(child, "furi");
        // A parameter without any furi is no instance parameter: left alone.
        if (!uri || contains(*uri, kDeleted) || !furi || !furi->empty()) {
            continue;
        }
        sal::xml::set_attr(child, "furi", join_path(*pattern, *uri));
    }
}

void set_vlan_uri(IXML_Node *file_element) {
    if (file_element == nullptr) {
        std::puts("node is NULL");
        return;
    }
    const auto base = sal::xml::attr(file_element, "uri");
    if (!base) {
        std::puts("node uri is NULL");
        return;
    }
    for (IXML_Node *child : sal::xml::child_elements(file_element)) {
        const auto uri = sal::xml::attr(child, "uri");
        if (is_vlan_parameter(child) && uri && !contains(*uri, "InternetGatewayDevice")) {
            sal::xml::set_attr(child, "uri", join_path(*base, *uri));
        }
    }
}

void update_param_uri(IXML_Node *file_element, int wan_index, int conn_index, const char *wan_ref) {
    constexpr const char *kFunc = "updateMulInstanceParamUri";
    if (file_element == nullptr || wan_ref == nullptr || conn_index <= 0) {
        SAL_LOG(kFunc, "update node param is failed\n");
        return;
    }
    if (!sal::xml::attr(file_element, "uri")) {
        SAL_LOG(kFunc, "node  is NULL\n");
        return;
    }
    const std::string_view ref = wan_ref;
    const bool ip = contains(ref, "IP");
    for (IXML_Node *child : sal::xml::child_elements(file_element)) {
        if (sal::xml::attr_is(child, "n", "P00")) {
            sal::xml::set_attr(child, "simv", ref);
            const std::optional<uint16_t> file = card_file_of(file_element);
            if (!file || hal::write_param(hal::kOperatorDir, *file, "P00", wan_ref) != 0) {
                std::printf("write simcard P00 to %s error\n", wan_ref);
                return;
            }
            hal::save_to_sim();
        }
        const auto uri = sal::xml::attr(child, "uri");
        const auto furi = sal::xml::attr(child, "furi");
        if (!uri || *uri == kDeleted || !furi || contains(*uri, "InternetGatewayDevice") ||
            (ip && contains(*furi, kPppConnection)) ||
            (contains(ref, "PPP") && contains(*furi, kIpConnection))) {
            continue;
        }
        std::string path;
        if (contains(*furi, "%s")) {
            path = sal::fill_pattern(
                *furi, {wan_index, ip ? kIpConnection : kPppConnection, conn_index}, kPathSize);
        } else if (contains(*furi, kIpConnection) || contains(*furi, kPppConnection)) {
            path = sal::fill_pattern(*furi, {wan_index, conn_index}, kPathSize);
        } else {
            path = std::string(furi->substr(0, kPathSize - 1));
        }
        if (!path.empty()) {
            sal::xml::set_attr(child, "uri", path);
        }
    }
}

int update_node_uri(IXML_Node *file_element, const InstanceIndexInfo *info) {
    SAL_LOG(kUpdateNodeUri, "==========updateNodeUri enter===============\n");
    if (file_element == nullptr || info == nullptr) {
        SAL_LOG(kUpdateNodeUri, "%s: arguments is null\n", kUpdateNodeUri);
        return -1;
    }
    const char *t = sal::xml::attr_cstr(file_element, "t");
    if (t == nullptr || strcasecmp(t, "dynamic") != 0) {
        SAL_LOG(kUpdateNodeUri, "%s: %s is not  dynamic\n", kUpdateNodeUri,
                std::string(sal::xml::tag(file_element)).c_str());
        return -1;
    }
    const auto pattern = sal::xml::attr(file_element, "furi");
    if (!pattern || pattern->empty()) {
        return -1;
    }
    if (contains(*pattern, "WANConnectionDevice") && info->hasWan == 0) {
        SAL_LOG(kUpdateNodeUri, "uri has wan but index has't wan index\n");
        return -1;
    }
    const std::string path = fill_instance_pattern(*pattern, *info, kNodeUriPathSize);
    if (!path.empty()) {
        sal::xml::set_attr(file_element, "uri", path);
    }
    SAL_LOG(kUpdateNodeUri, "%s: uri=%s\n", kUpdateNodeUri, path.c_str());
    for (IXML_Node *child : sal::xml::child_elements(file_element)) {
        const auto furi = sal::xml::attr(child, "furi");
        if (!furi || furi->empty() || (info->hasWan != 0 && other_connection(*info, *furi))) {
            continue;
        }
        const std::string param = fill_instance_pattern(*furi, *info, kNodeUriPathSize);
        SAL_LOG(kUpdateNodeUri, "%s: para uri=%s\n", kUpdateNodeUri, param.c_str());
        if (!param.empty()) {
            sal::xml::set_attr(child, "uri", param);
        }
    }
    SAL_LOG(kUpdateNodeUri, "==========updateNodeUri end===============\n");
    return 0;
}

}  // namespace simcard::instance
