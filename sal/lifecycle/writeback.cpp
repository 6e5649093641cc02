#include "sal/lifecycle/writeback.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
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
#include "sal/xml.h"
#include "simcard/simcard_sal.h"

namespace simcard::lifecycle {
namespace {

constexpr const char *kSync = "simcard_syncData2Sim";
constexpr const char *kRestore = "simcard_local_restore";
constexpr std::string_view kRoot = "InternetGatewayDevice.";

// A commit that failed: the text it was sending, and what the card held right
// after (none when that could not be read). A commit can fail part-way and
// leave a torn record that the next rewrite cannot parse, so the whole text
// goes back first, but only while the card still holds what the failure
// left: a file written since (an instance deleted, its file reused, a
// restore) must not get an old text back.
struct FailedCommit {
    std::string text;
    std::optional<std::string> left;
};

std::map<uint16_t, FailedCommit> &failed_commits() {
    static auto *commits = new std::map<uint16_t, FailedCommit>();
    return *commits;
}

// Files are read whole; a size the document does not give is the card's.
constexpr long kMaxFileSize = 0xFFFF;

bool empty(const char *text) { return text == nullptr || *text == '\0'; }

bool is_template(const char *kind) { return strcasecmp(kind, "TL") == 0; }

// "wf" or "rf" read as a decimal number equal to `value`.
bool flag_is(IXML_Node *file, const char *name, long value) {
    const char *text = sal::xml::attr_cstr(file, name);
    return !empty(text) && std::strtol(text, nullptr, 10) == value;
}

// The card file an element names. Without one (an id that does not parse, or
// 0) a write would land in whatever file the card has selected.
std::optional<uint16_t> card_file_of(IXML_Node *file) {
    const std::optional<uint16_t> id = instance::file_id_of(file);
    return id && *id != 0 ? id : std::nullopt;
}

// The file's size as the document gives it; none when it gives none.
std::optional<long> file_size_of(IXML_Node *file) {
    const char *ml = sal::xml::attr_cstr(file, "ml");
    if (empty(ml)) {
        return std::nullopt;
    }
    const long size = std::strtol(ml, nullptr, 10);
    return size > 0 && size <= kMaxFileSize ? std::optional<long>(size) : std::nullopt;
}

// The record text the card holds in the file, up to its NUL; none when the
// file cannot be read.
std::optional<std::string> card_text(uint16_t id, long size) {
    std::string text(static_cast<size_t>(size) + 1, '\0');
    if (hal::read_file(hal::kOperatorDir, id, text.data(), static_cast<uint16_t>(size)) != 0) {
        return std::nullopt;
    }
    text.resize(std::strlen(text.c_str()));
    return text;
}

bool complete_record(const std::string &text) {
    const size_t open = text.find('<');
    return open != std::string::npos && text.find('>', open) != std::string::npos;
}

// Puts back the whole text of a commit that failed earlier, when nothing has
// written the file since. False, with the text kept, when the card could not
// be read or written.
bool repair_failed_commit(uint16_t id, long size) {
    const auto found = failed_commits().find(id);
    if (found == failed_commits().end()) {
        return true;
    }
    const std::optional<std::string> now = card_text(id, size);
    if (!now) {
        return false;
    }
    FailedCommit &failed = found->second;
    const bool untouched = failed.left ? *now == *failed.left : !complete_record(*now);
    if (untouched && hal::write_file(hal::kOperatorDir, id, failed.text.data(),
                                     static_cast<uint16_t>(failed.text.size())) != 0) {
        failed.left = card_text(id, size);
        return false;
    }
    failed_commits().erase(found);
    return true;
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

void reset_writeback() { failed_commits().clear(); }

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
        const std::optional<uint16_t> card_file = card_file_of(file);
        if (!card_file) {
            std::printf("[sal] %s: node %s file id is null\n", kSync, tag.c_str());
            continue;
        }
        const uint16_t id = *card_file;
        if (!flag_is(file, "wf", 2)) {
            continue;
        }
        std::printf("[sal] %s: file id 0x%04x is dirty\n", kSync, id);
        const std::optional<long> size = file_size_of(file);
        if (!repair_failed_commit(id, size.value_or(kMaxFileSize))) {
            std::printf("[sal] %s: file id 0x%04x save to sim error\n", kSync, id);
            continue;
        }
        if (!write_params(file, id)) {
            return -1;
        }
        // Nothing of this file reached the session: what it holds belongs to
        // another file, and committing it would write it wherever the card
        // is.
        if (sim_session.file_id != id || sim_session.content == nullptr) {
            sal::xml::set_attr(file, "wf", "1");
            continue;
        }
        // The card would take a text longer than the file in part and keep a
        // torn record; it is not sent, and the file stays dirty until its
        // values fit.
        if (size && sim_session.file_len > *size) {
            std::printf("[sal] %s: file id 0x%04x save to sim error\n", kSync, id);
            hal::forget_current_file();
            continue;
        }
        const std::string text = session_text();
        // A file that did not reach the card stays dirty for the next round.
        if (hal::save_to_sim() != 0) {
            std::printf("[sal] %s: file id 0x%04x save to sim error\n", kSync, id);
            if (!text.empty()) {
                failed_commits()[id] = {text, card_text(id, size.value_or(kMaxFileSize))};
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
        const std::optional<uint16_t> id = card_file_of(file);
        if (!id) {
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
        ids.push_back(*id);
    }
    for (const uint16_t id : ids) {
        SAL_LOG(kRestore, "fileid=0x%x sim_card_factory_reset!\n", id);
    }
    const int count = static_cast<int>(ids.size());
    if (hal::factory_reset(ids.data(), count) != 0) {
        SAL_LOG(kRestore, "sim_card_factory_reset failed!resetnum=%d\n", count);
        return 0;
    }
    // The session's copy of a reset file is the old text: a later record
    // write would put it back.
    hal::forget_current_file();
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
