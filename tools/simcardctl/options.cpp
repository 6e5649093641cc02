#include "tools/simcardctl/options.h"

#include <getopt.h>

#include <cctype>
#include <cstdlib>

#include "tools/simcardctl/model.h"

namespace simcard::tool {

const char *const kHelp =
    "Usage: simcardctl [OPTION]... COMMAND [ARG]... [-- COMMAND [ARG]...]...\n"
    "Look at and change a gateway's configuration card through libsimcard.\n"
    "\n"
    "Commands joined by -- run in one library session, as a gateway program's\n"
    "calls do. A line that changes values (set, add, del, first-online) and does\n"
    "not end with sync is synchronised at its end, and says so.\n"
    "\n"
    "Commands:\n"
    "  get [-v] [--json] PATH...  values of data-model parameters\n"
    "  set PATH VALUE             change a parameter (checked against the document)\n"
    "  add OBJECT-PATH N          add instance N of a multi-instance object\n"
    "  del INSTANCE-PATH [N]      delete an instance\n"
    "  sync                       write changed files to the card; names each file\n"
    "                             left unwritten\n"
    "  restore                    reset the files marked for restore\n"
    "  first-online               give the WAN list file its default WAN reference\n"
    "  dump                       the in-memory document as XML\n"
    "  tree [--json]              every data-model path served, with its value\n"
    "  paths                      every data-model path served\n"
    "  card ls [--json]           card files: size and update bit\n"
    "  card cat [--hex] FILE      a card file's record text (--hex: a hex dump)\n"
    "  card check [--json]        find card files whose record text is broken\n"
    "  card repair FILE...        mend broken card files: records that survived,\n"
    "                             the rest from the factory contents; before\n"
    "                             commands that read or change values\n"
    "  card reset FILE...         reset card files to factory contents\n"
    "  card apdu HEX...           send one raw command CLA INS P1 P2 P3 [DATA];\n"
    "                             the last command of a line\n"
    "\n"
    "Options:\n"
    "      --virtual=IMAGE   use a virtual card loaded from a card image, saved\n"
    "                        back when the card changed\n"
    "  -c, --config=FILE     configuration document for the virtual card's sandbox\n"
    "      --sandbox=DIR     directory standing for / (default: IMAGE.d)\n"
    "  -t, --trace[=hex]     print every card command and status word (hex: the\n"
    "                        bytes both ways)\n"
    "      --pcap=FILE       write every card exchange to FILE as GSMTAP (SIM)\n"
    "                        frames for Wireshark\n"
    "  -q, --quiet           drop the library's own console messages\n"
    "  -f, --force           pass values on unchecked, and change the card even\n"
    "                        while another process holds the device open\n"
    "  -v, --values          (get) values only, one per line\n"
    "      --json            (get, tree, card ls, card check) JSON output\n"
    "      --hex             (card cat) hex dump\n"
    "  -h, --help            this help\n"
    "      --version         the versions of simcardctl and libsimcard\n"
    "\n"
    "Options may stand anywhere: -v, --json and --hex belong to the command they\n"
    "stand beside, the others apply to the whole line. Results go to standard\n"
    "output; the library's messages and the trace to standard error.\n"
    "Exit status: 0 when every command did what it reported, 1 when one failed,\n"
    "2 for wrong usage.\n";

namespace {

enum LongOnly { kVirtual = 256, kSandbox, kPcap, kJson, kHex, kVersion };

constexpr const char *kShort = "+:c:t::qfvh";
const struct option kLong[] = {
    {"virtual", required_argument, nullptr, kVirtual},
    {"config", required_argument, nullptr, 'c'},
    {"sandbox", required_argument, nullptr, kSandbox},
    {"pcap", required_argument, nullptr, kPcap},
    {"trace", optional_argument, nullptr, 't'},
    {"quiet", no_argument, nullptr, 'q'},
    {"force", no_argument, nullptr, 'f'},
    {"values", no_argument, nullptr, 'v'},
    {"json", no_argument, nullptr, kJson},
    {"hex", no_argument, nullptr, kHex},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

struct Arity {
    const char *name;
    size_t min;
    size_t max;
    const char *usage;
};

constexpr size_t kMany = static_cast<size_t>(-1);
const Arity kCommands[] = {
    {"get", 1, kMany, "get [-v] [--json] PATH..."},
    {"set", 2, 2, "set PATH VALUE"},
    {"add", 2, 2, "add OBJECT-PATH N"},
    {"del", 1, 2, "del INSTANCE-PATH [N]"},
    {"sync", 0, 0, "sync"},
    {"restore", 0, 0, "restore"},
    {"first-online", 0, 0, "first-online"},
    {"dump", 0, 0, "dump"},
    {"tree", 0, 0, "tree [--json]"},
    {"paths", 0, 0, "paths"},
    {"card ls", 0, 0, "card ls [--json]"},
    {"card cat", 1, 1, "card cat [--hex] FILE"},
    {"card check", 0, 0, "card check [--json]"},
    {"card repair", 1, kMany, "card repair FILE..."},
    {"card reset", 1, kMany, "card reset FILE..."},
    {"card apdu", 1, kMany, "card apdu HEX..."},
};

bool option_like(const std::string &word) { return word.size() > 1 && word[0] == '-'; }

// Runs getopt_long over words[from...] up to the first operand; returns how
// many words it took.
size_t take_options(const std::vector<std::string> &words, size_t from, Options &o, Command &c) {
    std::vector<char *> argv = {const_cast<char *>("simcardctl")};
    for (size_t i = from; i < words.size(); ++i) {
        argv.push_back(const_cast<char *>(words[i].c_str()));
    }
    argv.push_back(nullptr);
    const int argc = static_cast<int>(argv.size() - 1);
    optind = 0;  // start afresh on this vector
    opterr = 0;
    int opt;
    while ((opt = getopt_long(argc, argv.data(), kShort, kLong, nullptr)) != -1) {
        const std::string word = argv[optind - 1];
        switch (opt) {
            case kVirtual:
                o.image = optarg;
                break;
            case 'c':
                o.config = optarg;
                break;
            case kSandbox:
                o.sandbox = optarg;
                break;
            case kPcap:
                o.pcap = optarg;
                break;
            case 't':
                if (optarg == nullptr) {
                    o.trace = Trace::Lines;
                } else if (std::string(optarg) == "hex") {
                    o.trace = Trace::Hex;
                } else {
                    throw UsageError("--trace takes no value or \"hex\", not \"" +
                                     std::string(optarg) + "\"");
                }
                break;
            case 'q':
                o.quiet = true;
                break;
            case 'f':
                o.force = true;
                break;
            case 'v':
                c.values_only = true;
                break;
            case kJson:
                c.json = true;
                break;
            case kHex:
                c.hex = true;
                break;
            case 'h':
                o.help = true;
                break;
            case kVersion:
                o.version = true;
                break;
            case ':':
                throw UsageError("option " + word + " needs a value");
            default:
                if (optopt != 0 && word.size() == 2) {
                    throw UsageError(std::string("unknown option -") + static_cast<char>(optopt));
                }
                throw UsageError("unknown option " + word.substr(0, word.find('=')));
        }
    }
    return static_cast<size_t>(optind - 1);
}

long positive(const std::string &text, const char *what) {
    char *end = nullptr;
    const long n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || n < 1 || n > 0xFFFF) {
        throw UsageError(std::string(what) + " must be a positive integer, not \"" + text + "\"");
    }
    return n;
}

void check_file_id(const std::string &text) {
    char *end = nullptr;
    const long id = std::strtol(text.c_str(), &end, 16);
    if (text.empty() || *end != '\0' || id < static_cast<long>(model::kFirstFile) ||
        id > static_cast<long>(model::kLastFile)) {
        throw UsageError("card file id must be hexadecimal, 6F02 to 6FDA, not \"" + text + "\"");
    }
}

void check_operands(const Command &c) {
    const std::string name = c.name();
    const Arity *arity = nullptr;
    for (const Arity &a : kCommands) {
        if (name == a.name) arity = &a;
    }
    if (arity == nullptr) {
        if (name == "card") throw UsageError("card needs ls, cat, check, repair, reset or apdu");
        throw UsageError("unknown command " + name);
    }
    const std::vector<std::string> args = c.operands();
    if (args.size() < arity->min || args.size() > arity->max) {
        throw UsageError(std::string("usage: ") + arity->usage);
    }
    if (c.values_only && name != "get") throw UsageError("-v goes with get");
    if (c.values_only && c.json) throw UsageError("-v and --json exclude each other");
    if (c.json && name != "get" && name != "tree" && name != "card ls" && name != "card check") {
        throw UsageError("--json goes with get, tree, card ls and card check");
    }
    if (c.hex && name != "card cat") throw UsageError("--hex goes with card cat");
    if ((name == "add" || name == "del") && args[0].back() != '.') {
        throw UsageError(name + " takes a path that ends with a dot, not \"" + args[0] + "\"");
    }
    if (name == "add") positive(args[1], "instance number");
    if (name == "del" && args.size() == 2) positive(args[1], "instance number");
    if (name == "card cat" || name == "card reset" || name == "card repair") {
        for (const auto &id : args) check_file_id(id);
    }
    if (name == "card apdu") {
        std::string hex;
        for (const auto &a : args) hex += a;
        if (hex.size() < 10 || hex.size() % 2 != 0 ||
            hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            throw UsageError("card apdu takes hexadecimal bytes: CLA INS P1 P2 P3 [DATA]");
        }
        const size_t data = hex.size() / 2 - 5;
        const unsigned long p3 = std::strtoul(hex.substr(8, 2).c_str(), nullptr, 16);
        if (data != 0 && data != p3) {
            throw UsageError("card apdu: P3 is " + std::to_string(p3) + " but " +
                             std::to_string(data) + " data bytes follow");
        }
    }
}

}  // namespace

std::string Command::name() const {
    if (words.empty()) return {};
    if (words[0] == "card" && words.size() > 1) return "card " + words[1];
    return words[0];
}

std::vector<std::string> Command::operands() const {
    const size_t skip = words.empty() ? 0 : (words[0] == "card" && words.size() > 1 ? 2 : 1);
    return {words.begin() + static_cast<long>(skip), words.end()};
}

Options parse_options(int argc, char **argv) {
    Options o;
    std::vector<std::vector<std::string>> segments(1);
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--") {
            segments.emplace_back();
        } else {
            segments.back().emplace_back(argv[i]);
        }
    }
    for (const auto &words : segments) {
        Command c;
        for (size_t i = 0; i < words.size();) {
            // The value of set is taken as it is, a leading "-" included.
            const bool value_of_set = c.words.size() == 2 && c.words[0] == "set";
            const size_t taken =
                value_of_set || !option_like(words[i]) ? 0 : take_options(words, i, o, c);
            if (taken > 0) {
                i += taken;
            } else {
                c.words.push_back(words[i++]);
            }
        }
        o.commands.push_back(std::move(c));
    }
    if (o.help || o.version) {
        return o;
    }
    if (o.commands.size() == 1 && o.commands[0].words.empty()) {
        throw UsageError("no command given");
    }
    bool values_used = false;  // by a command before this one
    for (size_t i = 0; i < o.commands.size(); ++i) {
        const Command &c = o.commands[i];
        if (c.words.empty()) throw UsageError("missing command between --");
        check_operands(c);
        if (c.name() == "card repair" && values_used) {
            throw UsageError(
                "card repair must come before the commands that read or change values: "
                "the library's memory would not see the repaired file");
        }
        values_used = values_used || c.words[0] != "card";
        if (c.name() == "card apdu" && i + 1 != o.commands.size()) {
            throw UsageError(
                "card apdu must be the last command: the library no longer knows "
                "what the card has selected");
        }
    }
    if (!o.image && (o.config || o.sandbox)) {
        throw UsageError("--config and --sandbox go with --virtual");
    }
    return o;
}

}  // namespace simcard::tool
