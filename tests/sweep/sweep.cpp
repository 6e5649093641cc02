#include "tests/sweep/sweep.h"

#include <strings.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "sal/lifecycle/state.h"
#include "sal/number.h"
#include "sal/xml.h"
#include "simcard.h"

namespace simcard::sweep {
namespace {

namespace ins = vcard::ins;

constexpr size_t kChunk = 200;

uint16_t selected_id(const vcard::TraceEntry &e) {
    return e.data.size() >= 2 ? static_cast<uint16_t>(e.data[0] << 8 | e.data[1]) : 0;
}

// The card's instructions other than SELECT, and what the sweep calls them.
constexpr std::pair<uint8_t, Cmd> kCommands[] = {
    {ins::kGetResponse, Cmd::kGetResponse},     {ins::kReadBinary, Cmd::kReadBinary},
    {ins::kUpdateBinary, Cmd::kUpdateBinary},   {ins::kUpdateStatus, Cmd::kUpdateStatus},
    {ins::kAuthChallenge, Cmd::kAuthChallenge}, {ins::kAuthAnswer, Cmd::kAuthAnswer},
    {ins::kFactoryReset, Cmd::kFactoryReset},
};

Cmd cmd_of(const vcard::TraceEntry &e) {
    if (e.request == vcard::Request::Online) {
        return Cmd::kOnline;
    }
    if (e.header[1] == ins::kSelect) {
        const uint16_t id = selected_id(e);
        return id == vcard::VirtualCard::kOperatorDirectory || id == vcard::VirtualCard::kMasterFile
                   ? Cmd::kSelectDir
                   : Cmd::kSelectFile;
    }
    for (const auto &[code, cmd] : kCommands) {
        if (e.header[1] == code) return cmd;
    }
    throw std::logic_error("a command the library never sends");
}

// The line a call prints when its file SELECT (or the GET RESPONSE after it)
// failed, and when reading the file failed.
std::vector<std::string> select_failed(const Call &call) {
    switch (call.kind) {
        case CallKind::kReadRecord:
            return {"libsimcard [sim_card_read_param] select file error"};
        case CallKind::kWriteRecord:
            return {"hal [sim_card_write_param] select file error...file len=-1"};
        default:
            return {"libsimcard [sim_card_read_file] select file error"};
    }
}

std::vector<std::string> read_failed(const Call &call) {
    switch (call.kind) {
        case CallKind::kReadRecord:
            return {format("libsimcard [sim_card_read_param] read file error...file id=0x%04x",
                           call.file)};
        case CallKind::kWriteRecord:
            return {"hal [sim_card_write_param] read file error"};
        default:
            return {};  // the get prints its own line
    }
}

std::vector<std::string> not_online(const Call &call) {
    switch (call.kind) {
        case CallKind::kReadRecord:
            return {"sim card is not online!"};
        case CallKind::kWriteRecord:
            return {"[hal] sim_card_write_param: sim card is not online!"};
        case CallKind::kUpdateStatus:
            return {"[hal] hal_get_all_update_status: sim card is not online!"};
        default:
            return {};  // start-up's wait prints its own line
    }
}

void append(std::vector<std::string> &to, const std::vector<std::string> &lines) {
    to.insert(to.end(), lines.begin(), lines.end());
}

}  // namespace

Trace::Trace(std::vector<vcard::TraceEntry> trace, CallKind records, bool waits)
    : entries(std::move(trace)) {
    uint16_t last_selected = 0;
    // Whether the open call is a record call that has sent only its ONLINE.
    bool record_opened = false;
    auto open = [&](CallKind kind, uint16_t file, size_t at) {
        calls.push_back({kind, file, at, at + 1, false});
    };
    for (size_t i = 0; i < entries.size(); ++i) {
        const vcard::TraceEntry &e = entries[i];
        const Cmd cmd = cmd_of(e);
        const bool opened = record_opened;
        record_opened = false;
        switch (cmd) {
            case Cmd::kOnline:
                if (waits && i == 0) {
                    open(CallKind::kWaitOnline, 0, i);
                } else if (i + 1 < entries.size() && cmd_of(entries[i + 1]) == Cmd::kUpdateStatus) {
                    open(CallKind::kUpdateStatus, 0, i);
                } else {
                    open(records, last_selected, i);  // a cached file unless a SELECT follows
                    record_opened = true;
                }
                break;
            case Cmd::kSelectDir:
                open(CallKind::kSelectDir, 0, i);
                break;
            case Cmd::kSelectFile:
                last_selected = selected_id(e);
                if (!opened) {
                    open(CallKind::kReadFile, last_selected, i);
                }
                calls.back().file = last_selected;
                calls.back().selects = true;
                break;
            case Cmd::kUpdateBinary:
                if (calls.empty() || calls.back().kind != CallKind::kSave ||
                    calls.back().end != i) {
                    open(CallKind::kSave, last_selected, i);
                }
                break;
            case Cmd::kAuthChallenge:
                open(CallKind::kAuth, 0, i);
                break;
            case Cmd::kFactoryReset:
                open(CallKind::kFactoryReset, 0, i);
                break;
            default:
                break;  // part of the open call
        }
        if (calls.empty()) {
            throw std::logic_error("a trace that starts inside a call");
        }
        calls.back().end = i + 1;
        steps.push_back({cmd, calls.size() - 1});
    }
}

uint16_t Trace::offset(size_t at) const {
    return static_cast<uint16_t>(entries[at].header[2] << 8 | entries[at].header[3]);
}

std::string Trace::sent(const Call &save) const {
    std::string text;
    for (size_t i = save.first; i < save.end; ++i) {
        text.append(entries[i].data.begin(), entries[i].data.end());
    }
    return text;
}

const char *kind_name(FailKind kind) {
    switch (kind) {
        case FailKind::kIoctl:
            return "ioctl";
        case FailKind::kStatus:
            return "status";
        case FailKind::kOffline:
            return "offline";
    }
    return "";
}

std::string Failure::name() const {
    switch (kind) {
        case FailKind::kIoctl:
            return "ioctl error";
        case FailKind::kOffline:
            return "offline";
        case FailKind::kStatus:
            break;
    }
    return format("status %02X %02X", sw1, sw2);
}

std::vector<Failure> failures_for(Cmd cmd) {
    const Failure ioctl{FailKind::kIoctl};
    const Failure offline{FailKind::kOffline};
    auto with = [&](std::initializer_list<std::pair<uint8_t, uint8_t>> words) {
        std::vector<Failure> all{ioctl};
        for (const auto &[sw1, sw2] : words) {
            all.push_back({FailKind::kStatus, sw1, sw2});
        }
        all.push_back(offline);
        return all;
    };
    switch (cmd) {
        case Cmd::kOnline:
            return {ioctl, offline};
        case Cmd::kSelectDir:  // success: SW1 9F or 90
            return with({{0x94, 0x04}, {0x6E, 0x00}});
        case Cmd::kSelectFile:  // success: SW1 9F only
            return with({{0x90, 0x00}, {0x94, 0x04}});
        case Cmd::kGetResponse:  // success: 90 in SW1 or SW2
            return with({{0x6F, 0x00}, {0x67, 0x00}});
        case Cmd::kReadBinary:
        case Cmd::kUpdateBinary:
            return with({{0x65, 0x81}, {0x6B, 0x00}});
        case Cmd::kUpdateStatus:
        case Cmd::kAuthChallenge:  // success: SW1 9F
            return with({{0x90, 0x00}, {0x98, 0x04}});
        case Cmd::kAuthAnswer:
        case Cmd::kFactoryReset:  // success: SW1 90
            return with({{0x98, 0x04}, {0x6B, 0x00}});
    }
    return {};
}

void arm(vcard::VirtualCard &card, const Trace &trace, size_t at, const Failure &failure) {
    const vcard::TraceEntry &target = trace.entries[at];
    const bool online = target.request == vcard::Request::Online;
    size_t onlines = 0;
    size_t commands = 0;
    size_t same = 0;
    for (size_t i = 0; i < at; ++i) {
        const vcard::TraceEntry &e = trace.entries[i];
        if (e.request == vcard::Request::Online) {
            ++onlines;
        } else {
            ++commands;
            same += e.header[1] == target.header[1] ? 1 : 0;
        }
    }
    switch (failure.kind) {
        case FailKind::kIoctl:
            card.fail_ioctl(
                online ? vcard::VirtualCard::kOnlineRequest : vcard::VirtualCard::kAnyCommand,
                static_cast<int>(online ? onlines : commands));
            break;
        case FailKind::kStatus:
            card.fail_status(target.header[1], failure.sw1, failure.sw2, static_cast<int>(same));
            break;
        case FailKind::kOffline:
            card.set_online(false);
            card.set_online_schedule(std::vector<int>(onlines, 1));
            break;
    }
}

std::vector<std::string> card_layer_lines(const Trace &trace, size_t at, const Failure &failure,
                                          const Contents &found) {
    const Call &call = trace.calls[trace.steps[at].call];
    const bool ioctl = failure.kind == FailKind::kIoctl;
    const std::string sw = format("%02x%02x", failure.sw1, failure.sw2);
    std::vector<std::string> lines;
    switch (trace.steps[at].cmd) {
        case Cmd::kOnline:
            if (ioctl) {
                lines.push_back("libsimcard [sim_card_online] ioctl online error");
            }
            append(lines, not_online(call));
            break;
        case Cmd::kSelectDir:
            lines.push_back(ioctl ? "[hal] hal_selectCurrentDir: ioctl SIMIO_IOCTL_WRITE 1 "
                                    "error...dir_id=0x7f80 "
                                  : "[hal] hal_selectCurrentDir select dir error");
            break;
        case Cmd::kSelectFile:
            lines.push_back(ioctl ? format("libsimcard [__sim_card_select_file] ioctl "
                                           "SIMIO_IOCTL_WRITE 1 error...file_id=0x%04x",
                                           call.file)
                                  : "libsimcard [__sim_card_select_file] select file error");
            append(lines, select_failed(call));
            break;
        case Cmd::kGetResponse:
            lines.push_back(ioctl ? "libsimcard [__sim_card_get_response] ioctl read error"
                                  : "libsimcard [__sim_card_get_response] response error");
            if (call.kind == CallKind::kAuth) {
                lines.push_back("libsimcard [sim_card_auth] get output error");
            } else if (call.kind == CallKind::kUpdateStatus) {
                lines.push_back("[hal] hal_get_all_update_status: get response error");
            } else {
                lines.push_back("libsimcard [__sim_card_select_file] get response error");
                append(lines, select_failed(call));
            }
            break;
        case Cmd::kReadBinary: {
            lines.push_back(ioctl
                                ? "libsimcard [__sim_card_read_ef] ioctl read error"
                                : "libsimcard [__sim_card_read_ef] read ef error...result=0x" + sw);
            // What was read so far, as a line.
            const size_t read = std::min<size_t>(trace.offset(at), found.size());
            lines.push_back(text_of(Contents(found.begin(), found.begin() + read)));
            append(lines, read_failed(call));
            break;
        }
        case Cmd::kUpdateBinary:
            lines.push_back(ioctl ? "[hal] __sim_card_write_ef: ioctl read error"
                                  : "[hal] __sim_card_write_ef: write ef error...result=0x" + sw);
            lines.push_back("[hal] sim_card_write_file write file error");
            lines.push_back("[hal] hal_saveToSim write file 0x0000 error");
            break;
        case Cmd::kUpdateStatus:
            lines.push_back(
                ioctl ? "[hal] hal_get_all_update_status: ioctl SIMIO_IOCTL_READ 1 error"
                      : format("[hal] hal_get_all_update_status: sim card response error SW = "
                               "%02x %02x",
                               failure.sw1, failure.sw2));
            break;
        case Cmd::kAuthChallenge:
            lines.push_back(ioctl ? "libsimcard [sim_card_auth] ioctl write error"
                                  : "libsimcard [sim_card_auth] response error");
            break;
        case Cmd::kAuthAnswer:
            lines.push_back(ioctl ? "libsimcard [sim_card_auth] ioctl write error"
                                  : "libsimcard [sim_card_auth] card auth host fail");
            break;
        case Cmd::kFactoryReset:
            lines.push_back(ioctl ? "libsimcard [sim_card_factory_reset] ioctl write error"
                                  : "libsimcard [sim_card_factory_reset] file reset factory fail");
            break;
    }
    return lines;
}

// ---- card contents ------------------------------------------------------------

Contents overlay(Contents file, const std::string &text) {
    std::copy_n(text.begin(), std::min(text.size(), file.size()), file.begin());
    return file;
}

std::string text_of(const Contents &file) {
    return std::string(file.begin(), std::find(file.begin(), file.end(), uint8_t{0}));
}

std::map<std::string, std::string> records(const std::string &text) {
    std::map<std::string, std::string> all;
    const size_t end = text.find('>');
    size_t at = text.find('<');
    while (at != std::string::npos && at < end) {
        const size_t eq = text.find('=', at);
        if (eq == std::string::npos || eq > end) {
            break;
        }
        const std::string name = text.substr(at + 1, eq - at - 1);
        if (text.compare(eq + 1, 1, "\"") == 0) {
            const size_t close = text.find('"', eq + 2);
            all[name] = text.substr(eq + 2, close - eq - 2);
            at = text.find(' ', close);
        } else {
            all[name] = "FF";
            at = text.find(' ', eq);
        }
    }
    return all;
}

// ---- synchronisation --------------------------------------------------------------

namespace {

bool writable(const char *uri) {
    const std::string_view path = uri;
    return !path.empty() && path.find("%s") == path.npos && path.find("%d") == path.npos &&
           path.substr(0, 22) == "InternetGatewayDevice.";
}

bool dirty(IXML_Node *file) {
    const char *kind = sal::xml::attr_cstr(file, "a");
    const char *n = sal::xml::attr_cstr(file, "n");
    const char *wf = sal::xml::attr_cstr(file, "wf");
    return kind != nullptr && *kind != '\0' && strcasecmp(kind, "TL") != 0 && n != nullptr &&
           *n != '\0' && wf != nullptr && *wf != '\0' && sal::to_int(wf) == 2;
}

}  // namespace

std::vector<uint16_t> dirty_files() {
    std::vector<uint16_t> files;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        if (dirty(file)) {
            files.push_back(static_cast<uint16_t>(sal::to_int(sal::xml::attr_cstr(file, "n"), 16)));
        }
    }
    return files;
}

