#include "sal/instance/first_online.h"

#include <string>
#include <string_view>

#include "hal/hal.h"
#include "hal/records.h"
#include "sal/config.h"
#include "sal/instance/paths.h"
#include "sal/log.h"
#include "sal/pattern.h"
#include "sal/xml.h"

namespace simcard::instance {
namespace {

using sal::contains;

constexpr const char *kFunc = "update6F07ForFirstOnline";
constexpr int kWanDemo = 0x6F07;
constexpr size_t kIndexSize = 32;
constexpr const char *kFirstReference = "1.IP.1";
// The first IP connection of device 1, as the card's index would give it.
constexpr InstanceIndexInfo kFirstConnection = {1, 1, {'i', 'p', '\0', '\0'}, 1, 0, 0};

}  // namespace

int update_first_online() {
    SAL_LOG(kFunc, "enter\n");
    if (hal::online() != 1) {
        SAL_LOG(kFunc, "simcard is offline!\n");
        return -1;
    }
    if (hal::simcardInitDone != 1) {
        SAL_LOG(kFunc, "simcard is not init!\n");
        return -1;
    }
    if (ct_simcfg_root == nullptr) {
        SAL_LOG(kFunc, "ct_simcfg_root is null!\n");
        return -1;
    }
    IXML_Node *file = sal::find_file_node(kWanDemo);
    if (file == nullptr) {
        SAL_LOG(kFunc, "node is NULL\n");
        return -1;
    }
    const auto uri = sal::xml::attr(file, "uri");
    if (!uri || uri->empty()) {
        SAL_LOG(kFunc, "uri is empty!\n");
        return -1;
    }
    // The pattern is the file's uri. Once a run has built the paths, uri is
    // a path and furi keeps the pattern: a repeat starts from that, since
    // joining built paths again would double them.
    const auto kept = sal::xml::attr(file, "furi");
    const bool built = kept && !kept->empty() && !contains(*uri, "%d") && !contains(*uri, "%s");
    const std::string pattern((built ? *kept : *uri).substr(0, kPathSize - 1));
    const auto ml = sal::xml::attr(file, "ml");
    if (!ml || ml->empty()) {
        SAL_LOG(kFunc, "file_len is empty!\n");
        return -1;
    }

    // A failed read counts as no reference: the update goes on.
    char index[kIndexSize] = {};
    hal::read_param(hal::kOperatorDir, kWanDemo, "P00", index, sizeof index);
    if (contains(index, "IP") || contains(index, "PPP")) {
        SAL_LOG(kFunc, "6f07 index=%s is exit!dont need update!\n", index);
        return 0;
    }

    // The index record comes first; only the tree gets the value.
    sal::xml::set_attr(*sal::xml::child_elements(file).begin(), "simv", kFirstReference);
    const InstanceIndexInfo &info = kFirstConnection;
    SAL_LOG(kFunc, "---------------------has wanindex=%d index=%d\n", info.hasWan, info.instIndex);
    if (contains(pattern, "WANConnectionDevice") && info.hasWan == 0) {
        SAL_LOG(kFunc, "uri has wan but index has't wan index\n");
        return -1;
    }
    const std::string path = sal::fill_pattern(pattern, {info.wanIndex}, kPathSize);
    SAL_LOG(kFunc, "node uri = %s\n", path.c_str());
    sal::xml::set_attr(file, "furi", pattern);
    if (!path.empty()) {
        sal::xml::set_attr(file, "uri", path);
    }
    for (IXML_Node *param : sal::xml::child_elements(file)) {
        const auto tail = sal::xml::attr(param, "uri");
        if (!tail || *tail == kDeleted || other_connection(info, *tail)) {
            continue;
        }
        const auto param_pattern = sal::xml::attr(param, "furi");
        const std::string joined =
            built && param_pattern && !param_pattern->empty()
                ? std::string(*param_pattern)
                : join_path(pattern, tail->empty() ? sal::xml::tag(param) : *tail);
        sal::xml::set_attr(param, "furi", joined);
        const std::string param_path = fill_instance_pattern(joined, info, kPathSize);
        SAL_LOG(kFunc, "param node=%s uri = %s\n", std::string(sal::xml::tag(param)).c_str(),
                param_path.c_str());
        if (!param_path.empty()) {
            sal::xml::set_attr(param, "uri", param_path);
        }
    }
    SAL_LOG(kFunc, "out\n");
    return 0;
}

}  // namespace simcard::instance
