// Every card command of each operation, failed once in each way a card or
// its driver fails it: the ioctl, each status word the command's rule
// refuses, and the card going offline from there. Each time the library must
// give the result and messages its steps define for that failure, leave every
// card file with its own text or what the operation writes to it, keep
// uncommitted files dirty, and carry on as defined once the card is healthy.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <optional>
#include <set>

#include "sal/xml.h"
#include "simcard.h"
#include "tests/sweep/operations.h"
#include "tests/sweep/served.h"

namespace simcard::sweep {
namespace {

enum class Fate { kRan, kFailed, kSkipped };

// What the steps define for one injected failure.
struct Outcome {
    int rc = 0;
    std::vector<std::vector<std::string>> blocks;  // console lines, each block whole
    std::vector<std::string> logs;
    std::vector<Fate> fates;  // per call
    // Writing operations: each file as the card keeps it; files whose text
    // is known only as a mix of old and new records.
    std::map<uint16_t, Contents> card;
    std::set<uint16_t> mixed;
    // Start-up: instance files left out, left without paths, numbered anew.
    std::set<uint16_t> absent, unpathed, renumbered;
    int sleeps = 0;
    bool led = false;  // the authentication outcome was shown
    bool auth_failed = false;
};

// The entry of `call` that the failure hits, if any.
std::optional<size_t> hit(const Trace &t, const Call &call, size_t at, const Failure &f) {
    if (f.kind == FailKind::kOffline) {
        return t.steps[call.first].cmd == Cmd::kOnline && call.first >= at
                   ? std::optional<size_t>(call.first)
                   : std::nullopt;
    }
    return call.first <= at && at < call.end ? std::optional<size_t>(at) : std::nullopt;
}

// ---- start-up -----------------------------------------------------------------------

// What each record read of start-up is for.
enum class Role { kOther, kDemoIndex, kInsert, kBuild, kSubIndex };

struct RoleOf {
    Role role = Role::kOther;
    uint16_t owner = 0;  // the instance file being inserted
    std::string record;  // the index record a build read reads
};

// Files are inserted in ascending order: a read that selects a higher file
// inserts it, a read of the same file reads its index records, and a read
// of a lower one counts the classification types before it.
std::vector<RoleOf> startup_roles(const Trace &t, const std::map<uint16_t, std::string> &index) {
    std::vector<RoleOf> roles;
    bool inserting = false;
    uint16_t current = 0;
    size_t builds = 0;
    for (const Call &call : t.calls) {
        RoleOf r;
        if (call.kind == CallKind::kUpdateStatus) {
            inserting = true;
        } else if (call.kind == CallKind::kReadRecord && !inserting) {
            r = {Role::kDemoIndex, call.file, {}};
        } else if (call.kind == CallKind::kReadRecord && call.selects && call.file > current) {
            current = call.file;
            builds = 0;
            r = {Role::kInsert, current, {}};
        } else if (call.kind == CallKind::kReadRecord && call.file == current) {
            const std::string &list = index.at(current);
            std::vector<std::string> names;
            for (size_t at = 0; at <= list.size();) {
                const size_t comma = std::min(list.find(',', at), list.size());
                names.push_back(list.substr(at, comma - at));
                at = comma + 1;
            }
            r = {Role::kBuild, current, names.at(builds++)};
        } else if (call.kind == CallKind::kReadRecord) {
            r = {Role::kSubIndex, current, {}};
        }
        roles.push_back(r);
    }
    return roles;
}

Outcome startup(const Trace &t, const std::vector<RoleOf> &roles, size_t at, const Failure &f,
                const vcard::VirtualCard &before) {
    Outcome o;
    o.fates.assign(t.calls.size(), Fate::kRan);
    bool stopped = false;
    uint16_t left = 0;  // the instance whose remaining reads are not made
    for (size_t i = 0; i < t.calls.size(); ++i) {
        const Call &call = t.calls[i];
        const RoleOf &r = roles[i];
        if (stopped || ((r.role == Role::kBuild || r.role == Role::kSubIndex) && r.owner == left)) {
            o.fates[i] = Fate::kSkipped;
            continue;
        }
        o.led |= call.kind == CallKind::kAuth;
        const std::optional<size_t> p = hit(t, call, at, f);
        if (!p) {
            continue;
        }
        o.fates[i] = Fate::kFailed;
        const vcard::ElementaryFile *file = before.file(call.file);
        std::vector<std::string> lines =
            card_layer_lines(t, *p, f, file != nullptr ? file->contents : Contents());
        const uint16_t id = call.file;
        switch (call.kind) {
            case CallKind::kWaitOnline:
                if (f.kind == FailKind::kOffline) {  // three attempts, a second apart
                    lines.assign(3, "sim card is offline,try again");
                    lines.push_back("check the sim is online more than three times");
                    o.sleeps = 3;
                    o.rc = -1;
                    stopped = true;
                } else {
                    lines.push_back("sim card is offline,try again");
                    o.sleeps = 1;
                }
                break;
            case CallKind::kSelectDir:
                lines.push_back("[sal] simcard_init it's not CT sim card");
                o.rc = -1;
                stopped = true;
                break;
            case CallKind::kAuth:  // shown and logged; start-up goes on
                o.logs.push_back("[simcard_init-N]  sim_card_auth failed!");
                o.auth_failed = true;
                break;
            case CallKind::kUpdateStatus:
                lines.push_back(
                    "[sal] simcard_get_all_update_status: get all update status failed");
                lines.push_back("[sal] simcard_init: get all update status failed");
                o.rc = -1;
                stopped = true;
                break;
            default:
                switch (r.role) {
                    case Role::kDemoIndex:
                        lines.push_back(format(
                            "simcard_ReadParamFromFile failed,file_id=0x%x param=%s", id, "P00"));
                        o.unpathed.insert(id);
                        break;
                    case Role::kInsert:
                        o.logs.push_back(
                            format("[InsertMulInstanceNode-N]  simcard_ReadParamFromFile "
                                   "failed,file_id=0x%x",
                                   id));
                        o.absent.insert(id);
                        left = id;
                        break;
                    case Role::kBuild:
                        lines.push_back(
                            format("simcard_ReadParamFromFile failed,file_id=0x%x param=%s", id,
                                   r.record.c_str()));
                        lines.push_back(format(
                            "[sal] InsertMulInstanceNode: build uri for file 04%04x field", id));
                        o.unpathed.insert(id);
                        left = id;
                        break;
                    case Role::kSubIndex:
                        lines.push_back(format(
                            "simcard_ReadParamFromFile failed,file_id=0x%x param=%s", id, "P00"));
                        o.renumbered.insert(r.owner);
                        break;
                    case Role::kOther:
                        break;
                }
        }
        o.blocks.push_back(lines);
    }
    return o;
}

// ---- writing operations -----------------------------------------------------------

Outcome writing(const Operation &op, const Trace &t, const std::vector<Write> &writes, size_t at,
                const Failure &f, const vcard::VirtualCard &before) {
    Outcome o;
    o.rc = op.rc;
    o.fates.assign(t.calls.size(), Fate::kRan);
    for (const Call &call : t.calls) {
        if (call.kind == CallKind::kSave) {
            o.card[call.file] = before.file(call.file)->contents;
        }
    }
    std::set<uint16_t> lost;  // a commit of the file did not land whole
    bool stopped = false;
    uint16_t skipping = 0;
    size_t next_write = 0;
    for (size_t i = 0; i < t.calls.size(); ++i) {
        const Call &call = t.calls[i];
        const Write *write =
            call.kind == CallKind::kWriteRecord ? &writes.at(next_write++) : nullptr;
        if (stopped || (skipping != 0 && call.file == skipping)) {
            o.fates[i] = Fate::kSkipped;
            lost.insert(call.file);
            continue;
        }
        skipping = 0;
        const std::optional<size_t> p = hit(t, call, at, f);
        if (!p) {
            if (call.kind == CallKind::kSave && lost.count(call.file) != 0) {
                o.mixed.insert(call.file);  // rewritten from what the card kept
            } else if (call.kind == CallKind::kSave) {
                o.card[call.file] = overlay(o.card[call.file], t.sent(call));
            }
            continue;
        }
        o.fates[i] = Fate::kFailed;
        const auto found = o.card.find(call.file);
        std::vector<std::string> lines = card_layer_lines(
            t, *p, f, found != o.card.end() ? found->second : before.file(call.file)->contents);
        if (write != nullptr) {
            lines.push_back(op.write_failed(*write));
            if (op.stops_at_failed_write) {
                o.rc = op.rc_stopped;
                stopped = true;
            } else {
                skipping = call.file;
            }
        } else if (call.kind == CallKind::kSave) {
            // The chunks before the failing one reached the card.
            o.card[call.file] = overlay(o.card[call.file], t.sent(call).substr(0, t.offset(*p)));
            lost.insert(call.file);
            if (op.reports_save) {
                lines.push_back(format(
                    "[sal] simcard_syncData2Sim: file id 0x%04x save to sim error", call.file));
            }
        }
        o.blocks.push_back(lines);
    }
    return o;
}

// ---- the sweep ------------------------------------------------------------------

// Every file element of the tree, by file id: its attributes and its
// parameters' names, paths and values, as one text.
using Shape = std::map<int, std::string>;

Shape shape() {
    auto attr = [](IXML_Node *node, const char *name) {
        const char *value = sal::xml::attr_cstr(node, name);
        return std::string(" ") + name + "=" + (value != nullptr ? value : "-");
    };
    Shape all;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        const char *n = sal::xml::attr_cstr(file, "n");
        const int id = n != nullptr ? static_cast<int>(std::strtol(n, nullptr, 16)) : -1;
        std::string text = std::string(sal::xml::tag(file));
        for (const char *name : {"n", "a", "uri", "furi", "wf"}) {
            text += attr(file, name);
        }
        for (IXML_Node *param : sal::xml::child_elements(file)) {
            for (const char *name : {"n", "uri", "furi", "simv", "dbv"}) {
                text += attr(param, name);
            }
        }
        all[id] += text + "\n";
    }
    return all;
}

struct Healthy {
    const Operation *op = nullptr;
    Trace trace{{}, CallKind::kReadRecord, false};
    std::set<std::string> out;
    std::set<std::string> logs;
    std::vector<Write> writes;
    vcard::VirtualCard after;
    ServedMap served;  // start-up: everything the started library serves
    Shape shape;       // and its tree
    std::vector<RoleOf> roles;
};

// A get and a restore make one call each.
Outcome one_call(const Operation &op, const Trace &t, size_t at, const Failure &f,
                 const vcard::VirtualCard &before) {
    Outcome o;
    o.fates.assign(t.calls.size(), Fate::kRan);
    const Call &call = t.calls.at(0);
    const std::optional<size_t> p = hit(t, call, at, f);
    if (!p) {
        return o;
    }
    o.fates[0] = Fate::kFailed;
    const vcard::ElementaryFile *file = before.file(call.file);
    o.blocks.push_back(card_layer_lines(t, *p, f, file != nullptr ? file->contents : Contents()));
    if (op.family == Family::kGet) {
        o.rc = -1;
        o.blocks.back().push_back(format("simcard_ReadFile failed,file_id=0x%x", call.file));
        o.logs.push_back(std::string("[simcard_getParamValueByUri-N]  getParamVal failed,uri=") +
                         kGetPath);
    } else {
        o.logs.push_back("[simcard_local_restore-N]  sim_card_factory_reset failed!resetnum=2");
    }
    return o;
}

using Note = std::function<void(const std::string &)>;

class FaultSweep : public Bench,
                   public ::testing::WithParamInterface<std::tuple<std::string, FailKind>> {
protected:
    void set_up(const Operation &op) {
        fresh(sample_);
        capture();
        op.setup(*this);
        captured();
    }

    // Runs the operation after its set-up; its console output in `out`.
    int run(const Operation &op, std::string &out) {
        card.clear_trace();
        clear_log();
        platform.clear_sleeps();
        platform.clear_led_requests();
        capture();
        const int rc = op.run();
        out = captured();
        return rc;
    }

    Healthy healthy(const Operation &op) {
        Healthy h;
        h.op = &op;
        set_up(op);
        if (op.writes) {
            h.writes = op.writes();
        }
        std::string out;
        const int rc = run(op, out);
        const int expected = op.family == Family::kWrites ? op.rc : 0;
        EXPECT_EQ(expected, rc) << "healthy run";
        h.trace =
            Trace(card.trace(),
                  op.family == Family::kStartup ? CallKind::kReadRecord : CallKind::kWriteRecord,
                  op.family == Family::kStartup);
        const auto lines = lines_of(out);
        h.out.insert(lines.begin(), lines.end());
        const auto logs = lines_of(log());
        h.logs.insert(logs.begin(), logs.end());
        h.after = card;
        if (op.family == Family::kStartup) {
            std::map<uint16_t, std::string> index;
            for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
                const char *n = sal::xml::attr_cstr(file, "n");
                const char *list = sal::xml::attr_cstr(file, "index");
                if (n != nullptr && list != nullptr) {
                    index[static_cast<uint16_t>(std::strtol(n, nullptr, 16))] = list;
                }
            }
            h.roles = startup_roles(h.trace, index);
            h.shape = shape();
            h.served = served();
        }
        // The record writes the steps define, in the files and order they name.
        std::vector<uint16_t> written;
        for (const Call &call : h.trace.calls) {
            if (call.kind == CallKind::kWriteRecord) {
                written.push_back(call.file);
            }
        }
        std::vector<uint16_t> defined;
        for (const Write &w : h.writes) {
            defined.push_back(w.file);
        }
        EXPECT_EQ(defined, written) << "files written";
        return h;
    }

