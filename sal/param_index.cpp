#include "sal/param_index.h"

#include <strings.h>

#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

#include "sal/xml.h"

namespace simcard::sal {
namespace {

// The paths of one tree, each to its first element in document order.
class ParamIndex {
public:
    IXML_Node *find(IXML_Node *root, const char *uri) {
        if (!valid_for(root)) {
            build(root);
        }
        const auto it = first_.find(std::string_view(uri));
        return it != first_.end() ? it->second : nullptr;
    }

    void drop() { root_ = nullptr; }

    ParamIndexStats stats() const { return {builds_, fallbacks_, first_.size()}; }
    void count_fallback() { ++fallbacks_; }

private:
    bool valid_for(IXML_Node *root) const {
        return root_ != nullptr && root_ == root && generation_ == xml::shape_generation();
    }

    void build(IXML_Node *root) {
        first_.clear();
        texts_.clear();
        for (IXML_Node *file : xml::children(root)) {
            if (!xml::is_file_element(file)) {
                continue;
            }
            for (IXML_Node *param : xml::children(file)) {
                const char *uri = xml::attr_cstr(param, "uri");
                if (uri != nullptr && first_.find(uri) == first_.end()) {
                    // An earlier element keeps its place.
                    first_.emplace(texts_.emplace_back(uri), param);
                }
            }
        }
        root_ = root;
        generation_ = xml::shape_generation();
        ++builds_;
    }

    // The keys' texts are the index's own: a path rewritten past the helpers
    // cannot leave the map pointing at freed text.
    std::deque<std::string> texts_;
    std::unordered_map<std::string_view, IXML_Node *> first_;
    IXML_Node *root_ = nullptr;
    unsigned long generation_ = 0;
    unsigned long builds_ = 0;
    unsigned long fallbacks_ = 0;
};

ParamIndex &index() {
    // Never destroyed: lookups may run until the process ends.
    static auto *instance = new ParamIndex();
    return *instance;
}

// The hit still answers the path: its "uri" is the path, and it stands in a
// file element of the root.
bool still_matches(IXML_Node *root, IXML_Node *param, const char *uri) {
    const char *text = xml::attr_cstr(param, "uri");
    if (text == nullptr || std::strcmp(text, uri) != 0) {
        return false;
    }
    IXML_Node *file = ixmlNode_getParentNode(param);
    return file != nullptr && ixmlNode_getParentNode(file) == root && xml::is_file_element(file);
}

}  // namespace

IXML_Node *first_param_with_uri_walk(IXML_Node *root, const char *uri) {
    for (IXML_Node *file : xml::children(root)) {
        if (!xml::is_file_element(file)) {
            continue;  // templates ("TL") and anything else
        }
        for (IXML_Node *param : xml::children(file)) {
            const char *text = xml::attr_cstr(param, "uri");
            if (text != nullptr && std::strcmp(text, uri) == 0) {
                return param;
            }
        }
    }
    return nullptr;
}

IXML_Node *first_param_with_uri(IXML_Node *root, const char *uri) {
    if (root == nullptr || uri == nullptr) {
        return nullptr;
    }
    ParamIndex &ix = index();
    IXML_Node *hit = ix.find(root, uri);
    if (hit == nullptr || still_matches(root, hit, uri)) {
        return hit;
    }
    // Changed past the helpers: answer by walking, and build afresh next time.
    ix.count_fallback();
    ix.drop();
    return first_param_with_uri_walk(root, uri);
}

ParamIndexStats param_index_stats() { return index().stats(); }

}  // namespace simcard::sal