std::vector<Write> sync_writes() {
    std::vector<Write> writes;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        if (!dirty(file)) {
            continue;
        }
        const auto id = static_cast<uint16_t>(sal::to_int(sal::xml::attr_cstr(file, "n"), 16));
        for (IXML_Node *param : sal::xml::child_elements(file)) {
            const char *uri = sal::xml::attr_cstr(param, "uri");
            const char *name = sal::xml::attr_cstr(param, "n");
            const char *simv = sal::xml::attr_cstr(param, "simv");
            if (uri != nullptr && writable(uri) && name != nullptr && *name != '\0' &&
                simv != nullptr) {
                writes.push_back({id, name, simv});
            }
        }
    }
    return writes;
}

std::vector<std::string> unrewritable(const std::string &text) {
    const bool open = text.find('<') != std::string::npos;
    if (text.empty() || (open && text.rfind('>') != std::string::npos)) {
        return {};
    }
    return {(open ? "simcard conten failed " : "simcard content failed ") + text,
            "[hal] sim_card_write_param: sim_combin_new_file_value error"};
}

SyncOutcome expected_sync(const std::vector<Write> &writes, const vcard::VirtualCard &card) {
    SyncOutcome outcome;
    std::vector<uint16_t> met;  // files whose first record was written
    for (const Write &w : writes) {
        // "FF" is skipped before the file is read.
        if (w.value == "FF" || std::find(met.begin(), met.end(), w.file) != met.end()) {
            continue;
        }
        met.push_back(w.file);
        std::vector<std::string> lines = unrewritable(card.text(w.file));
        if (lines.empty()) {
            continue;
        }
        lines.push_back(
            format("[sal] simcard_syncData2Sim: file id 0x%04x %s write param error...value=%s",
                   w.file, w.name.c_str(), w.value.c_str()));
        outcome = {-1, lines, w.file};
        break;
    }
    return outcome;
}

