#include "sal/access.h"

#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "hal/hal.h"
#include "sal/loader.h"
#include "sal/log.h"
#include "sal/mapping.h"
#include "sal/number.h"
#include "sal/param_index.h"
#include "sal/vlan.h"
#include "sal/xml.h"

namespace simcard::sal {
namespace {

constexpr std::string_view kWanDevicePart = "WANConnectionDevice";
// Record names are kept in four bytes where the program logs them.
constexpr size_t kRecordNameLength = 3;

struct FreeDeleter {
    void operator()(char *p) const { std::free(p); }
};

const char *or_null_word(const char *text) { return text != nullptr ? text : "NULL"; }

bool has_letter(const char *text, char letter) {
    return text != nullptr && std::strchr(text, letter) != nullptr;
}

// The parameter's file element and what the get and the set need of it: the
// file id ("n", hexadecimal) and the file size ("ml", decimal). Parsed only
// when used: a get answered from memory uses neither.
struct FileOf {
    IXML_Node *element = nullptr;
    const char *id_text = nullptr;
    const char *size_text = nullptr;

    int id() const { return to_int(id_text, 16); }
    int size() const { return to_int(size_text, 10); }
};

// "wf" read as a decimal number is not 0: the tree holds the file's values.
// A leading digit 1 to 9 settles it without strtol, on every cached get.
bool held_in_memory(const char *wf) {
    return (wf[0] >= '1' && wf[0] <= '9') || to_int(wf, 10) != 0;
}

// Reads the parent file element's "n" and "ml", logging under func what is
// missing.
bool file_of(IXML_Node *param, const char *func, FileOf &file) {
    file.element = param != nullptr ? ixmlNode_getParentNode(param) : nullptr;
    file.id_text = xml::attr_cstr(file.element, "n");
    if (file.id_text == nullptr) {
        SAL_LOG(func, "%s get file_id failed!\n", xml::tag_name(file.element));
        return false;
    }
    file.size_text = xml::attr_cstr(file.element, "ml");
    if (file.size_text == nullptr) {
        SAL_LOG(func, "%s get file_len failed!\n", xml::tag_name(file.element));
        return false;
    }
    return true;
}

}  // namespace

const char *get_param_value(const char *uri) {
    constexpr const char *kFunc = "simcard_getParamValueByUri";
    if (hal::simcardInitDone != 1) {
        return nullptr;
    }
    if (uri == nullptr) {
        SAL_LOG(kFunc, "uri invalid!\n");
        return nullptr;
    }
    if (const char *value = vlan::get_by_uri(uri)) {
        return value;
    }
    IXML_Node *param = find_param(uri);
    if (param == nullptr) {
        return nullptr;
    }
    if (load_param(param) == 0) {
        return xml::attr_cstr(param, "dbv");
    }
    SAL_LOG(kFunc, "getParamVal failed,uri=%s\n", uri);
    return nullptr;
}

int set_param_value(const char *uri, const char *value) {
    constexpr const char *kFunc = "simcard_setParamValueByUri";
    if (hal::simcardInitDone != 1) {
        return -1;
    }
    if (uri == nullptr || value == nullptr) {
        SAL_LOG(kFunc, "uri or val is invalid!\n");
        return -1;
    }
    if (vlan::set_by_uri(uri, value) == 1) {
        std::puts("set vlan bind config");
        return 0;  // whatever became of the card write
    }
    IXML_Node *param = find_param(uri);
    if (param == nullptr) {
        return -1;
    }
    if (set_param(param, value) == 0) {
        return 0;
    }
    SAL_LOG(kFunc, "setParamVal failed!uri=%s\n", uri);
    return -1;
}

IXML_Node *find_param(const char *uri) {
    constexpr const char *kFunc = "findParamNodeByUri";
    if (uri == nullptr) {
        SAL_LOG(kFunc, "uri is invalide\n");
        return nullptr;
    }
    if (ct_simcfg_root == nullptr) {
        SAL_LOG(kFunc, "ct_simcfg_root is null!\n");
        return nullptr;
    }
    IXML_Node *param = first_param_with_uri(ct_simcfg_root, uri);
    if (param != nullptr) {
        SAL_LOG(kFunc, "filed node name=%s\n", xml::tag_name(param));
    }
    return param;
}

int load_param(IXML_Node *param) {
    constexpr const char *kFunc = "getParamVal";
    const char *rw = xml::attr_cstr(param, "rw");
    if (!has_letter(rw, 'R')) {
        std::printf("Get Attribute rw failed or is not readable. rw=%s\n", or_null_word(rw));
        return -1;
    }
    const char *tag = xml::tag_name(param);
    const char *kind = xml::attr_cstr(param, "a");
    if (kind == nullptr) {
        SAL_LOG(kFunc, "get %s attribute failed!\n", tag);
        return -1;
    }
    if (std::strcmp(kind, "PARAM") != 0) {
        SAL_LOG(kFunc, "%s is not PARAM!\n", tag);
        return -1;
    }
    FileOf file;
    if (!file_of(param, kFunc, file)) {
        return -1;
    }
    // Neither is used further; both must be there.
    if (xml::attr_cstr(param, "n") == nullptr) {
        SAL_LOG(kFunc, "%s get paramid failed!\n", tag);
        return -1;
    }
    if (xml::attr_cstr(param, "ml") == nullptr) {
        SAL_LOG(kFunc, "%s get param length failed!\n", tag);
        return -1;
    }
    const char *wf = xml::attr_cstr(file.element, "wf");
    if (wf == nullptr) {
        std::puts("wf is NULL");
        return -1;
    }
    if (held_in_memory(wf)) {
        return 0;  // loaded ("1") or changed in memory ("2"): the tree has it
    }

    const int id = file.id();
    const int size = file.size();
    // One byte more than the file, so that the text is always terminated.
    std::unique_ptr<char, FreeDeleter> text(
        size >= 0 ? static_cast<char *>(std::calloc(static_cast<size_t>(size) + 1, 1)) : nullptr);
    if (!text) {
        std::printf("can't malloc mem ,len :%d\n", size);
        return -1;
    }
    // As simcard_ReadFile passes them: 16-bit id and length.
    if (hal::read_file(hal::kOperatorDir, static_cast<uint16_t>(id), text.get(),
                       static_cast<uint16_t>(size)) != 0) {
        std::printf("simcard_ReadFile failed,file_id=0x%x\n", id);
        return -1;
    }
    if (copy_file_records(file.element, text.get()) == -1) {
        std::puts("syn file data from sim to mem error");
        return -1;
    }
    xml::put_attr(file.element, "wf", "1");
    return 0;
}

int set_param(IXML_Node *param, const char *value) {
    constexpr const char *kFunc = "setParamVal";
    if (param == nullptr || value == nullptr) {
        SAL_LOG(kFunc, "param_node or param_val is null!\n");
        return -1;
    }
    // The value may be the tree's own text (a get's answer), which the
    // writes below replace.
    const std::string val(value);
    const char *tag = xml::tag_name(param);
    const char *rw = xml::attr_cstr(param, "rw");
    if (!has_letter(rw, 'W')) {
        std::printf("Node [%s] Get attribute rw failed or is not writable. RW=%s\n", tag,
                    or_null_word(rw));
        return -1;
    }
    FileOf file;
    if (!file_of(param, kFunc, file)) {
        return -1;
    }
    const char *name = xml::attr_cstr(param, "n");
    if (name == nullptr) {
        SAL_LOG(kFunc, "%s get paramid failed!\n", tag);
        return -1;
    }
    const std::string record(name, strnlen(name, kRecordNameLength));

    if (xml::set_attr(param, "dbv", val) != IXML_SUCCESS) {
        SAL_LOG(kFunc, "paramname=%s,val=%s set failed!\n", tag, val.c_str());
        return -1;
    }
    std::string card_value;
    const char *rule = xml::attr_cstr(param, "simv2dbv");
    if (rule != nullptr && *rule != '\0') {
        char converted[kSimValueSize] = {};
        // A value the rule cannot convert leaves the card value empty.
        db_to_sim(val.c_str(), rule, converted, sizeof converted);
        card_value = converted;
        SAL_LOG(kFunc, "[fileid = %x pramid = %s paramv = %s,simv2dbv=%s,simv=%s]\n", file.id(),
                record.c_str(), val.c_str(), rule, card_value.c_str());
    } else if (rule != nullptr) {
        card_value = val;  // an empty rule: the values are equal
    }
    // No rule at all leaves the card value empty, unlike the empty rule.
    xml::set_attr(param, "simv", card_value);
    xml::put_attr(file.element, "wf", "2");
    return 0;
}

std::string format_uri(const char *uri) {
    const std::string text(uri, strnlen(uri, kFormatUriSize - 1));
    std::string pattern;
    std::string_view rest(text);
    const size_t at = rest.find(kWanDevicePart);
    if (at != std::string_view::npos) {
        // Up to the end of the marker and one character more (its dot).
        const size_t end = std::min(at + kWanDevicePart.size() + 1, rest.size());
        pattern.assign(rest.substr(0, end));
        rest.remove_prefix(end);
    }
    size_t start = 0;
    while (start < rest.size()) {
        const size_t dot = std::min(rest.find('.', start), rest.size());
        const std::string piece(rest.substr(start, dot - start));
        start = dot + 1;
        if (piece.empty()) {
            continue;  // empty pieces vanish
        }
        pattern += is_digit_string(piece.c_str()) ? std::string("%d") : piece;
        pattern += '.';
    }
    SAL_LOG("convertUriToFormatUri", "formatUri = %s\n", pattern.c_str());
    return pattern;
}

int simv_from_mem(IXML_Node *file_element, const char *name, char *out) {
    if (file_element == nullptr || name == nullptr || out == nullptr) {
        return -1;
    }
    for (IXML_Node *child : xml::child_elements(file_element)) {
        const char *n = xml::attr_cstr(child, "n");
        if (n != nullptr && strncasecmp(n, name, kRecordNameLength) == 0) {
            const char *simv = xml::attr_cstr(child, "simv");
            std::strcpy(out, simv != nullptr ? simv : "");
            return 1;
        }
    }
    return -1;
}

}  // namespace simcard::sal
