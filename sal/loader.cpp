#include "sal/loader.h"

#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "hal/hal.h"
#include "hal/records.h"
#include "sal/config.h"
#include "sal/instance/paths.h"
#include "sal/instance/templates.h"
#include "sal/lifecycle/update_status.h"
#include "sal/log.h"
#include "sal/mapping.h"
#include "sal/number.h"
#include "sal/pattern.h"
#include "sal/xml.h"

namespace simcard::sal {
namespace {

constexpr size_t kRecordValueSize = 64;  // buffer of an index record read
constexpr size_t kIndexListLength = 31;
constexpr size_t kPatternLength = instance::kPathSize - 1;
constexpr int kFirstTypeFile = 0x6F48;  // classification type entries
constexpr int kLastTypeFile = 0x6F53;
constexpr int kWanDemos[] = {0x6F07, 0x6F17, 0x6F96};

bool non_empty(const std::optional<std::string_view> &value) { return value && !value->empty(); }

// wan.type.conn, as "1.IP.1" or "2.PPP.1".
bool is_wan_reference(std::string_view value) {
    return contains(value, "IP") || contains(value, "ip") || contains(value, "PPP") ||
           contains(value, "ppp");
}

// Parts missing from a malformed reference read as 0 and empty.
void read_wan_reference(std::string_view value, InstanceIndexInfo &info) {
    value = value.substr(0, kRecordValueSize - 1);
    const size_t first = value.find('.');
    const size_t second = first == std::string_view::npos ? first : value.find('.', first + 1);
    const std::string_view middle =
        first == std::string_view::npos
            ? std::string_view()
            : value.substr(first + 1, second == std::string_view::npos ? std::string_view::npos
                                                                       : second - first - 1);
    info.hasWan = 1;
    info.wanIndex = to_int(value.substr(0, first));
    std::memset(info.connType, 0, sizeof info.connType);
    middle.copy(info.connType, sizeof info.connType);
    info.connIndex = second == std::string_view::npos ? 0 : to_int(value.substr(second + 1));
}

// One record of a card file as the index reads it: -1 on a failed read, and
// an empty value for a record without one.
int read_record(int file_id, const char *name, char (&value)[kRecordValueSize]) {
    std::memset(value, 0, sizeof value);
    const int rc = hal::read_param(hal::kOperatorDir, static_cast<uint16_t>(file_id), name, value,
                                   sizeof value);
    if (rc == -1) {
        std::printf("simcard_ReadParamFromFile failed,file_id=0x%x param=%s\n", file_id, name);
    }
    return rc;
}

// The value behind `Pnn=` at `at`: quoted text (at most max_length
// characters kept), "FF" for an unset record, else nothing.
std::string record_value(std::string_view text, size_t at, size_t max_length) {
    const size_t mark = at + 4;
    if (mark >= text.size()) {
        return {};
    }
    if (text[mark] == '"') {
        std::string_view value = text.substr(mark + 1);
        value = value.substr(0, std::min(value.find('"'), max_length));
        return std::string(value);
    }
    return text[mark] == 'F' ? "FF" : "";
}

void convert_to_db_value(IXML_Node *param, const std::string &simv) {
    constexpr const char *kFunc = "synFileDataFromSimToMem";
    const auto rule = xml::attr(param, "simv2dbv");
    if (!rule) {
        return;  // no rule, no data-model value: unlike the empty rule
    }
    if (rule->empty()) {
        xml::set_attr(param, "dbv", simv);
        return;
    }
    const std::string rule_text(*rule);
    SAL_LOG(kFunc, "----->>>>simv2dbv=%s\n", rule_text.c_str());
    std::vector<char> dbv(kDbValueSize, '\0');
    sim_to_db(simv.c_str(), rule_text.c_str(), dbv.data(), dbv.size());
    if (dbv[0] != '\0') {
        SAL_LOG(kFunc, "simv=%s,dbv=%s\n", simv.c_str(), dbv.data());
        xml::set_attr(param, "dbv", dbv.data());
        SAL_LOG(kFunc, "----->>>>dbv=%s\n", dbv.data());
    }
}

}  // namespace

int copy_file_records(IXML_Node *file_element, const char *file_text) {
    constexpr const char *kFunc = "synFileDataFromSimToMem";
    if (file_element == nullptr || file_text == nullptr) {
        SAL_LOG(kFunc, "paramNode or file_datas is invalid!\n");
        return -1;
    }
    const std::string_view text = file_text;
    for (IXML_Node *param : xml::child_elements(file_element)) {
        const std::string tag(xml::tag(param));
        SAL_LOG(kFunc, "##node name = %s\n", tag.c_str());
        const auto name = xml::attr(param, "n");
        const char *kind = xml::attr_cstr(param, "a");
        if (!non_empty(name) || kind == nullptr || strncasecmp(kind, "PARAM", 5) != 0) {
            continue;
        }
        const char *ml = xml::attr_cstr(param, "ml");
        if (ml == nullptr) {
            SAL_LOG(kFunc, "%s get param length failed!\n", tag.c_str());
            return -1;
        }
        const size_t at = text.find(*name);
        if (at == std::string_view::npos) {
            continue;
        }
        // The value's buffer holds ml + 4 bytes: a longer value is cut to it,
        // and a size below nothing cannot be allocated.
        const long buffer_size = to_int(ml) + 4L;
        if (buffer_size < 0) {
            SAL_LOG(kFunc, "%s malloc failed!\n", tag.c_str());
            return -1;
        }
        const size_t max_length = static_cast<size_t>(std::max(0L, buffer_size - 1));
        const std::string simv = record_value(text, at, max_length);
        SAL_LOG(kFunc, "###########filed node name=%s,para_data=%s\n", tag.c_str(), simv.c_str());
        xml::set_attr(param, "simv", simv);
        xml::set_attr(param, "dbv", "");
        convert_to_db_value(param, simv);
    }
    return 1;
}

int copy_session_records(IXML_Node *file_element, int file_id, int size) {
    constexpr const char *kFunc = "syncCurrentSesionDataToMem";
    if (file_element == nullptr) {
        std::printf("[sal] %s: node is null\n", kFunc);
        return -1;
    }
    if (file_id < kFirstFileId || file_id > kLastFileId) {
        std::printf("[sal] %s: file is not correct\n", kFunc);
        return -1;
    }
    if (size < 1) {
        std::printf("[sal] %s: len is less than zero\n", kFunc);
        return -1;
    }
    std::vector<char> text;
    try {
        text.resize(static_cast<size_t>(size));
    } catch (const std::bad_alloc &) {
        std::printf("[sal] %s: malloc failed\n", kFunc);
        return -1;
    }
    if (hal::get_session_content(static_cast<uint16_t>(file_id), text.data(), size) != 0) {
        std::printf("[sal] %s: get current session content failed\n", kFunc);
        return -1;
    }
    if (copy_file_records(file_element, text.data()) == -1) {
        std::printf("[sal] %s: sync current content to mem error\n", kFunc);
        return -1;
    }
    xml::put_attr(file_element, "wf", "1");
    return 0;
}

int read_instance_index(int file_id, std::string_view index_list, InstanceIndexInfo *info) {
    if (info == nullptr) {
        return -1;
    }
    *info = InstanceIndexInfo{};
    const std::string list(index_list.substr(0, kIndexListLength));
    size_t start = 0;
    while (start < list.size()) {
        const size_t end = std::min(list.find(',', start), list.size());
        const std::string name = list.substr(start, end - start);
        start = end + 1;
        if (name.empty()) {
            continue;
        }
        char value[kRecordValueSize];
        if (read_record(file_id, name.c_str(), value) == -1) {
            return -1;
        }
        if (is_wan_reference(value)) {
            read_wan_reference(value, *info);
            continue;
        }
        info->instIndex = to_int(value);
        if (info->instIndex == 0) {
            return -1;
        }
    }
    if (file_id >= kFirstTypeFile && file_id <= kLastTypeFile) {
        // Entries of one classification are numbered in file-id order.
        info->subIndex = 1;
        for (int earlier = kFirstTypeFile; earlier < file_id; ++earlier) {
            char value[kRecordValueSize];
            if (read_record(earlier, "P00", value) != -1 && to_int(value) == info->instIndex) {
                ++info->subIndex;
            }
        }
    }
    return 0;
}

int build_uri_for_node(IXML_Node *file_element, int file_id) {
    if (file_element == nullptr) {
        std::printf("[sal] %s: Argument node is null\n", "buildUriForNode");
        return -1;
    }
    const auto uri = xml::attr(file_element, "uri");
    const auto index = xml::attr(file_element, "index");
    InstanceIndexInfo info{};
    if (!non_empty(uri) || !non_empty(xml::attr(file_element, "ml")) || !non_empty(index) ||
        read_instance_index(file_id, *index, &info) != 0) {
        return -1;
    }
    const std::string pattern(uri->substr(0, kPatternLength));
    if (contains(pattern, "WANConnectionDevice") && info.hasWan == 0) {
        std::puts("uri has wan but index has't wan index");
        return -1;
    }
    const std::string path = instance::fill_instance_pattern(pattern, info, instance::kPathSize);
    xml::set_attr(file_element, "furi", pattern);
    if (!path.empty()) {
        xml::set_attr(file_element, "uri", path);
    }
    for (IXML_Node *param : xml::child_elements(file_element)) {
        const auto tail = xml::attr(param, "uri");
        if (!tail || *tail == instance::kDeleted ||
            (info.hasWan != 0 && instance::other_connection(info, *tail))) {
            continue;
        }
        const std::string joined =
            instance::join_path(pattern, tail->empty() ? xml::tag(param) : *tail);
        xml::set_attr(param, "furi", joined);
        const std::string param_path =
            instance::fill_instance_pattern(joined, info, instance::kPathSize);
        if (!param_path.empty()) {
            xml::set_attr(param, "uri", param_path);
        }
    }
    return 0;
}

int build_tree_uris(int step) {
    if (ct_simcfg_root == nullptr) {
        SAL_LOG("getUriInfoToXmlMem", "ct_simcfg_root is null!\n");
        return -1;
    }
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        if (xml::attr_is(file, "init", "1") != (step == 1)) {
            continue;
        }
        const char *kind = xml::attr_cstr(file, "a");
        const char *t = xml::attr_cstr(file, "t");
        if (kind == nullptr || *kind == '\0' || strcasecmp(kind, "TL") == 0 ||
            !non_empty(xml::attr(file, "uri")) || !non_empty(xml::attr(file, "n")) ||
            !non_empty(xml::attr(file, "ml")) || t == nullptr || strcasecmp(t, "dynamic") != 0 ||
            !non_empty(xml::attr(file, "index"))) {
            continue;
        }
        build_uri_for_node(file, to_int(xml::attr_cstr(file, "n"), 16));
    }
    std::printf("==============getUriInfoToXmlMem end step %d============\n", step);
    return 0;
}

