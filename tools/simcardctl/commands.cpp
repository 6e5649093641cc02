#include "tools/simcardctl/commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "hal/platform.h"
#include "simcard.h"
#include "tools/simcardctl/checks.h"
#include "tools/simcardctl/model.h"
#include "tools/simcardctl/records.h"
#include "tools/simcardctl/text.h"
#include "vcard/virtual_card.h"

namespace simcard::tool {
namespace {

using Json = nlohmann::ordered_json;
using model::file_name;
using model::kFirstFile;
using model::kLastFile;
using model::kOperatorDir;
using model::kVlanFile;

constexpr size_t kStatusBytes = 27;

const char *const kUnchecked = " (--force passes it on unchecked)";
const char *const kNoDevice = "the card device " SIMCARD_PATH_DEVICE
                              " cannot be opened: is the driver loaded, and is this root?";
const char *const kOffline = "the card is offline: is a configuration card inserted?";
const char *const kNoDirectory =
    "the card has no operator directory 7F80: it is no configuration card";

unsigned short parse_file_id(const std::string &text) {
    return static_cast<unsigned short>(std::strtoul(text.c_str(), nullptr, 16));
}

bool contains(const std::vector<std::string> &lines, const char *text) {
    for (const auto &line : lines) {
        if (line.find(text) != std::string::npos) return true;
    }
    return false;
}

// The usual causes of a failed start, from what the library said.
std::string startup_hint(const std::vector<std::string> &printed,
                         const std::vector<std::string> &logged, const std::string &config,
                         bool virtual_card) {
    if (access(config.c_str(), R_OK) != 0) {
        return "no configuration document at " + config +
               (virtual_card ? ": give one with --config FILE" : "");
    }
    if (contains(logged, "loadSimcardConfigxml failed")) {
        return "the configuration document " + config + " does not load (code in the log)";
    }
    if (contains(logged, "sim_card_init failed") ||
        contains(printed, "open " SIMCARD_PATH_DEVICE)) {
        return kNoDevice;
    }
    if (contains(printed, "more than three times")) return kOffline;
    if (contains(printed, "not CT sim card")) return kNoDirectory;
    if (contains(printed, "update status"))
        return "the card did not answer the update-status request";
    return {};
}

// The library's lines as part of a report.
std::string indented(const std::vector<std::string> &lines, const char *none = nullptr) {
    std::string text;
    for (const auto &line : lines) text += "\n  " + printable(line);
    if (text.empty() && none != nullptr) text = std::string("\n  ") + none;
    return text;
}

// The 16-bit id after "file id 0x" in a line of the synchronisation, when the
// line says the file is dirty.
std::optional<unsigned> dirty_marker(const std::string &line) {
    constexpr std::string_view kFile = "file id 0x";
    constexpr std::string_view kDirty = " is dirty";
    const size_t at = line.find(kFile);
    if (at == std::string::npos || line.size() < kDirty.size() ||
        line.compare(line.size() - kDirty.size(), kDirty.size(), kDirty) != 0) {
        return std::nullopt;
    }
    return static_cast<unsigned>(std::strtoul(line.c_str() + at + kFile.size(), nullptr, 16));
}

void print_json(FILE *out, const Json &json) { std::fprintf(out, "%s\n", json.dump(2).c_str()); }

// The library keeps the text of the file whose records it read last, and
// rewrites and commits that copy at the next record write. After the file
// changed behind it, selecting another file makes it read the card afresh.
void forget_session_text(uint16_t id) {
    if (sim_session.file_id != id || sim_session.content == nullptr) return;
    for (IXML_Node *file : model::files()) {
        const auto other = model::file_id(file);
        if (other && *other != id && sim_card_select_file(kOperatorDir, *other) >= 0) return;
    }
}

// The card's update bit of a file; none when the card does not say.
std::optional<bool> update_bit(uint16_t id) {
    unsigned char status[kStatusBytes] = {};
    if (hal_get_all_update_status(status) != 0) return std::nullopt;
    const int bit = simcard_file_isupdated(id, status);
    return bit < 0 ? std::nullopt : std::optional<bool>(bit == 1);
}

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const auto &line : lines) text += (text.empty() ? "" : "; ") + line;
    return text;
}

