#include "sal/lifecycle/writeback.h"

#include <strings.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "hal/hal.h"
#include "hal/platform.h"
#include "hal/records.h"
#include "sal/config.h"
#include "sal/instance/add.h"
#include "sal/instance/paths.h"
#include "sal/instance/remove.h"
#include "sal/log.h"
#include "sal/number.h"
#include "sal/xml.h"
#include "simcard/simcard_sal.h"

namespace simcard::lifecycle {
namespace {

constexpr const char *kSync = "simcard_syncData2Sim";
constexpr const char *kRestore = "simcard_local_restore";
constexpr std::string_view kRoot = "InternetGatewayDevice.";

bool empty(const char *text) { return text == nullptr || *text == '\0'; }

bool is_template(const char *kind) { return strcasecmp(kind, "TL") == 0; }

// "wf" or "rf" read as a decimal number equal to `value`.
bool flag_is(IXML_Node *file, const char *name, int value) {
    const char *text = sal::xml::attr_cstr(file, name);
    return !empty(text) && sal::to_int(text) == value;
}

// Writes every parameter of one dirty file into the session; false when a
// write failed and synchronisation must stop. `id` is the file id as the
// messages show it, `card_file` where the records go.
bool write_params(IXML_Node *file, int id, uint16_t card_file) {
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
        if (hal::write_param(hal::kOperatorDir, card_file, name, simv) != 0) {
            std::printf("[sal] %s: file id 0x%04x %s write param error...value=%s\n", kSync, id,
                        name, simv);
            return false;
        }
    }
    return true;
}

// Commits the session's text for one dirty file. The text may be another
// file's (nothing of this file was written, and the session still holds
// what an earlier call left): that text is not sent, and the file stays dirty.
bool commit(int id, uint16_t card_file) {
    const uint16_t holder = hal::session_text_file();
    if (sim_session.content != nullptr && holder != card_file) {
        if (holder != 0) {
            SAL_LOG(kSync, "file id 0x%04x not saved: the session holds the text of file 0x%04x\n",
                    id, holder);
            return false;
        }
        SAL_LOG(kSync, "file id 0x%04x not saved: the card may stand on another file\n", id);
    }
    return hal::save_to_sim() == 0;
}

}  // namespace

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
        const int id = sal::to_int(n, 16);
        if (!flag_is(file, "wf", 2)) {
            continue;
        }
        const std::optional<uint16_t> card_file = instance::card_file_of(file);
        if (!card_file) {
            std::printf("[sal] %s: node %s file id is null\n", kSync, tag.c_str());
            continue;
        }
        std::printf("[sal] %s: file id 0x%04x is dirty\n", kSync, id);
        if (!write_params(file, id, *card_file)) {
            return -1;
        }
        // A file that did not reach the card stays dirty for the next round.
        if (!commit(id, *card_file)) {
            std::printf("[sal] %s: file id 0x%04x save to sim error\n", kSync, id);
            continue;
        }
        sal::xml::put_attr(file, "wf", "1");
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
        ids.push_back(static_cast<uint16_t>(sal::to_int(n, 16)));
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
