// The C entry points of adding and deleting instances.
#include "hal/boundary.h"
#include "sal/instance/add.h"
#include "sal/instance/first_online.h"
#include "sal/instance/remove.h"
#include "sal/instance/wan.h"
#include "simcard/simcard_objects.h"

using namespace simcard;

namespace {
constexpr int kRefused = 0;
constexpr int kFail = -1;
}  // namespace

extern "C" {

int simcard_addMulInstanceByUri(const char *uri, int instance) {
    return guard(kRefused, [&] { return instance::add_instance(uri, instance); });
}

int mallocMulInstaneFreeFileId(int demo_id, int last_id) {
    return guard(0, [&] { return instance::free_file_id(demo_id, last_id); });
}

int ifduplateInstanceadd(const char *instance_path, const char *name) {
    return guard(kFail, [&] { return instance::is_duplicate(instance_path, name); });
}

IXML_Node *ifhaveEmptyNode(const char *object_path, const char *name) {
    return guard<IXML_Node *>(nullptr, [&] { return instance::find_unfilled(object_path, name); });
}

IXML_Node *addMulInstanceNode(int new_id, int demo_id) {
    return guard<IXML_Node *>(nullptr, [&] { return instance::add_node(new_id, demo_id); });
}

void handleCommonAddInstance1(IXML_Node *file_element, const char *object_path, int instance) {
    guard_void([&] { instance::fill_common(file_element, object_path, instance); });
}

void handleWanAddInstance(const char *uri, int instance) {
    guard_void([&] { instance::wan_add(uri, instance); });
}

void handleTr069AddInstance(const char *uri, int instance, int demo_id) {
    guard_void([&] { instance::tr069_add(uri, instance, demo_id); });
}

void handlePortMappingAddInstance(IXML_Node *file_element, const char *uri, int instance) {
    guard_void([&] { instance::port_mapping_add(file_element, uri, instance); });
}

int check_if_create_tr069_wan(void) {
    return guard(0, [] { return instance::tr069_marker_present() ? 1 : 0; });
}

int simcard_delMulInstanceByUri(const char *uri, int instance) {
    return guard(kRefused, [&] { return instance::delete_instance(uri, instance); });
}

void delMulInstanceNodeByUri(const char *uri) {
    guard_void([&] { instance::delete_under(uri); });
}

int delMulInstanceNode(IXML_Node *file_element) {
    return guard(kRefused, [&] { return instance::delete_node(file_element); });
}

void setAllParamUriEmpty(IXML_Node *file_element) {
    guard_void([&] { instance::clear_param_uris(file_element); });
}

int update6F07ForFirstOnline(void) {
    return guard(kFail, [] { return instance::update_first_online(); });
}

}  // extern "C"