std::string source_text(const Mended &m, const Reading &card) {
    const std::string lost = m.record.name == card.cut ? "cut short" : "missing";
    switch (m.source) {
        case Source::Card:
            return "kept from the card";
        case Source::Factory:
            return "from the factory contents (" + lost + " on the card)";
        case Source::Neither:
            break;
    }
    return "unset (FF): " + lost + " on the card, and not in the factory contents";
}

}  // namespace

Session::Session(Setting setting) : s_(std::move(setting)), log_start_(log_size()) {}

long Session::log_size() const {
    struct stat st {};
    return stat(s_.log.c_str(), &st) == 0 ? static_cast<long>(st.st_size) : 0;
}

std::vector<std::string> Session::log_lines_since(long offset) const {
    std::ifstream in(s_.log, std::ios::binary);
    std::vector<std::string> lines;
    if (!in || !in.seekg(offset)) return lines;
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    return lines;
}

void Session::run(const Command &c) {
    const std::string name = c.name();
    const std::vector<std::string> args = c.operands();
    if (name == "get") {
        get(c);
    } else if (name == "set") {
        set(args[0], args[1]);
    } else if (name == "add") {
        add(args[0], std::atoi(args[1].c_str()));
    } else if (name == "del") {
        del(args[0], args.size() > 1 ? std::atoi(args[1].c_str()) : 0);
    } else if (name == "sync") {
        sync(false);
    } else if (name == "restore") {
        restore();
    } else if (name == "first-online") {
        first_online();
    } else if (name == "dump") {
        dump();
    } else if (name == "tree") {
        tree(c.json);
    } else if (name == "paths") {
        paths();
    } else if (name == "card ls") {
        card_ls(c.json);
    } else if (name == "card cat") {
        card_cat(args[0], c.hex);
    } else if (name == "card reset") {
        card_reset(args);
    } else if (name == "card check") {
        card_check(c.json);
    } else if (name == "card repair") {
        card_repair(args);
    } else {
        card_apdu(args);
    }
}

// ---- start-up ----------------------------------------------------------------

void Session::not_started(const std::string &what, size_t mark, const char *known) {
    const std::vector<std::string> printed = s_.console.since(mark);
    const std::vector<std::string> logged = log_lines_since(log_start_);
    std::string text = what;
    if (s_.console.quiet() && !printed.empty()) {
        text += "\nthe library printed:" + indented(printed);
    }
    if (access(s_.log.c_str(), F_OK) != 0) {
        text += "\nthe library's log " + s_.log + " is missing: the library cannot write it";
    } else {
        text += "\nthe library's log " + s_.log + " gained:" + indented(logged, "(nothing)");
    }
    const std::string hint =
        known != nullptr ? known : startup_hint(printed, logged, s_.config, s_.virtual_card);
    if (!hint.empty()) text += "\nhint: " + hint;
    throw Failure(text);
}

void Session::init() {
    if (inited_) return;
    const size_t mark = s_.console.mark();
    if (simcard_init() != 0) {
        not_started("the library could not start", mark);
    }
    s_.console.pump();
    inited_ = true;
}

void Session::open_card() {
    if (card_open_ || inited_) return;
    const size_t mark = s_.console.mark();
    if (sim_card_init() != 0) {
        not_started("the card device could not be opened", mark, kNoDevice);
    }
    if (sim_card_online() != 1) {
        not_started("the card is not online", mark, kOffline);
    }
    if (hal_selectCurrentDir(kOperatorDir) != 0) {
        not_started("the card has no directory 7F80", mark, kNoDirectory);
    }
    s_.console.pump();
    card_open_ = true;
}

// ---- parameters ----------------------------------------------------------------

