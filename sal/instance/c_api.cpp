// The C entry points of instance templates and instance paths.
#include <cstring>
#include <string>

#include "hal/boundary.h"
#include "sal/instance/kinds.h"
#include "sal/instance/paths.h"
#include "sal/instance/templates.h"
#include "sal/log.h"
#include "simcard/simcard_instance.h"

using namespace simcard;

extern "C" {

int getMulInstanceUriType(const char *uri) {
    return guard(static_cast<int>(instance::Kind::kNone), [&] {
        if (uri == nullptr) {
            SAL_LOG("getMulInstanceUriType", "instance uri is NULL\n");
            return static_cast<int>(instance::Kind::kNone);
        }
        return static_cast<int>(instance::kind_of(uri));
    });
}

int checkMulInstanceUri(const char *uri) {
    return guard(0, [&] { return uri != nullptr ? static_cast<int>(instance::table_of(uri)) : 0; });
}

void getParentInstancePath(char *path) {
    guard_void([&] {
        if (path == nullptr) {
            return;
        }
        // The parent is never longer than the path, so it fits where it was.
        std::string parent(path);
        instance::cut_to_parent(parent);
        std::memcpy(path, parent.c_str(), parent.size() + 1);
    });
}

int saveMulInstanceTemplateNade(IXML_Node *template_element, int file_id) {
    return guard(0, [&] {
        if (template_element == nullptr) {
            SAL_LOG("saveMulInstanceTemplateNade", "node is NULL\n");
            return 1;
        }
        instance::save_template(template_element, file_id);
        return 0;
    });
}

void initNodeParamFuri(IXML_Node *file_element) {
    guard_void([&] { instance::init_param_furi(file_element); });
}

void setVlanUri(IXML_Node *file_element) {
    guard_void([&] { instance::set_vlan_uri(file_element); });
}

void updateMulInstanceParamUri(IXML_Node *file_element, int wan_index, int conn_index,
                               const char *wan_ref) {
    guard_void([&] { instance::update_param_uri(file_element, wan_index, conn_index, wan_ref); });
}

int updateNodeUri(IXML_Node *file_element, const InstanceIndexInfo *info) {
    return guard(-1, [&] { return instance::update_node_uri(file_element, info); });
}

}  // extern "C"