    static Outcome defined(const Operation &op, const Healthy &h, const std::vector<Write> &writes,
                           size_t at, const Failure &f, const vcard::VirtualCard &before) {
        switch (op.family) {
            case Family::kStartup:
                return startup(h.trace, h.roles, at, f, before);
            case Family::kWrites:
                return writing(op, h.trace, writes, at, f, before);
            default:
                return one_call(op, h.trace, at, f, before);
        }
    }

    // One failure at one command; every difference from what the steps define.
    std::string inject(const Healthy &h, size_t at, const Failure &f) {
        const Operation &op = *h.op;
        set_up(op);
        const vcard::VirtualCard before = card;
        const std::vector<Write> writes = op.writes ? op.writes() : std::vector<Write>();
        const Trace &t = h.trace;
        arm(card, t, at, f);
        std::string out;
        const int rc = run(op, out);
        card.clear_faults();

        const Outcome o = defined(op, h, writes, at, f, before);
        std::string problems;
        auto note = [&](const std::string &text) { problems += "\n- " + text; };
        if (rc != o.rc) {
            note("result " + std::to_string(rc) + ", defined " + std::to_string(o.rc));
        }
        check_messages(h, o, out, note);
        check_card(h, o, before, note);
        check_state(h, o, writes, note);
        capture();
        follow_up(h, o, note);
        captured();
        return problems;
    }