void Session::get(const Command &c) {
    init();
    Json json = Json::object();
    std::string errors;
    for (const std::string &path : c.operands()) {
        const size_t mark = s_.console.mark();
        const char *found = simcard_getParamValueByUri(path.c_str());
        const std::optional<std::string> value =
            found ? std::optional<std::string>(found) : std::nullopt;
        const std::vector<std::string> printed = s_.console.since(mark);
        if (c.json) {
            json[utf8(path)] = value ? Json(utf8(*value)) : Json(nullptr);
        } else if (value && c.values_only) {
            std::fprintf(s_.out, "%s\n", printable(*value).c_str());
        } else if (value) {
            std::fprintf(s_.out, "%s = %s\n", printable(path).c_str(), printable(*value).c_str());
        }
        if (value) continue;
        IXML_Node *param = model::param_by_path(path);
        std::string why = "the library gave no value";
        const std::optional<VlanRecord> vlan = vlan_record(path);
        if (vlan && !vlan->list) {
            why =
                "the library answers VLAN modes from memory, which holds none before a set "
                "(card cat 6F90 shows the card's records)";
        } else if (param == nullptr && !vlan) {
            why = "the document has no parameter with this path";
        } else if (param != nullptr && model::attr_or(param, "rw").find('R') == std::string::npos) {
            why = "it is not readable (rw=\"" + printable(model::attr_or(param, "rw")) + "\")";
        }
        errors += (errors.empty() ? "" : "\n") + std::string("cannot get ") + printable(path) +
                  ": " + why + indented(printed);
    }
    if (c.json) print_json(s_.out, json);
    if (!errors.empty()) throw Failure(errors);
}

void Session::set(const std::string &path, const std::string &value) {
    init();
    IXML_Node *param = model::param_by_path(path);
    const std::optional<VlanRecord> vlan = param ? std::nullopt : vlan_record(path);
    s_.console.pump();
    // The VLAN record as the set will write it, read before the set.
    const std::optional<std::string> record = vlan ? vlan_record_after(*vlan, value) : std::nullopt;
    if (!s_.force) {
        std::optional<std::string> why;
        if (param != nullptr) {
            why = check_value(param, value);
        } else if (vlan) {
            why = record ? check_vlan_value(*vlan, value, *record)
                         : std::optional<std::string>("card file 6F90 cannot be read");
        } else {
            why = "the document has no parameter with this path";
        }
        s_.console.drop();  // the checks' reads and trial rewrites
        if (why) {
            throw Failure("cannot set " + printable(path) + " to \"" + brief(value) +
                          "\": " + *why + kUnchecked);
        }
    }
    const size_t mark = s_.console.mark();
    if (simcard_setParamValueByUri(path.c_str(), value.c_str()) != 0) {
        throw Failure("the library refused to set " + printable(path) +
                      indented(s_.console.since(mark)));
    }
    if (vlan) {
        const std::optional<std::string> now = card_record(kVlanFile, vlan->name);
        if (!record || now != record) {
            throw Failure("setting " + printable(path) + " did not reach card file 6F90: record " +
                          vlan->name + " reads \"" + printable(now.value_or("?")) + "\"" +
                          indented(s_.console.since(mark)));
        }
        std::fprintf(s_.out, "%s := %s (written to card file 6F90)\n", printable(path).c_str(),
                     printable(value).c_str());
        return;
    }
    std::fprintf(s_.out, "%s := %s\n", printable(path).c_str(), printable(value).c_str());
}

// ---- instances ----------------------------------------------------------------

void Session::add(const std::string &path, int instance) {
    init();
    const std::string made = path + std::to_string(instance) + ".";
    const size_t mark = s_.console.mark();
    const int rc = simcard_addMulInstanceByUri(path.c_str(), instance);
    const std::vector<std::string> printed = s_.console.since(mark);
    if (rc != 1) {
        throw Failure("the library refused to add instance " + std::to_string(instance) + " of " +
                      printable(path) + indented(printed));
    }
    if (!model::in_model(made)) {
        throw Failure("the library added nothing for " + printable(made) +
                      ": it keeps no instances of " + printable(path) + " on the card" +
                      indented(printed));
    }
    std::fprintf(s_.out, "added %s\n", printable(made).c_str());
}

void Session::del(const std::string &path, int instance) {
    init();
    if (instance == 0) {
        // The number the path ends in ("....WANConnectionDevice.2.").
        const size_t dot = path.find_last_of('.', path.size() - 2);
        instance = std::atoi(path.c_str() + (dot == std::string::npos ? 0 : dot + 1));
        if (instance < 1) throw Failure("give the instance number: " + printable(path));
    }
    if (!model::in_model(path)) {
        throw Failure("no instance " + printable(path) +
                      ": nothing in the model lies at or under it");
    }
    const size_t mark = s_.console.mark();
    const int rc = simcard_delMulInstanceByUri(path.c_str(), instance);
    const std::vector<std::string> printed = s_.console.since(mark);
    if (rc != 1) {
        throw Failure("the library refused to delete " + printable(path) + indented(printed));
    }
    if (model::in_model(path)) {
        throw Failure(printable(path) + " is still in the model" + indented(printed));
    }
    std::fprintf(s_.out, "deleted %s\n", printable(path).c_str());
}

