// Typed access to the configuration tree, so that the model never repeats raw
// IXML calls. Attribute texts returned here belong to the tree and stay valid
// until that attribute is set again.
#ifndef SIMCARD_SAL_XML_H
#define SIMCARD_SAL_XML_H

#include <ixml.h>

#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace simcard::sal::xml {

// Owns a DOMString that IXML hands over (ixmlPrintDocument and friends).
struct DomStringFree {
    void operator()(char *text) const { ixmlFreeDOMString(text); }
};
using DomString = std::unique_ptr<char, DomStringFree>;

// Owns a whole document.
struct DocumentFree {
    void operator()(IXML_Document *doc) const { ixmlDocument_free(doc); }
};
using Document = std::unique_ptr<IXML_Document, DocumentFree>;

inline bool is_element(IXML_Node *node) {
    return node != nullptr && ixmlNode_getNodeType(node) == eELEMENT_NODE;
}

// The node as an element, or null when it is none.
inline IXML_Element *as_element(IXML_Node *node) {
    return is_element(node) ? reinterpret_cast<IXML_Element *>(node) : nullptr;
}

// The attribute's text, or null when absent (or when node is no element).
inline const char *attr_cstr(IXML_Node *node, const char *name) {
    IXML_Element *element = as_element(node);
    return element != nullptr ? ixmlElement_getAttribute(element, name) : nullptr;
}

inline std::optional<std::string_view> attr(IXML_Node *node, const char *name) {
    if (const char *value = attr_cstr(node, name)) {
        return std::string_view(value);
    }
    return std::nullopt;
}

// Present and equal to `expected`, exactly.
inline bool attr_is(IXML_Node *node, const char *name, std::string_view expected) {
    const auto value = attr(node, name);
    return value && *value == expected;
}

// The tree's shape generation: it changes with every change that can alter
// which element a search by attribute finds, that is, with every change of
// the tree's structure (note_shape_changed) and every write of the
// attributes that select elements ("a", "n", "uri"; set_attr bumps it).
// Indexes over the tree (sal/param_index.h) are valid for one generation.
inline unsigned long shape_generation_counter = 0;

inline unsigned long shape_generation() { return shape_generation_counter; }

// To be called by code that inserts, removes or moves elements, and when a
// document is loaded or dropped.
inline void note_shape_changed() { ++shape_generation_counter; }

// Writes the attribute in one write: for the kind ("a"), the marks ("wf",
// "init") and a template's "n". Returns the IXML result (0 on success).
inline int put_attr(IXML_Node *node, const char *name, const char *value) {
    IXML_Element *element = as_element(node);
    if (element == nullptr) {
        return IXML_INVALID_PARAMETER;
    }
    const std::string_view key = name != nullptr ? name : "";
    if (key == "a" || key == "n" || key == "uri") {
        note_shape_changed();
    }
    return ixmlElement_setAttribute(element, name, value);
}

// Writes the attribute as the model writes paths, values and an instance's
// "n": empty first, then the value. The value is copied first, so it may be
// the attribute's own current text. Returns the IXML result (0 on success).
inline int set_attr(IXML_Node *node, const char *name, std::string_view value) {
    const std::string copy(value);
    const int rc = put_attr(node, name, "");
    if (rc != IXML_SUCCESS) {
        return rc;
    }
    return put_attr(node, name, copy.c_str());
}

// A file element: "a" starts with "EF" in any case (so "ef" passes too).
inline bool is_file_element(IXML_Node *node) {
    const char *kind = attr_cstr(node, "a");
    return kind != nullptr && (kind[0] == 'E' || kind[0] == 'e') &&
           (kind[1] == 'F' || kind[1] == 'f');
}

// The tag name, never null: empty for a null node.
inline const char *tag_name(IXML_Node *node) {
    const char *name = node != nullptr ? ixmlNode_getNodeName(node) : nullptr;
    return name != nullptr ? name : "";
}

inline std::string_view tag(IXML_Node *node) { return tag_name(node); }

// Children in document order, following the next-sibling links as they are
// when the iterator advances: a body that removes the current node must take
// its next sibling first. With `elements_only`, other nodes are stepped over.
class Children {
public:
    class iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = IXML_Node *;
        using difference_type = std::ptrdiff_t;
        using pointer = IXML_Node **;
        using reference = IXML_Node *;

        iterator(IXML_Node *node, bool elements_only) : node_(node), elements_only_(elements_only) {
            skip();
        }
        IXML_Node *operator*() const { return node_; }
        iterator &operator++() {
            node_ = ixmlNode_getNextSibling(node_);
            skip();
            return *this;
        }
        bool operator==(const iterator &other) const { return node_ == other.node_; }
        bool operator!=(const iterator &other) const { return node_ != other.node_; }

    private:
        void skip() {
            while (elements_only_ && node_ != nullptr && !is_element(node_)) {
                node_ = ixmlNode_getNextSibling(node_);
            }
        }
        IXML_Node *node_;
        bool elements_only_;
    };

    Children(IXML_Node *parent, bool elements_only)
        : first_(parent != nullptr ? ixmlNode_getFirstChild(parent) : nullptr),
          elements_only_(elements_only) {}
    iterator begin() const { return iterator(first_, elements_only_); }
    iterator end() const { return iterator(nullptr, elements_only_); }

private:
    IXML_Node *first_;
    bool elements_only_;
};

inline Children children(IXML_Node *parent) { return Children(parent, false); }
inline Children child_elements(IXML_Node *parent) { return Children(parent, true); }

}  // namespace simcard::sal::xml

#endif  // SIMCARD_SAL_XML_H