    // The defined lines, and none that the steps do not print or log here.
    void check_messages(const Healthy &h, const Outcome &o, const std::string &out,
                        const Note &note) {
        const std::vector<std::string> lines = lines_of(out);
        if (const std::string missing = missing_blocks(lines, o.blocks); !missing.empty()) {
            note("console " + missing);
        }
        std::set<std::string> allowed = h.out;
        for (const auto &block : o.blocks) {
            allowed.insert(block.begin(), block.end());
        }
        for (const std::string &line : lines) {
            if (allowed.count(line) == 0) {
                note("console line the steps do not print here: " + line);
            }
        }
        const std::vector<std::string> logged = lines_of(log());
        std::set<std::string> logs_allowed = h.logs;
        logs_allowed.insert(o.logs.begin(), o.logs.end());
        for (const std::string &line : o.logs) {
            if (std::find(logged.begin(), logged.end(), line) == logged.end()) {
                note("log line missing: " + line);
            }
        }
        for (const std::string &line : logged) {
            if (logs_allowed.count(line) == 0) {
                note("log line the steps do not write here: " + line);
            }
        }
    }

    // No file holds another file's text: each holds what it held, or what
    // the operation wrote to it as far as it got.
    void check_card(const Healthy &h, const Outcome &o, const vcard::VirtualCard &before,
                    const Note &note) {
        const bool restored = h.op->family == Family::kRestore && o.fates[0] == Fate::kRan;
        for (const vcard::ElementaryFile *file : before.files()) {
            const Contents &now = card.file(file->id)->contents;
            if (o.mixed.count(file->id) != 0) {
                const auto old_records = records(text_of(file->contents));
                const auto new_records = records(h.after.text(file->id));
                for (const auto &[name, value] : records(text_of(now))) {
                    const auto a = old_records.find(name);
                    const auto b = new_records.find(name);
                    if ((a == old_records.end() || a->second != value) &&
                        (b == new_records.end() || b->second != value)) {
                        note("file " + hex(file->id) + " holds " + name + "=" + value);
                    }
                }
                continue;
            }
            const auto known = o.card.find(file->id);
            const Contents &expected = known != o.card.end() ? known->second
                                       : restored            ? h.after.file(file->id)->contents
                                                             : file->contents;
            if (now != expected) {
                note("file " + hex(file->id) + " holds \"" + text_of(now) + "\", defined \"" +
                     text_of(expected) + "\"");
            }
        }
    }