void Session::first_online() {
    init();
    const size_t mark = s_.console.mark();
    if (update6F07ForFirstOnline() != 0) {
        throw Failure("the first-online update failed" + indented(s_.console.since(mark)));
    }
    std::fprintf(s_.out, "first-online update of 6F07 made in memory\n");
}

// ---- write-back ----------------------------------------------------------------

void Session::sync(bool automatic) {
    init();
    const long log_from = log_size();
    const size_t mark = s_.console.mark();
    const int rc = simcard_syncData2Sim();
    const std::vector<std::string> printed = s_.console.since(mark);
    const std::vector<std::string> logged = log_lines_since(log_from);
    // The library's lines per file: from its "is dirty" line to the next one.
    std::vector<std::pair<unsigned, std::vector<std::string>>> sections;
    for (const auto &line : printed) {
        if (const auto id = dirty_marker(line)) {
            sections.push_back({*id, {}});
        } else if (!sections.empty()) {
            sections.back().second.push_back(line);
        }
    }
    std::set<unsigned> left;
    std::string report;
    for (IXML_Node *file : model::dirty_files()) {
        const auto id = model::file_id(file);
        left.insert(id.value_or(0));
        const std::vector<std::string> *section = nullptr;
        for (const auto &[sid, lines] : sections) {
            if (id && sid == *id) section = &lines;
        }
        std::vector<std::string> lines = section ? *section : std::vector<std::string>();
        // Without an id of its own the library names the element; the log
        // names the id.
        const std::string node = "node " + model::tag(file) + " ";
        for (const auto &line : printed) {
            if (!section && line.find(node) != std::string::npos) lines.push_back(line);
        }
        char named[24] = "";
        if (id) std::snprintf(named, sizeof named, "file id 0x%04x ", *id);
        for (const auto &line : logged) {
            if (id && line.find(named) != std::string::npos) lines.push_back(line);
        }
        report += "\nfile " + model::describe_file(file) + " was not written to the card:";
        report += section || !lines.empty() ? indented(lines, "(the library gave no reason)")
                                            : "\n  the synchronisation stopped before it";
        if (contains(lines, "write param error")) {
            const std::string name = file_name(id.value_or(0));
            report +=
                "\n  hint: its record text on the card may be torn (card check); card repair " +
                name + " mends it";
        }
    }
    if (!left.empty() || rc != 0) {
        reported_ = true;
        throw Failure(
            std::string(automatic ? "the automatic synchronisation" : "the synchronisation") +
            " failed" + (rc != 0 ? " (the library returned -1)" : "") +
            (report.empty() ? indented(printed) : report));
    }
    std::string written;
    for (const auto &section : sections) {
        if (left.count(section.first) == 0) written += " " + file_name(section.first);
    }
    std::fprintf(s_.out, "synchronised:%s%s\n",
                 written.empty() ? " nothing to write" : written.c_str(),
                 automatic ? " (automatically, at the end of the command line)" : "");
}

void Session::finish() {
    if (inited_ && !model::dirty_files().empty()) {
        sync(true);
    }
}

std::vector<std::string> Session::unwritten() const {
    std::vector<std::string> files;
    if (!inited_ || reported_) return files;
    for (IXML_Node *file : model::dirty_files()) files.push_back(model::describe_file(file));
    return files;
}

