#include "tools/simcardctl/commands.h"

#include <fcntl.h>
#include <ixml.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>

#include "simcard.h"

namespace simcard::tool {
namespace {

constexpr unsigned short kOperatorDir = 0x7F80;
constexpr unsigned kFirstFile = 0x6F02;
constexpr unsigned kLastFile = 0x6FDA;

// Runs a library call with its console messages dropped.
template <typename F>
int quietly(F call) {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0) {
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    const int result = call();
    std::fflush(stdout);
    if (saved >= 0) {
        dup2(saved, STDOUT_FILENO);
        close(saved);
    }
    return result;
}
constexpr std::string_view kPathRoot = "InternetGatewayDevice.";

const char *attr(IXML_Node *node, const char *name) {
    return ixmlElement_getAttribute(reinterpret_cast<IXML_Element *>(node), name);
}

bool is_file_element(IXML_Node *node) {
    const char *a = attr(node, "a");
    return a != nullptr && strncasecmp(a, "EF", 2) == 0;
}

int parse_instance(const std::string &text) {
    char *end = nullptr;
    const long n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || n < 1 || n > 0xFFFF) {
        throw UsageError("instance number must be a positive integer: " + text);
    }
    return static_cast<int>(n);
}

unsigned short parse_file_id(const std::string &text) {
    char *end = nullptr;
    const long id = std::strtol(text.c_str(), &end, 16);
    if (text.empty() || *end != '\0' || id < static_cast<long>(kFirstFile) ||
        id > static_cast<long>(kLastFile)) {
        throw UsageError("card file id must be hexadecimal, 6F02 to 6FDA: " + text);
    }
    return static_cast<unsigned short>(id);
}

void expect_args(const std::vector<std::string> &args, size_t n, const char *usage) {
    if (args.size() != n) {
        throw UsageError(std::string("usage: ") + usage);
    }
}

}  // namespace

void Session::run(const std::vector<std::string> &args) {
    const std::string &cmd = args[0];
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (cmd == "get") {
        if (rest.empty()) throw UsageError("usage: get PATH...");
        get(rest);
    } else if (cmd == "set") {
        expect_args(args, 3, "set PATH VALUE");
        set(args[1], args[2]);
    } else if (cmd == "add") {
        expect_args(args, 3, "add OBJECT-PATH N");
        add(args[1], parse_instance(args[2]));
    } else if (cmd == "del") {
        expect_args(args, 3, "del INSTANCE-PATH N");
        del(args[1], parse_instance(args[2]));
    } else if (cmd == "sync") {
        expect_args(args, 1, "sync");
        sync();
    } else if (cmd == "restore") {
        expect_args(args, 1, "restore");
        restore();
    } else if (cmd == "first-online") {
        expect_args(args, 1, "first-online");
        first_online();
    } else if (cmd == "dump") {
        expect_args(args, 1, "dump");
        dump();
    } else if (cmd == "tree") {
        expect_args(args, 1, "tree");
        tree();
    } else if (cmd == "card") {
        card(rest);
    } else {
        throw UsageError("unknown command " + cmd);
    }
}

void Session::init() {
    if (inited_) return;
    if (simcard_init() != 0) {
        throw Failure("the library could not start (see its messages above)");
    }
    inited_ = true;
}

void Session::open_card() {
    if (card_open_ || inited_) return;
    if (sim_card_init() != 0 || sim_card_online() != 1 || hal_selectCurrentDir(kOperatorDir) != 0) {
        throw Failure("no configuration card (device, online state or directory 7F80)");
    }
    card_open_ = true;
}

void Session::get(const std::vector<std::string> &paths) {
    init();
    for (const auto &path : paths) {
        const char *value = simcard_getParamValueByUri(path.c_str());
        if (value == nullptr) {
            throw Failure("no readable parameter " + path);
        }
        std::fprintf(out_, "%s = %s\n", path.c_str(), value);
    }
}

void Session::set(const std::string &path, const std::string &value) {
    init();
    if (simcard_setParamValueByUri(path.c_str(), value.c_str()) != 0) {
        throw Failure("cannot set " + path + " to \"" + value + "\"");
    }
    std::fprintf(out_, "%s := %s\n", path.c_str(), value.c_str());
}

void Session::add(const std::string &path, int instance) {
    init();
    if (simcard_addMulInstanceByUri(path.c_str(), instance) != 1) {
        throw Failure("cannot add instance " + std::to_string(instance) + " of " + path);
    }
    std::fprintf(out_, "added %s%d.\n", path.c_str(), instance);
}