    // Dirty files stay dirty until committed; the tree shows what was written.
    void check_state(const Healthy &h, const Outcome &o, const std::vector<Write> &writes,
                     const Note &note) {
        const Operation &op = *h.op;
        const Trace &t = h.trace;
        if (op.family == Family::kStartup) {
            const auto &leds = platform.led_requests();
            const std::array<int, 3> shown =
                o.auth_failed ? std::array<int, 3>{49, 2, 3} : std::array<int, 3>{49, 0, 19};
            if (o.led != (leds.size() == 1) || (o.led && leds[0] != shown)) {
                note("LED requests: " + std::to_string(leds.size()));
            }
            if (platform.sleeps().size() != static_cast<size_t>(o.sleeps)) {
                note("slept " + std::to_string(platform.sleeps().size()) + " times");
            }
            return;
        }
        if (op.family == Family::kGet) {
            const std::string loaded = o.rc == 0 ? "1" : "0";
            if (wf(0x6F08) != loaded || wf(0x6F05) != "2") {
                note("wf 6F08 " + wf(0x6F08) + ", 6F05 " + wf(0x6F05));
            }
            return;
        }
        if (op.family != Family::kWrites) {
            return;
        }
        std::map<uint16_t, bool> committed;
        size_t next_write = 0;
        for (size_t i = 0; i < t.calls.size(); ++i) {
            const Call &call = t.calls[i];
            if (call.kind == CallKind::kSave) {
                committed[call.file] = o.fates[i] == Fate::kRan;
            }
            if (call.kind == CallKind::kWriteRecord) {
                const Write &w = writes[next_write++];
                committed.emplace(call.file, false);
                if (op.in_tree && op.in_tree(w) != (o.fates[i] == Fate::kRan)) {
                    note("the tree shows the write of " + w.name + " to " + hex(w.file) +
                         (o.fates[i] == Fate::kRan ? " as not made" : " as made"));
                }
            }
        }
        if (op.reports_save) {
            for (const auto &[file, done] : committed) {
                if (wf(file) != (done ? "1" : "2")) {
                    note("wf " + hex(file) + " " + wf(file));
                }
            }
        } else if (wf(0x6F05) != "2") {
            note("6F05, dirty and not written, has wf " + wf(0x6F05));
        }
    }