void Session::restore() {
    const long from = log_size();
    const size_t mark = s_.console.mark();
    const int rc = simcard_local_restore();
    const std::vector<std::string> printed = s_.console.since(mark);
    const std::vector<std::string> logged = log_lines_since(from);
    if (rc != 0 || contains(logged, "sim_card_factory_reset failed")) {
        throw Failure("the local restore failed" + indented(printed) + indented(logged));
    }
    constexpr std::string_view kReset = "fileid=0x";  // "fileid=0x6f05 sim_card_factory_reset!"
    std::string files;
    for (const auto &line : logged) {
        const size_t at = line.find(kReset);
        if (at != std::string::npos && line.find("sim_card_factory_reset!") != std::string::npos) {
            const char *id = line.c_str() + at + kReset.size();
            files += " " + file_name(static_cast<unsigned>(std::strtoul(id, nullptr, 16)));
        }
    }
    std::fprintf(s_.out, "restored to factory contents:%s\n",
                 files.empty() ? " no file" : files.c_str());
}

// ---- the model ----------------------------------------------------------------

void Session::dump() {
    init();
    DOMString text = ixmlPrintDocument(ct_simcfg_root->ownerDocument);
    if (text == nullptr) {
        throw Failure("cannot print the document");
    }
    std::fprintf(s_.out, "%s\n", printable(text, true).c_str());
    ixmlFreeDOMString(text);
}

void Session::tree(bool json) {
    init();
    Json rows = Json::array();
    if (!json) {
        std::fprintf(s_.out, "%-4s  %-4s  %-3s  %-70s  %s\n", "file", "name", "rw", "path",
                     "value");
    }
    for (IXML_Node *file : model::files()) {
        const std::string id = model::attr_or(file, "n");
        for (IXML_Node *param : model::children(file)) {
            const std::string uri = model::attr_or(param, "uri");
            if (!model::served_path(uri)) continue;
            const std::optional<std::string> rw = model::attr(param, "rw");
            const bool readable = rw && rw->find('R') != std::string::npos;
            const char *value = readable ? simcard_getParamValueByUri(uri.c_str()) : nullptr;
            const std::string name = model::attr_or(param, "n");
            s_.console.pump();
            if (json) {
                rows.push_back({{"file", utf8(id)},
                                {"name", utf8(name)},
                                {"rw", utf8(rw.value_or(""))},
                                {"path", utf8(uri)},
                                {"value", value ? Json(utf8(value)) : Json(nullptr)}});
                continue;
            }
            std::fprintf(s_.out, "%-4s  %-4s  %-3s  %-70s  %s\n", printable(id).c_str(),
                         printable(name).c_str(), printable(rw.value_or("")).c_str(),
                         printable(uri).c_str(),
                         readable ? (value ? printable(value).c_str() : "(unreadable)") : "-");
        }
    }
    if (json) print_json(s_.out, rows);
}

void Session::paths() {
    init();
    for (IXML_Node *file : model::files()) {
        for (IXML_Node *param : model::children(file)) {
            const std::string uri = model::attr_or(param, "uri");
            if (model::served_path(uri)) std::fprintf(s_.out, "%s\n", printable(uri).c_str());
        }
    }
}

// ---- the card ----------------------------------------------------------------

void Session::card_ls(bool json) {
    open_card();
    unsigned char status[kStatusBytes] = {};
    const bool have_status = hal_get_all_update_status(status) == 0;
    s_.console.pump();
    Json rows = Json::array();
    if (!json) std::fprintf(s_.out, "%-4s  %5s  %s\n", "file", "size", "updated");
    // Every id a configuration card can hold; the card answers for those it has.
    for (unsigned id = kFirstFile; id <= kLastFile; ++id) {
        const int size = sim_card_select_file(kOperatorDir, static_cast<unsigned short>(id));
        s_.console.drop();  // the refusals of ids the card does not have
        if (size < 0) continue;
        const int bit = have_status ? simcard_file_isupdated(static_cast<int>(id), status) : -1;
        if (json) {
            rows.push_back({{"file", file_name(id)},
                            {"size", size},
                            {"updated", bit < 0 ? Json(nullptr) : Json(bit == 1)}});
        } else {
            std::fprintf(s_.out, "%s  %5d  %s\n", file_name(id).c_str(), size,
                         bit < 0 ? "-" : (bit ? "yes" : "no"));
        }
    }
    if (json) print_json(s_.out, rows);
}