// ---- checking -------------------------------------------------------------------

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string missing_blocks(const std::vector<std::string> &out,
                           const std::vector<std::vector<std::string>> &blocks) {
    auto from = out.begin();
    for (const auto &block : blocks) {
        const auto at = std::search(from, out.end(), block.begin(), block.end());
        if (at == out.end()) {
            std::string text = "missing, in this order:";
            for (const std::string &line : block) {
                text += "\n  " + line;
            }
            return text;
        }
        from = at + static_cast<std::ptrdiff_t>(block.size());
    }
    return {};
}

std::string hex(int id) { return format("%04X", id); }

std::string format(const char *fmt, ...) {
    char buf[512];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, args);
    va_end(args);
    return buf;
}

Bench::Bench() : sample_(card) {}

void Bench::fresh(const vcard::VirtualCard &image) {
    lifecycle::reset_process_state();
    card = image;
    card.clear_faults();
    card.clear_trace();
    std::remove(path(SIMCARD_PATH_TR069_MARKER).c_str());
    clear_log();
    platform.clear_led_requests();
    platform.clear_sleeps();
}

void Bench::place_marker() const { write_file(SIMCARD_PATH_TR069_MARKER, ""); }

std::string Bench::wf(int file) { return attr(findFileNode(file), "wf"); }

}  // namespace simcard::sweep