    // The next operation on a healthy card.
    void follow_up(const Healthy &h, const Outcome &o, const Note &note) {
        switch (h.op->family) {
            case Family::kStartup:
                return startup_follow_up(h, o, note);
            case Family::kGet: {
                const char *value = simcard_getParamValueByUri(kGetPath);
                if (value == nullptr || std::string(value) != kGetValue || wf(0x6F08) != "1") {
                    note("the next get failed");
                }
                return;
            }
            case Family::kRestore: {
                card.clear_trace();
                if (simcard_local_restore() != 0 || card.text(0x6F05) != h.after.text(0x6F05) ||
                    card.text(0x6F06) != h.after.text(0x6F06)) {
                    note("the next restore failed");
                }
                return;
            }
            case Family::kWrites:
                break;
        }
        // A synchronisation commits what is dirty, or stops at a file whose
        // record text it cannot rewrite.
        const std::vector<Write> writes = sync_writes();
        const std::vector<uint16_t> dirty = dirty_files();
        const SyncOutcome defined = expected_sync(writes, card);
        const std::string before = captured();
        capture();
        const int rc = simcard_syncData2Sim();
        const std::string out = captured();
        capture();
        if (rc != defined.rc) {
            note("the next synchronisation gave " + std::to_string(rc));
        }
        if (!defined.lines.empty()) {
            if (const std::string missing = missing_blocks(lines_of(out), {defined.lines});
                !missing.empty()) {
                note("the next synchronisation's console " + missing);
            }
        }
        bool before_stop = true;
        for (uint16_t file : dirty) {
            before_stop = before_stop && file != defined.stop;
            if (wf(file) != (before_stop ? "1" : "2")) {
                note("after the next synchronisation wf " + hex(file) + " " + wf(file));
            }
        }
        for (const Write &w : writes) {
            const std::string now = records(card.text(w.file))[w.name];
            if (w.value != "FF" && wf(w.file) == "1" && now != w.value) {
                note("after the next synchronisation " + hex(w.file) + " " + w.name + "=" + now);
            }
        }
    }