void Session::card_cat(const std::string &file, bool hex) {
    const unsigned short id = parse_file_id(file);
    open_card();
    const size_t mark = s_.console.mark();
    const std::optional<std::string> bytes = read_card_file(id);
    if (!bytes) throw Failure("cannot read card file " + file + indented(s_.console.since(mark)));
    s_.console.pump();
    if (!hex) {
        std::fprintf(s_.out, "%s\n", printable(text_of(*bytes)).c_str());
        return;
    }
    for (const auto &line : hex_dump(std::vector<uint8_t>(bytes->begin(), bytes->end()))) {
        std::fprintf(s_.out, "%s\n", line.c_str());
    }
}

void Session::card_reset(const std::vector<std::string> &files) {
    std::vector<unsigned short> ids;
    for (const auto &f : files) ids.push_back(parse_file_id(f));
    open_card();
    const size_t mark = s_.console.mark();
    if (sim_card_factory_reset(ids.data(), static_cast<int>(ids.size())) != 0) {
        throw Failure("the card refused the factory reset" + indented(s_.console.since(mark)));
    }
    std::string names;
    for (const auto id : ids) {
        forget_session_text(id);
        names += " " + file_name(id);
    }
    s_.console.pump();
    std::fprintf(s_.out, "reset to factory contents:%s\n", names.c_str());
}

void Session::card_check(bool json) {
    init();
    Json rows = Json::array();
    std::string broken;
    size_t checked = 0;
    for (const model::CardFile &f : model::card_files()) {
        s_.console.pump();
        const std::optional<std::string> bytes = f.id ? read_card_file(*f.id) : std::nullopt;
        std::vector<std::string> problems;
        if (!f.in_tree) {
            s_.console.drop();  // ids of the range that the card does not have
            if (!bytes || text_of(*bytes).empty()) continue;  // no card file, or unused
        }
        if (!f.id) {
            problems = {"its file element names no card file (attribute n)"};
        } else if (!bytes) {
            problems = {"the card file cannot be read"};
        } else {
            problems = read_records(text_of(*bytes), f.expected).problems;
        }
        ++checked;
        if (!problems.empty()) broken += " " + (f.id ? file_name(*f.id) : f.label);
        if (json) {
            Json list = Json::array();
            for (const auto &p : problems) list.push_back(utf8(p));
            rows.push_back({{"file", f.id ? Json(file_name(*f.id)) : Json(nullptr)},
                            {"element", utf8(f.element)},
                            {"in_tree", f.in_tree},
                            {"sound", problems.empty()},
                            {"problems", list}});
        } else if (!problems.empty()) {
            std::fprintf(s_.out, "%s is broken:%s\n", printable(f.label).c_str(),
                         indented(problems).c_str());
        }
    }
    s_.console.pump();
    if (json) {
        print_json(s_.out, {{"sound", broken.empty()}, {"files", rows}});
    } else {
        std::fprintf(s_.out, "checked %zu card files: %s\n", checked,
                     broken.empty() ? "all sound" : ("broken:" + broken).c_str());
    }
    if (!broken.empty()) {
        throw Failure("broken record text in" + broken + " (card repair FILE... mends it)");
    }
}

void Session::card_repair(const std::vector<std::string> &files) {
    init();
    std::string failed;
    for (const auto &file : files) {
        try {
            repair_file(parse_file_id(file));
        } catch (const Failure &e) {
            failed += (failed.empty() ? "" : "\n") + std::string(e.what());
        }
    }
    if (!failed.empty()) throw Failure(failed);
}

