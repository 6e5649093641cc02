#include "sal/lifecycle/writeback.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "hal/hal.h"
#include "hal/platform.h"
#include "hal/records.h"
#include "sal/config.h"
#include "sal/instance/add.h"
#include "sal/instance/remove.h"
#include "sal/log.h"
#include "sal/xml.h"
#include "simcard/simcard_sal.h"

namespace simcard::lifecycle {
namespace {

constexpr const char *kSync = "simcard_syncData2Sim";
constexpr const char *kRestore = "simcard_local_restore";
constexpr std::string_view kRoot = "InternetGatewayDevice.";

// Texts whose commit failed, by file id. A commit can fail part-way and leave
// a torn record on the card that the next rewrite cannot parse; the whole
// text goes back to the card first.
std::map<uint16_t, std::string> &unfinished() {
    static auto *texts = new std::map<uint16_t, std::string>();
    return *texts;
}

bool empty(const char *text) { return text == nullptr || *text == '\0'; }

bool is_template(const char *kind) { return strcasecmp(kind, "TL") == 0; }

// "wf" or "rf" read as a decimal number equal to `value`.
bool flag_is(IXML_Node *file, const char *name, long value) {
    const char *text = sal::xml::attr_cstr(file, name);
    return !empty(text) && std::strtol(text, nullptr, 10) == value;
}

uint16_t file_id_of(const char *text) {
    return static_cast<uint16_t>(std::strtoul(text, nullptr, 16));
}

// Writes every parameter of one dirty file into the session; false when a
// write failed and synchronisation must stop.
bool write_params(IXML_Node *file, uint16_t id) {
    for (IXML_Node *param : sal::xml::child_elements(file)) {
        const char *uri = sal::xml::attr_cstr(param, "uri");
        if (empty(uri) || !writable_path(uri)) {
            continue;
        }
        const std::string tag(sal::xml::tag(param));
        const char *name = sal::xml::attr_cstr(param, "n");
        if (empty(name)) {
            std::printf("[sal] %s: node %s attr n is null\n", kSync, tag.c_str());
            continue;
        }
        const char *simv = sal::xml::attr_cstr(param, "simv");
        if (simv == nullptr) {
            std::printf("[sal] %s: node %s don't have attr %s\n", kSync, tag.c_str(), "simv");
            continue;
        }
        if (hal::write_param(hal::kOperatorDir, id, name, simv) != 0) {
            std::printf("[sal] %s: file id 0x%04x %s write param error...value=%s\n", kSync, id,
                        name, simv);
            return false;
        }
    }
    return true;
}

// What a commit is about to write.
std::string session_text() {
    if (sim_session.content == nullptr || sim_session.file_len <= 0) {
        return {};
    }
    return {sim_session.content, static_cast<size_t>(sim_session.file_len)};
}

}  // namespace

void reset_writeback() { unfinished().clear(); }

bool writable_path(std::string_view uri) {
    return uri.find("%s") == std::string_view::npos && uri.find("%d") == std::string_view::npos &&
           uri.substr(0, kRoot.size()) == kRoot;
}

int sync_to_card() {
    std::printf("[sal] %s: enter\n", kSync);
    if (hal::simcardInitDone != 1) {
        std::printf("[sal] %s: sim card not init\n", kSync);
        return -1;
    }
    if (ct_simcfg_root == nullptr) {
        std::printf("[sal] %s: ct_simcfg_root is null!\n", kSync);
        return -1;
    }
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        const std::string tag(sal::xml::tag(file));
        const char *kind = sal::xml::attr_cstr(file, "a");
        if (empty(kind)) {
            std::printf("[sal] %s: node %s attr a is null\n", kSync, tag.c_str());
            continue;
        }
        if (is_template(kind)) {
            continue;
        }
        const char *n = sal::xml::attr_cstr(file, "n");
        if (empty(n)) {
            std::printf("[sal] %s: node %s file id is null\n", kSync, tag.c_str());
            continue;
        }
        const uint16_t id = file_id_of(n);
        if (!flag_is(file, "wf", 2)) {
            continue;
        }
        std::printf("[sal] %s: file id 0x%04x is dirty\n", kSync, id);
        if (const auto torn = unfinished().find(id); torn != unfinished().end()) {
            std::string text = torn->second;
            if (hal::write_file(hal::kOperatorDir, id, text.data(),
                                static_cast<uint16_t>(text.size())) != 0) {
                std::printf("[sal] %s: file id 0x%04x save to sim error\n", kSync, id);
                continue;
            }
            unfinished().erase(torn);
        }
        if (!write_params(file, id)) {
            return -1;
        }
        const std::string text = session_text();
        // A file that did not reach the card stays dirty for the next round.
        if (hal::save_to_sim() != 0) {
            std::printf("[sal] %s: file id 0x%04x save to sim error\n", kSync, id);
            if (!text.empty()) {
                unfinished()[id] = text;
            }
            continue;
        }
        sal::xml::set_attr(file, "wf", "1");
    }
    return 0;
}

int local_restore() {
    if (hal::open_device() != 0) {
        SAL_LOG(kRestore, "sim_card_init failed!\n");
    }
    if (ct_simcfg_root == nullptr) {
        if (sal::load_config() != 0) {
            SAL_LOG(kRestore, "loadSimcardConfigxml failed!\n");
            return -1;
        }
        if (ct_simcfg_root == nullptr) {
            SAL_LOG(kRestore, "[sal] ct_simcfg_root is null!\n");
            return -1;
        }
    }
    std::vector<uint16_t> ids;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        const std::string tag(sal::xml::tag(file));
        const char *kind = sal::xml::attr_cstr(file, "a");
        if (empty(kind)) {
            SAL_LOG(kRestore, "[sal] node %s attr a is null\n", tag.c_str());
            continue;
        }
        if (is_template(kind) || !flag_is(file, "rf", 1)) {
            continue;
        }
        const char *n = sal::xml::attr_cstr(file, "n");
        if (empty(n)) {
            SAL_LOG(kRestore, "[sal] node %s file id is null\n", tag.c_str());
            continue;
        }
        // The card's reset list holds 200 files; a document marking more
        // gets the first 200 reset and the rest named in the log.
        if (ids.size() == kRestoreMax) {
            SAL_LOG(kRestore, "[sal] node %s file id %s is not reset: more than %d files\n",
                    tag.c_str(), n, static_cast<int>(kRestoreMax));
            continue;
        }
        ids.push_back(file_id_of(n));
    }
    for (const uint16_t id : ids) {
        SAL_LOG(kRestore, "fileid=0x%x sim_card_factory_reset!\n", id);
    }
    const int count = static_cast<int>(ids.size());
    if (hal::factory_reset(ids.data(), count) != 0) {
        SAL_LOG(kRestore, "sim_card_factory_reset failed!resetnum=%d\n", count);
    }
    return 0;
}

int self_test() {
    constexpr const char *kDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
    instance::add_instance(kDevices, 1);
    instance::add_instance(
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANPPPConnection.", 1);
    instance::delete_instance(
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANPPPConnection.1.", 1);
    std::puts("#################");
    instance::add_instance(
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANIPConnection.", 1);
    return sal::save_to_file(SIMCARD_PATH_MEMDUMP);
}

}  // namespace simcard::lifecycle
