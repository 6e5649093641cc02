#include "sal/instance/templates.h"

#include <algorithm>

#include "sal/xml.h"

IXML_Node *templateNodeTable[11] = {};

namespace simcard::instance {
namespace {

constexpr int kWlanDemo = 0x6F2B;
constexpr int kUnfilledDemo = 0x6F63;
constexpr int kUnfilledSlot = 9;

const Group *group_of(int demo) {
    const auto it = std::find_if(kGroups.begin(), kGroups.end(),
                                 [demo](const Group &g) { return g.demo == demo; });
    return it != kGroups.end() ? &*it : nullptr;
}

}  // namespace

void save_template(IXML_Node *template_element, int demo) {
    if (const Group *group = group_of(demo)) {
        templateNodeTable[group->slot] = template_element;
    }
}

IXML_Node *find_template(int demo) {
    if (demo == kUnfilledDemo) {
        return templateNodeTable[kUnfilledSlot];
    }
    const Group *group = group_of(demo);
    return group != nullptr && demo != kWlanDemo ? templateNodeTable[group->slot] : nullptr;
}

void reset_templates() {
    std::fill(std::begin(templateNodeTable), std::end(templateNodeTable), nullptr);
}

DetachedNode deep_copy(IXML_Node *element) {
    IXML_Document *doc = element != nullptr ? ixmlNode_getOwnerDocument(element) : nullptr;
    IXML_Node *copy = nullptr;
    // A plain clone has no owner document and the tree refuses it; an
    // imported one belongs to the document from the start.
    if (doc == nullptr || ixmlDocument_importNode(doc, element, 1, &copy) != IXML_SUCCESS) {
        return nullptr;
    }
    return DetachedNode(copy);
}

IXML_Node *insert_next_to(IXML_Node *ref, DetachedNode node, bool after) {
    IXML_Node *parent = ref != nullptr ? ixmlNode_getParentNode(ref) : nullptr;
    if (parent == nullptr || !node) {
        return nullptr;
    }
    IXML_Node *before = after ? ixmlNode_getNextSibling(ref) : ref;
    // Inserting before nothing is refused rather than taken as appending.
    const int rc = before != nullptr ? ixmlNode_insertBefore(parent, node.get(), before)
                                     : ixmlNode_appendChild(parent, node.get());
    if (rc != IXML_SUCCESS) {
        return nullptr;
    }
    sal::xml::note_shape_changed();  // lookups by path must see the new element
    return node.release();
}

}  // namespace simcard::instance