int create_template(int demo) {
    IXML_Node *demo_element = find_file_node(demo);
    if (demo_element == nullptr) {
        SAL_LOG("createMulInstanceTemplate", "can not find demo node 0x%x\n", demo);
        return -1;
    }
    instance::init_param_furi(demo_element);
    IXML_Node *copy = instance::insert_next_to(demo_element, instance::deep_copy(demo_element),
                                               /*after=*/true);
    if (copy != nullptr) {
        xml::put_attr(copy, "n", "0");
        xml::put_attr(copy, "a", "TL");
        instance::save_template(copy, demo);
    }
    return 0;
}

int set_dynamic_init(int file_id) {
    IXML_Node *file = find_file_node(file_id);
    if (file == nullptr) {
        std::printf("can not find demo node 0x%x\n", file_id);
        return -1;
    }
    xml::put_attr(file, "init", "1");
    return 0;
}

int insert_instances(int demo, int last) {
    constexpr const char *kFunc = "InsertMulInstanceNode";
    IXML_Node *tmpl = instance::find_template(demo);
    if (tmpl == nullptr) {
        SAL_LOG(kFunc, "can not find template node 0x%x\n", demo);
        return -1;
    }
    if (!xml::attr(tmpl, "ml")) {
        SAL_LOG(kFunc, "get ml failed,file_id=0x%x\n", demo);
        return -1;
    }
    for (int file = demo + 1; file <= last; ++file) {
        if (lifecycle::file_isupdated(file, lifecycle::update_status().data()) != 1) {
            continue;  // the card does not hold this instance
        }
        char index[kRecordValueSize] = {};
        if (hal::read_param(hal::kOperatorDir, static_cast<uint16_t>(file), "P00", index,
                            sizeof index) == -1) {
            SAL_LOG(kFunc, "simcard_ReadParamFromFile failed,file_id=0x%x\n", file);
            continue;
        }
        if (index[0] == '\0' || std::strncmp(index, "FF", 2) == 0) {
            SAL_LOG(kFunc, "Index is invalid,file_id=0x%x\n", file);
            continue;
        }
        instance::DetachedNode copy = instance::deep_copy(tmpl);
        if (!copy) {
            SAL_LOG(kFunc, "clone failed!fileid=0x%x\n", file);
            continue;
        }
        IXML_Node *element = instance::insert_next_to(tmpl, std::move(copy), /*after=*/false);
        if (element == nullptr) {
            SAL_LOG(kFunc, "insert node failed!fileid=0x%x\n", file);
            continue;
        }
        char id[8] = {};
        std::snprintf(id, sizeof id, "%x", file);
        xml::set_attr(element, "n", id);
        xml::put_attr(element, "a", "EF");
        if (build_uri_for_node(element, file) != 0) {
            std::printf("[sal] %s: build uri for file 04%04x field\n", kFunc, file);
        }
    }
    return 0;
}

int build_templates_and_paths() {
    for (const instance::Group &group : instance::kGroups) {
        create_template(group.demo);
    }
    for (int demo : kWanDemos) {
        set_dynamic_init(demo);
    }
    build_tree_uris(1);
    return 0;
}

int insert_card_instances() {
    constexpr const char *kFunc = "getAllSimcardInfoToXmlMem2";
    std::printf("[sal %s: enter\n", kFunc);
    for (const instance::Group &group : instance::kGroups) {
        insert_instances(group.demo, group.last);
    }
    std::printf("[sal %s: end\n", kFunc);
    return 0;
}

}  // namespace simcard::sal
