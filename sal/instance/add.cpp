#include "sal/instance/add.h"

#include <strings.h>

#include <array>
#include <cstdio>

#include "hal/hal.h"
#include "hal/records.h"
#include "sal/access.h"
#include "sal/config.h"
#include "sal/instance/kinds.h"
#include "sal/instance/paths.h"
#include "sal/instance/wan.h"
#include "sal/log.h"
#include "sal/pattern.h"
#include "sal/xml.h"

namespace simcard::instance {
namespace {

using sal::contains;

constexpr int kWlanDemo = 0x6F2B;
constexpr std::string_view kQosType = "Qos-type";
// A type is added only under a classification instance: "...Classification.1.type.".
constexpr std::string_view kTypePattern =
    "InternetGatewayDevice.X_CT-COM_UplinkQoS.Classification.%d.type.%d.";

struct QosTable {
    Table table;
    int demo;
    const char *name;
};
constexpr QosTable kQosTables[] = {
    {Table::kQosApp, 0x6F38, "Qos-APP"},
    {Table::kQosClassification, 0x6F40, "Qos-Classification"},
    {Table::kQosClassificationType, 0x6F48, "Qos-type"},
    {Table::kQosPriorityQueue, 0x6F54, "Qos-PriorityQueue"},
};

const QosTable *qos_table(Table table) {
    for (const QosTable &qos : kQosTables) {
        if (qos.table == table) {
            return &qos;
        }
    }
    return nullptr;
}

bool refuse_duplicate(const std::string &path, const char *name) {
    if (is_duplicate(path.c_str(), name) == 0) {
        return false;
    }
    // The same words for every object.
    std::printf("duplate add wan : %s\n", path.c_str());
    return true;
}

int add_wlan(Table table) {
    if (table != Table::kWlanConfiguration) {
        return 1;
    }
    const int id = free_file_id(kWlanDemo, last_of(kWlanDemo));
    if (id == 0) {
        return 0;
    }
    add_node(id, kWlanDemo);  // 6F2B has no template to copy: nothing is added
    return 1;
}

int add_wan(const char *uri, Table table, int instance) {
    if (tr069_marker_present()) {
        std::puts("##########create tr069 wan to 6F07###########");
        for (const WanGroup &group : kWanGroups) {
            tr069_add(uri, instance, group.demo);
        }
        return 1;
    }
    if (table == Table::kWanConnectionDevice) {
        if (refuse_duplicate(instance_path(uri, instance), kWanGroups[0].name)) {
            return 0;
        }
        // All three ids first, so that a full group leaves nothing half made.
        std::array<int, std::size(kWanGroups)> ids{};
        for (size_t i = 0; i < ids.size(); ++i) {
            ids[i] = free_file_id(kWanGroups[i].demo, last_of(kWanGroups[i].demo));
            if (ids[i] == 0) {
                SAL_LOG("simcard_addMulInstanceByUri", "unable get free fileid\n");
                return 0;
            }
        }
        for (size_t i = 0; i < ids.size(); ++i) {
            add_node(ids[i], kWanGroups[i].demo);
        }
    }
    wan_add(uri, instance);
    return 1;
}

int add_qos(const char *uri, Table table, int instance) {
    const QosTable *qos = qos_table(table);
    if (qos == nullptr) {
        return 0;
    }
    const std::string path = instance_path(uri, instance);
    // Types of all classifications share one group: an unused one is found
    // by the pattern, not by the classification's own path.
    std::string lookup = uri;
    if (qos->table == Table::kQosClassificationType) {
        lookup = sal::format_uri(path.c_str());
        if (lookup != kTypePattern) {
            return 1;
        }
    }
    if (refuse_duplicate(path, qos->name)) {
        return 0;
    }
    IXML_Node *element = find_unfilled(lookup.c_str(), qos->name);
    if (element == nullptr) {
        const int id = free_file_id(qos->demo, last_of(qos->demo));
        if (id == 0) {
            return 0;
        }
        element = add_node(id, qos->demo);
    }
    if (element != nullptr) {
        fill_common(element, uri, instance);
    }
    return 1;
}

int add_port_mapping(const char *uri, int instance) {
    if (refuse_duplicate(instance_path(uri, instance), "PortMapping")) {
        return 0;
    }
    // The demo holds the first port mapping as long as its path is a pattern.
    IXML_Node *demo = sal::find_file_node(kPortMappingDemo);
    const auto pattern = sal::xml::attr(demo, "uri");
    if (demo != nullptr && (!pattern || contains(*pattern, "%d"))) {
        port_mapping_add(demo, uri, instance);
        return 1;
    }
    const int id = free_file_id(kPortMappingDemo, last_of(kPortMappingDemo));
    if (id == 0) {
        return 0;
    }
    port_mapping_add(add_node(id, kPortMappingDemo), uri, instance);
    return 1;
}

}  // namespace

bool can_walk(const char *func, const char *uri) {
    if (uri == nullptr) {
        SAL_LOG(func, "uri is invalide\n");
        return false;
    }
    if (ct_simcfg_root == nullptr) {
        SAL_LOG(func, "ct_simcfg_root is null!\n");
        return false;
    }
    return true;
}

std::string instance_path(std::string_view table, int instance) {
    return sal::fill_pattern("%s%d.", {table, instance}, kPathSize);
}

void complete_param_path(IXML_Node *param, std::string_view base, size_t capacity) {
    const auto tail = sal::xml::attr(param, "uri");
    if (tail && *tail != kDeleted && !contains(*tail, "InternetGatewayDevice")) {
        sal::xml::set_attr(param, "uri", sal::fill_pattern("%s%s", {base, *tail}, capacity));
    }
}

bool write_record(IXML_Node *file_element, const char *name, const std::string &value) {
    const std::optional<uint16_t> file = card_file_of(file_element);
    return file && hal::write_param(hal::kOperatorDir, *file, name, value.c_str()) == 0;
}

int add_instance(const char *uri, int instance) {
    if (uri == nullptr || instance < 1) {
        SAL_LOG("simcard_addMulInstanceByUri", "add instance param is failed\n");
        return 0;
    }
    const Table table = table_of(uri);
    switch (kind_of(uri)) {
        case Kind::kWlan:
            return add_wlan(table);
        case Kind::kWanConnection:
            return add_wan(uri, table, instance);
        case Kind::kUplinkQos:
            return add_qos(uri, table, instance);
        case Kind::kPortMapping:
            return add_port_mapping(uri, instance);
        case Kind::kNone:
            break;
    }
    return 1;
}

int free_file_id(int demo, int last) {
    for (long long id = demo + 1LL; id <= last; ++id) {
        if (sal::find_file_node(static_cast<int>(id)) == nullptr) {
            return static_cast<int>(id);
        }
    }
    return 0;
}

int is_duplicate(const char *path, const char *name) {
    if (path == nullptr || name == nullptr) {
        std::puts("param error");
        return -1;
    }
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        if (sal::xml::tag(file) == name && sal::xml::attr_is(file, "uri", path)) {
            return 1;
        }
    }
    return 0;
}

