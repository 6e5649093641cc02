#include "sal/config.h"

#include <strings.h>

#include <cstdio>
#include <vector>

#include "hal/platform.h"
#include "sal/log.h"
#include "sal/xml.h"

IXML_Node *ct_simcfg_root = nullptr;

namespace simcard::sal {
namespace {

// A reload leaves the earlier tree to whoever still points into it, so every
// document stays alive until reset_state(). Never destroyed: the tree may be
// used until the process ends.
std::vector<xml::Document> &documents() {
    static auto *docs = new std::vector<xml::Document>();
    return *docs;
}

const char *or_null(const char *text) { return text != nullptr ? text : "(null)"; }

}  // namespace

int load_config() {
    IXML_Document *doc = nullptr;
    const int rc = ixmlLoadDocumentEx(sys::resolve(SIMCARD_PATH_CONFIG), &doc);
    if (rc != IXML_SUCCESS) {
        // Named after the gateway's configuration area, not the file read.
        SAL_LOG("loadSimcardConfigxml", "/configs/simcardconfig.xml load failed rc=0x%x!\n", rc);
        return -1;
    }
    documents().emplace_back(doc);
    SAL_LOG("loadSimcardConfigxml", "/configs/simcardconfig.xml load succeed!\n");
    ct_simcfg_root = ixmlNode_getFirstChild(reinterpret_cast<IXML_Node *>(doc));
    xml::note_shape_changed();
    return 0;
}

IXML_Document *document() {
    return ct_simcfg_root != nullptr ? ixmlNode_getOwnerDocument(ct_simcfg_root) : nullptr;
}

IXML_Node *find_file_node(int file_id) {
    if (file_id < kFirstFileId || file_id > kLastFileId) {
        SAL_LOG("findFileNode", "file_id=%x is invalid!\n", file_id);
        return nullptr;
    }
    if (ct_simcfg_root == nullptr) {
        SAL_LOG("findFileNode", "ct_simcfg_root is null!\n");
        return nullptr;
    }
    char id[16] = {};
    std::snprintf(id, sizeof id, "%x", file_id);
    for (IXML_Node *child : xml::child_elements(ct_simcfg_root)) {
        const char *n = xml::attr_cstr(child, "n");
        if (n != nullptr && strcasecmp(n, id) == 0) {
            return child;
        }
    }
    return nullptr;
}

void string_to_upper(char *text) {
    if (text == nullptr) {
        return;
    }
    // A file id is four characters; a shorter text ends at its terminator.
    for (int i = 0; i < 4 && text[i] != '\0'; ++i) {
        if (text[i] >= 'a' && text[i] <= 'z') {
            text[i] = static_cast<char>(text[i] - 'a' + 'A');
        }
    }
}

int dump_subtree(IXML_Node *element) {
    std::puts("######dump#########");
    for (IXML_Node *child : xml::children(element)) {
        std::printf("\n");
        std::printf("##index :%s |simv:%s|parm:%s|dbv:%s|sim2dbv:%s|\n",
                    or_null(xml::attr_cstr(child, "n")), or_null(xml::attr_cstr(child, "simv")),
                    or_null(xml::attr_cstr(child, "a")), or_null(xml::attr_cstr(child, "dbv")),
                    or_null(xml::attr_cstr(child, "simv2dbv")));
        std::printf("##node name = %s\n", or_null(ixmlNode_getNodeName(child)));
    }
    return 0;
}

int save_to_file(const char *path) {
    FILE *file = sys::fopen(path, "w+");
    if (file == nullptr) {
        return -1;
    }
    IXML_Document *doc = document();
    const xml::DomString text(doc != nullptr ? ixmlPrintDocument(doc) : nullptr);
    if (!text) {
        std::fclose(file);
        return -1;
    }
    std::fputs(text.get(), file);
    std::fclose(file);
    return 0;
}

void reset_state() {
    ct_simcfg_root = nullptr;
    documents().clear();
    xml::note_shape_changed();
}

}  // namespace simcard::sal
