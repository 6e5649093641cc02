// simcardctl: look at and change a configuration card through libsimcard.
//
// On a gateway it uses the real device and paths. With --virtual IMAGE it runs
// against a virtual card loaded from a card image, with the library's fixed
// paths in a sandbox directory, and saves the image back when the card changed.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/simcardctl/commands.h"
#include "tools/simcardctl/tool_platform.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace fs = std::filesystem;
using namespace simcard;

namespace {

constexpr const char *kUsage =
    "usage: simcardctl [--virtual IMAGE [--config FILE] [--sandbox DIR]] [--trace] [--quiet]\n"
    "                  COMMAND [ARGS] [-- COMMAND [ARGS]]...\n"
    "\n"
    "commands (several, separated by --, run in one library session):\n"
    "  get PATH...              values of data-model parameters\n"
    "  set PATH VALUE           change a parameter in memory (sync writes it)\n"
    "  add OBJECT-PATH N        add instance N of a multi-instance object\n"
    "  del INSTANCE-PATH N      delete an instance\n"
    "  sync                     write changed files to the card\n"
    "  restore                  reset the files marked for restore to factory contents\n"
    "  first-online             give the WAN list file its default WAN reference\n"
    "  dump                     the in-memory document as XML\n"
    "  tree                     the data-model paths the document serves, with values\n"
    "  card ls                  card files of the document: size and update bit\n"
    "  card cat FILE            a card file's record text\n"
    "  card reset FILE...       reset card files to factory contents\n"
    "\n"
    "options:\n"
    "  --virtual IMAGE  use a virtual card loaded from IMAGE; saved back when changed\n"
    "  --config FILE    configuration document for the virtual card's sandbox\n"
    "  --sandbox DIR    directory standing for / (default: IMAGE.d)\n"
    "  --trace          print every card command and status word as it happens\n"
    "  --quiet          drop the library's own console messages\n"
    "\n"
    "Results go to standard output; the library's messages and the trace to standard error.\n";

struct Options {
    std::optional<std::string> image;
    std::optional<std::string> config;
    std::optional<std::string> sandbox;
    bool trace = false;
    bool quiet = false;
    std::vector<std::vector<std::string>> commands;
};

Options parse(int argc, char **argv) {
    Options o;
    int i = 1;
    auto value = [&](const char *flag) {
        if (i + 1 >= argc) {
            throw tool::UsageError(std::string(flag) + " needs a value");
        }
        return std::string(argv[++i]);
    };
    for (; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--virtual") {
            o.image = value("--virtual");
        } else if (a == "--config") {
            o.config = value("--config");
        } else if (a == "--sandbox") {
            o.sandbox = value("--sandbox");
        } else if (a == "--trace") {
            o.trace = true;
        } else if (a == "--quiet") {
            o.quiet = true;
        } else if (a == "-h" || a == "--help") {
            throw tool::UsageError("");
        } else if (a.rfind("--", 0) == 0 && a != "--") {
            throw tool::UsageError("unknown option " + a);
        } else {
            break;
        }
    }
    o.commands.emplace_back();
    for (; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--") {
            o.commands.emplace_back();
        } else {
            o.commands.back().push_back(a);
        }
    }
    for (const auto &c : o.commands) {
        if (c.empty()) {
            throw tool::UsageError("missing command");
        }
    }
    if (!o.image && (o.config || o.sandbox)) {
        throw tool::UsageError("--config and --sandbox go with --virtual");
    }
    return o;
}

std::string image_text(const vcard::VirtualCard &card) {
    std::ostringstream s;
    card.save_image(s);
    return s.str();
}

// The library prints on standard output; results must stay apart from that.
FILE *take_stdout(bool quiet) {
    const int results = dup(STDOUT_FILENO);
    FILE *out = results >= 0 ? fdopen(results, "w") : nullptr;
    if (out == nullptr) {
        throw std::runtime_error("cannot duplicate standard output");
    }
    std::fflush(stdout);
    if (quiet) {
        FILE *null = std::freopen("/dev/null", "w", stdout);
        (void)null;
    } else {
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    return out;
}

int run(const Options &o) {
    FILE *out = take_stdout(o.quiet);
    std::unique_ptr<vcard::VirtualCard> card;
    std::unique_ptr<vcard::VirtualPlatform> virt;
    std::string before;

    if (o.image) {
        if (!fs::exists(*o.image)) {
            throw tool::Failure("cannot read card image " + *o.image);
        }
        card = std::make_unique<vcard::VirtualCard>();
        try {
            card->load_image_file(*o.image);
        } catch (const std::exception &e) {
            throw tool::Failure(e.what());
        }
        before = image_text(*card);
        const std::string sandbox = o.sandbox ? *o.sandbox : *o.image + ".d";
        vcard::prepare_sandbox(sandbox, o.config.value_or(""));
        virt = std::make_unique<vcard::VirtualPlatform>(*card, sandbox);
        std::fprintf(stderr, "simcardctl: sandbox %s\n", sandbox.c_str());
    }

    const simcard_platform &base = virt ? *virt->table() : sys::real();
    tool::TracingPlatform traced(base, o.trace ? stderr : nullptr);
    tool::install(traced.table());

    tool::Session session(out);
    for (const auto &command : o.commands) {
        session.run(command);
    }
    std::fflush(out);

    if (card && image_text(*card) != before) {
        card->save_image_file(*o.image);
    }
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return run(parse(argc, argv));
    } catch (const tool::UsageError &e) {
        if (*e.what() != '\0') {
            std::fprintf(stderr, "simcardctl: %s\n", e.what());
        }
        std::fputs(kUsage, stderr);
        return 2;
    } catch (const std::exception &e) {
        std::fflush(stdout);
        std::fprintf(stderr, "simcardctl: %s\n", e.what());
        return 1;
    }
}
