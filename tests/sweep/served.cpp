#include "tests/sweep/served.h"

#include <ixml.h>
#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "simcard.h"

namespace simcard::sweep {
namespace {

// Raw IXML: this also runs in a program that has the shared object alone.
const char *attr(IXML_Node *node, const char *name) {
    return ixmlElement_getAttribute(reinterpret_cast<IXML_Element *>(node), name);
}

bool is_element(IXML_Node *node) {
    return node != nullptr && ixmlNode_getNodeType(node) == eELEMENT_NODE;
}

bool concrete(const char *uri) {
    return uri != nullptr && std::strncmp(uri, "InternetGatewayDevice.", 22) == 0 &&
           std::strchr(uri, '%') == nullptr;
}

}  // namespace

ServedMap served() {
    ServedMap all;
    if (ct_simcfg_root == nullptr) {
        return all;
    }
    for (IXML_Node *file = ixmlNode_getFirstChild(ct_simcfg_root); file != nullptr;
         file = ixmlNode_getNextSibling(file)) {
        const char *kind = attr(file, "a");
        const char *id = attr(file, "n");
        if (!is_element(file) || kind == nullptr || strncasecmp(kind, "EF", 2) != 0 ||
            id == nullptr) {
            continue;
        }
        for (IXML_Node *param = ixmlNode_getFirstChild(file); param != nullptr;
             param = ixmlNode_getNextSibling(param)) {
            const char *uri = is_element(param) ? attr(param, "uri") : nullptr;
            const char *rw = is_element(param) ? attr(param, "rw") : nullptr;
            if (!concrete(uri) || rw == nullptr || std::strchr(rw, 'R') == nullptr ||
                all.count(uri) != 0) {
                continue;
            }
            const std::string path = uri;  // the get may rewrite the element's attributes
            const char *value = simcard_getParamValueByUri(path.c_str());
            all[path] = {static_cast<int>(std::strtol(id, nullptr, 16)),
                         value != nullptr ? value : "(null)"};
        }
    }
    return all;
}

ServedMap of_file(const ServedMap &all, int file) {
    ServedMap some;
    for (const auto &[path, served] : all) {
        if (served.file == file) {
            some.emplace(path, served);
        }
    }
    return some;
}

}  // namespace simcard::sweep