void Session::del(const std::string &path, int instance) {
    init();
    if (simcard_delMulInstanceByUri(path.c_str(), instance) != 1) {
        throw Failure("cannot delete " + path);
    }
    std::fprintf(out_, "deleted %s\n", path.c_str());
}

void Session::sync() {
    init();
    if (simcard_syncData2Sim() != 0) {
        throw Failure("synchronisation failed");
    }
    std::fprintf(out_, "synchronised\n");
}

void Session::restore() {
    if (simcard_local_restore() != 0) {
        throw Failure("local restore failed");
    }
    std::fprintf(out_, "restored\n");
}

void Session::first_online() {
    init();
    if (update6F07ForFirstOnline() != 0) {
        throw Failure("first-online update failed");
    }
    std::fprintf(out_, "first-online update done\n");
}

void Session::dump() {
    init();
    DOMString text = ixmlPrintDocument(ct_simcfg_root->ownerDocument);
    if (text == nullptr) {
        throw Failure("cannot print the document");
    }
    std::fputs(text, out_);
    std::fputs("\n", out_);
    ixmlFreeDOMString(text);
}

void Session::tree() {
    init();
    std::fprintf(out_, "%-4s  %-4s  %-3s  %-70s  %s\n", "file", "name", "rw", "path", "value");
    for (IXML_Node *file = ixmlNode_getFirstChild(ct_simcfg_root); file != nullptr;
         file = ixmlNode_getNextSibling(file)) {
        if (!is_file_element(file)) continue;
        const char *id = attr(file, "n");
        for (IXML_Node *param = ixmlNode_getFirstChild(file); param != nullptr;
             param = ixmlNode_getNextSibling(param)) {
            const char *uri = attr(param, "uri");
            if (uri == nullptr || std::string_view(uri).rfind(kPathRoot, 0) != 0 ||
                std::strchr(uri, '%') != nullptr) {
                continue;
            }
            const char *rw = attr(param, "rw");
            const bool readable = rw != nullptr && std::strchr(rw, 'R') != nullptr;
            const char *value = readable ? simcard_getParamValueByUri(uri) : nullptr;
            const char *name = attr(param, "n");
            std::fprintf(out_, "%-4s  %-4s  %-3s  %-70s  %s\n", id ? id : "", name ? name : "",
                         rw ? rw : "", uri, readable ? (value ? value : "(unreadable)") : "-");
        }
    }
}

void Session::card(const std::vector<std::string> &args) {
    if (args.empty()) throw UsageError("usage: card ls | card cat FILE | card reset FILE...");
    const std::string &sub = args[0];
    if (sub == "ls") {
        expect_args(args, 1, "card ls");
        open_card();
        unsigned char status[27] = {};
        const bool have_status = hal_get_all_update_status(status) == 0;
        std::fprintf(out_, "%-4s  %5s  %s\n", "file", "size", "updated");
        // Every id a configuration card can hold; the card answers for those it has.
        for (unsigned id = kFirstFile; id <= kLastFile; ++id) {
            const int size = quietly([&] { return sim_card_select_file(kOperatorDir, id); });
            if (size < 0) continue;
            const int bit = have_status ? simcard_file_isupdated(static_cast<int>(id), status) : -1;
            std::fprintf(out_, "%04X  %5d  %s\n", id, size, bit < 0 ? "-" : (bit ? "yes" : "no"));
        }
    } else if (sub == "cat") {
        expect_args(args, 2, "card cat FILE");
        const unsigned short id = parse_file_id(args[1]);
        open_card();
        const int size = sim_card_select_file(kOperatorDir, id);
        if (size < 0) throw Failure("no card file " + args[1]);
        std::string buf(static_cast<size_t>(size) + 1, '\0');
        if (simcard_ReadFile(id, buf.data(), size) != 0) throw Failure("cannot read " + args[1]);
        std::fprintf(out_, "%s\n", buf.c_str());
    } else if (sub == "reset") {
        if (args.size() < 2) throw UsageError("usage: card reset FILE...");
        std::vector<unsigned short> ids;
        for (size_t i = 1; i < args.size(); ++i) ids.push_back(parse_file_id(args[i]));
        open_card();
        if (sim_card_factory_reset(ids.data(), static_cast<int>(ids.size())) != 0) {
            throw Failure("factory reset refused");
        }
        std::fprintf(out_, "reset %zu file(s)\n", ids.size());
    } else {
        throw UsageError("unknown card command " + sub);
    }
}

}  // namespace simcard::tool