IXML_Node *find_unfilled(const char *object_path, const char *name) {
    if (object_path == nullptr || name == nullptr) {
        std::puts("uri is invalide");
        return nullptr;
    }
    if (ct_simcfg_root == nullptr) {
        std::puts("ct_simcfg_root is null!");
        return nullptr;
    }
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        const auto uri = sal::xml::attr(file, "uri");
        if (uri && contains(*uri, object_path) && sal::xml::tag(file) == name &&
            sal::xml::is_file_element(file) && contains(*uri, "%d")) {
            return file;
        }
    }
    return nullptr;
}

IXML_Node *add_node(int new_id, int demo) {
    if (ct_simcfg_root == nullptr) {
        SAL_LOG("addMulInstanceNode", "ct_simcfg_root is null!\n");
        return nullptr;
    }
    IXML_Node *tmpl = find_template(demo);
    if (tmpl == nullptr) {
        return nullptr;
    }
    // Directly after the template: run-time instances stand there newest
    // first, those of start-up before it.
    IXML_Node *element = insert_next_to(tmpl, deep_copy(tmpl), /*after=*/true);
    if (element == nullptr) {
        std::puts("clone node error");
        return nullptr;
    }
    char id[16] = {};
    std::snprintf(id, sizeof id, "%x", static_cast<unsigned>(new_id));
    sal::xml::set_attr(element, "n", id);
    sal::xml::put_attr(element, "a", "EF");
    return element;
}

void fill_common(IXML_Node *file_element, const char *object_path, int instance) {
    if (object_path == nullptr) {
        std::puts("uri is invalide");
        return;
    }
    const auto pattern = sal::xml::attr(file_element, "uri");
    if (!sal::xml::is_file_element(file_element) || !pattern || !contains(*pattern, "%d")) {
        return;
    }
    // A type's pattern has two numbers; its path is its table's plus one.
    const std::string path = sal::xml::tag(file_element) == kQosType
                                 ? instance_path(object_path, instance)
                                 : sal::fill_pattern(*pattern, {instance}, kPathSize);
    sal::xml::set_attr(file_element, "uri", path);
    for (IXML_Node *param : sal::xml::child_elements(file_element)) {
        complete_param_path(param, path, kPathSize);
    }
}

}  // namespace simcard::instance
