// The template table, and copying template elements into the tree.
#ifndef SIMCARD_SAL_INSTANCE_TEMPLATES_H
#define SIMCARD_SAL_INSTANCE_TEMPLATES_H

#include <ixml.h>

#include <array>
#include <memory>

#include "simcard/simcard_instance.h"

namespace simcard::instance {

// One multi-instance object: its demo file, the last of its instance files
// (demo + 1 up to last) and the slot of its template in templateNodeTable.
struct Group {
    int demo;
    int last;
    int slot;
};

// In the order start-up makes templates and inserts instances.
inline constexpr std::array<Group, 10> kGroups = {{
    {0x6F07, 0x6F16, 0},
    {0x6F17, 0x6F26, 1},
    {0x6F2B, 0x6F32, 3},
    {0x6F38, 0x6F3F, 4},
    {0x6F40, 0x6F47, 5},
    {0x6F48, 0x6F53, 6},
    {0x6F54, 0x6F5B, 7},
    {0x6F5C, 0x6F61, 8},
    {0x6F64, 0x6F77, 10},
    {0x6F96, 0x6FA5, 2},
}};

inline constexpr size_t kTemplateSlots = sizeof templateNodeTable / sizeof templateNodeTable[0];

// Stores the template in its demo's slot. 6F63 and unknown ids have none.
void save_template(IXML_Node *template_element, int demo);

// The template that start-up and run-time adds clone for a demo, or null.
// Deliberately lopsided: 6F2B is never looked up (its slot is filled all the
// same), and 6F63 is looked up in a slot that nothing fills.
IXML_Node *find_template(int demo);

// Empties every slot (the elements belong to the document).
void reset_templates();

// An element not (or no longer) in the tree, freed unless handed to the tree.
struct NodeFree {
    void operator()(IXML_Node *node) const { ixmlNode_free(node); }
};
using DetachedNode = std::unique_ptr<IXML_Node, NodeFree>;

// A deep copy of `element` that belongs to the element's document, so that
// it can be inserted into the tree; null when copying failed.
DetachedNode deep_copy(IXML_Node *element);

// Puts `node` into ref's parent, directly before ref (or, with after, after
// it). The tree then owns it; on failure it is freed and null comes back.
IXML_Node *insert_next_to(IXML_Node *ref, DetachedNode node, bool after);

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_TEMPLATES_H