    // After a failed start-up the next one serves what a healthy one does.
    // After one that went on, the tree is the healthy one but for the
    // instances whose reads failed: every other file would be read and served
    // as after a healthy start-up.
    void startup_follow_up(const Healthy &h, const Outcome &o, const Note &note) {
        if (o.rc != 0) {
            if (simcard_init() != 0) {
                note("the next start-up failed");
            } else if (served() != h.served) {
                note("the next start-up serves other values");
            }
            return;
        }
        const Shape now = shape();
        for (const auto &[file, healthy] : h.shape) {
            const auto it = now.find(file);
            const bool left_out = o.absent.count(file) != 0;
            const bool unpathed = o.unpathed.count(file) != 0;
            if (left_out != (it == now.end())) {
                note("instance " + hex(file) + (left_out ? " is in the tree" : " is missing"));
            } else if (unpathed && it->second.find('%') == std::string::npos) {
                note("instance " + hex(file) + " has a path");
            } else if (!left_out && !unpathed && o.renumbered.count(file) == 0 &&
                       it->second != healthy) {
                note("file " + hex(file) + " differs from a healthy start-up's: " + it->second);
            }
        }
        for (const auto &[file, element] : now) {
            if (h.shape.count(file) == 0) {
                note("file " + hex(file) + " is in the tree: " + element);
            }
        }
    }
};

// One failure kind over every command of one operation.
TEST_P(FaultSweep, EveryCommandFailsWithTheDefinedOutcome) {
    const auto &[name, kind] = GetParam();
    const Healthy h = healthy(operation(name));
    ASSERT_FALSE(HasFailure());
    size_t injected = 0;
    size_t failed_runs = 0;
    for (size_t at = 0; at < h.trace.entries.size(); ++at) {
        for (const Failure &f : failures_for(h.trace.steps[at].cmd)) {
            if (f.kind != kind) {
                continue;
            }
            ++injected;
            const std::string problems = inject(h, at, f);
            if (!problems.empty() && ++failed_runs <= 10) {
                ADD_FAILURE() << name << ": " << f.name() << " at entry " << at << " ("
                              << vcard::describe(h.trace.entries[at]) << ")" << problems;
            }
        }
    }
    EXPECT_EQ(0u, failed_runs) << "runs that differ from the defined outcome";
    std::cout << "[ sweep    ] " << name << ", " << kind_name(kind) << ": "
              << h.trace.entries.size() << " commands, " << injected << " injections" << std::endl;
    RecordProperty("injections", static_cast<int>(injected));
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultSweep,
                         ::testing::Combine(::testing::ValuesIn(operation_names()),
                                            ::testing::Values(FailKind::kIoctl, FailKind::kStatus,
                                                              FailKind::kOffline)),
                         [](const ::testing::TestParamInfo<FaultSweep::ParamType> &p) {
                             return identifier(std::get<0>(p.param)) + "_" +
                                    kind_name(std::get<1>(p.param));
                         });

}  // namespace
}  // namespace simcard::sweep