// Reads the text, takes the factory contents from the card where records
// are lost (the card hands them over only by resetting the file), writes the
// mended text over the whole file and reads it back. A refusal after the
// reset writes the former bytes back.
void Session::repair_file(uint16_t id) {
    const model::CardFile f = model::card_file(id);
    const std::string label = printable(f.label);
    s_.console.pump();
    const size_t mark = s_.console.mark();
    const std::optional<std::string> before = read_card_file(id);
    if (!before) throw Failure("cannot read card file " + label + indented(s_.console.since(mark)));
    const std::vector<std::string> expected = f.expected_in(text_of(*before));
    const Reading card = read_records(text_of(*before), expected);
    if (card.problems.empty()) {
        std::fprintf(s_.out, "%s is sound: nothing to repair\n", label.c_str());
        return;
    }
    const std::optional<bool> bit = update_bit(id);
    bool changed = false;  // the file on the card
    // Refuses; a file that changed gets its former bytes back.
    auto refuse = [&](const std::string &why) {
        const bool back = !changed || write_card_file(id, *before);
        forget_session_text(id);
        throw Failure("cannot repair " + label + ": " + why + indented(s_.console.since(mark)) +
                      (!changed ? "\n" + label + " is as it was"
                       : back   ? "\n" + label + " holds its former bytes again"
                                : "\nits former bytes could not be written back; its text was: \"" +
                                    printable(text_of(*before)) + "\""));
    };
    Reading factory;
    if (needs_factory(card, expected)) {
        unsigned short ids[] = {id};
        if (sim_card_factory_reset(ids, 1) != 0) {
            throw Failure("cannot repair " + label +
                          ": the card refused to reset it to its factory contents" +
                          indented(s_.console.since(mark)));
        }
        changed = true;
        const std::optional<std::string> bytes = read_card_file(id);
        if (!bytes) refuse("its factory contents cannot be read");
        factory = read_records(text_of(*bytes));
        if (!factory.problems.empty()) {
            refuse("its factory contents are broken too (" + joined(factory.problems) +
                   "): they cannot stand in for the records the card lost");
        }
    }
    const std::vector<Mended> records = mend(card, factory, expected);
    std::vector<Record> plain;
    for (const Mended &m : records) plain.push_back(m.record);
    std::string text = record_text(plain);
    // A record name of the document that no record text can hold.
    const Reading mended = read_records(text, expected);
    if (!mended.problems.empty()) {
        refuse("the mended text would be broken too (" + joined(mended.problems) + ")");
    }
    if (text.size() > before->size()) {
        refuse("the mended record text needs " + std::to_string(text.size()) +
               " bytes and the file holds " + std::to_string(before->size()));
    }
    const size_t length = text.size();
    text.resize(before->size(), '\0');
    changed = true;
    if (!write_card_file(id, text)) refuse("the card did not take the mended text");
    forget_session_text(id);
    s_.console.pump();
    std::fprintf(s_.out, "repaired %s: %zu bytes of record text written and read back\n",
                 label.c_str(), length);
    for (const Mended &m : records) {
        std::fprintf(s_.out, "  %s  %s\n", printable(m.record.name).c_str(),
                     source_text(m, card).c_str());
    }
    const std::optional<bool> now = update_bit(id);
    if (bit && now && *bit != *now) {
        std::fprintf(s_.out, "  the card marks it %s now: start-up %s\n",
                     *now ? "updated" : "not updated",
                     *now ? "takes it into the model when its index record names an instance"
                          : "leaves it out of the model");
    }
}

void Session::card_apdu(const std::vector<std::string> &words) {
    std::string hex;
    for (const auto &w : words) hex += w;
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(
            static_cast<unsigned char>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16)));
    }
    const size_t mark = s_.console.mark();
    if (sim_card_fd < 0 && sim_card_init() != 0) {
        not_started("the card device could not be opened", mark, kNoDevice);
    }
    unsigned char header[5];
    std::copy(bytes.begin(), bytes.begin() + 5, header);
    std::vector<unsigned char> data(bytes.begin() + 5, bytes.end());
    // Data goes to the card; without data the card answers P3 bytes.
    std::vector<unsigned char> response(data.empty() ? header[4] : 0);
    simio_request req{};
    __sim_card_form_data(&req, header, data.empty() ? nullptr : data.data(),
                         static_cast<unsigned int>(data.size()),
                         response.empty() ? nullptr : response.data());
    const unsigned long request = data.empty() ? SIMIO_IOCTL_READ : SIMIO_IOCTL_WRITE;
    if (sys::ioctl(sim_card_fd, request, &req) < 0) {
        throw Failure(std::string("the driver refused the command: ") + std::strerror(errno));
    }
    s_.console.pump();
    if (!response.empty()) {
        std::fprintf(s_.out, "response: %s\n",
                     vcard::hex_bytes(response.data(), response.size()).c_str());
    }
    const uint8_t sw[2] = {req.sw1, req.sw2};
    std::fprintf(
        s_.out, "status: %s%s\n", vcard::hex_bytes(sw, 2).c_str(),
        req.sw1 == 0x9F ? " (an answer waits: GET RESPONSE, A0 C0 00 00 with P3 = SW2)" : "");
}

}  // namespace simcard::tool
