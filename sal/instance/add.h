// Adding instances of multi-instance objects: finding or making the card file
// element that holds a new instance, and filling its paths.
#ifndef SIMCARD_SAL_INSTANCE_ADD_H
#define SIMCARD_SAL_INSTANCE_ADD_H

#include <ixml.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "sal/instance/templates.h"

namespace simcard::instance {

// The WAN demo files, one per file of a WAN connection device, with the
// element name of their group.
struct WanGroup {
    int demo;
    const char *id;  // as the document names it
    const char *name;
};
inline constexpr WanGroup kWanGroups[] = {
    {0x6F07, "6F07", "Wanconnection"},
    {0x6F17, "6F17", "WAN_IPV4"},
    {0x6F96, "6F96", "WAN_IPV6"},
};
inline constexpr int kPortMappingDemo = 0x6F64;

// The last instance file of a demo's group; the demo itself when it has none.
constexpr int last_of(int demo) {
    for (const Group &group : kGroups) {
        if (group.demo == demo) {
            return group.last;
        }
    }
    return demo;
}

// A walk of the tree by path needs both; what is missing is logged under
// func ("uri is invalide", "ct_simcfg_root is null!").
bool can_walk(const char *func, const char *uri);

// The path of instance `instance` in table `table`: "%s%d.".
std::string instance_path(std::string_view table, int instance);

// Puts base in front of a parameter's relative path (cut to capacity - 1);
// full paths and card-only records ("*DEL*") are left alone.
void complete_param_path(IXML_Node *param, std::string_view base, size_t capacity);

// Writes one record of the element's card file into the session (the card
// sees it with the next hal::save_to_sim()). False when the element names
// no file or the write failed.
bool write_record(IXML_Node *file_element, const char *name, const std::string &value);

// simcard_addMulInstanceByUri: 1 handled (or nothing to do), 0 refused.
int add_instance(const char *uri, int instance);

// mallocMulInstaneFreeFileId: the lowest id in demo + 1 .. last that no file
// element of the tree names; 0 when there is none. The card is not asked.
int free_file_id(int demo, int last);

// ifduplateInstanceadd: 1 when an element named `name` has exactly the path,
// 0 when none, -1 (after "param error") for a null argument.
int is_duplicate(const char *path, const char *name);

// ifhaveEmptyNode: the first file element named `name` whose "uri" contains
// object_path and is still a pattern; null when none.
IXML_Node *find_unfilled(const char *object_path, const char *name);

// addMulInstanceNode: a copy of the demo's template, inserted directly after
// it as file new_id; null when the demo has no template or copying failed.
IXML_Node *add_node(int new_id, int demo);

// handleCommonAddInstance1: fills the paths of an uplink QoS instance.
void fill_common(IXML_Node *file_element, const char *object_path, int instance);

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_ADD_H
