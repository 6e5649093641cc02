// simcardctl: look at and change a configuration card through libsimcard.
//
// On a gateway it uses the real device and paths. With --virtual IMAGE it runs
// against a virtual card loaded from a card image, with the library's fixed
// paths in a sandbox directory, and saves the image back when the card changed.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "simcard.h"
#include "tools/simcardctl/commands.h"
#include "tools/simcardctl/console.h"
#include "tools/simcardctl/guard.h"
#include "tools/simcardctl/options.h"
#include "tools/simcardctl/text.h"
#include "tools/simcardctl/tool_platform.h"
#include "vcard/pcap.h"
#include "vcard/tap.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace fs = std::filesystem;
using namespace simcard;

namespace {

// Serialises invocations on a gateway; under --virtual the image itself is
// locked.
constexpr const char *kLockFile = "/var/lock/simcardctl.lock";
// For tests only: the device whose holders are looked for, which makes the
// look happen under --virtual too.
constexpr const char *kTestDevice = "SIMCARDCTL_TEST_DEVICE";

bool changes_card(const tool::Command &c) {
    const std::string name = c.name();
    return name == "set" || name == "add" || name == "del" || name == "sync" || name == "restore" ||
           name == "first-online" || name == "card reset" || name == "card repair" ||
           name == "card apdu";
}

// Refuses a line that changes the card while another process holds the
// device open: its own card commands would interleave with ours.
void check_holders(const tool::Options &o) {
    const char *test_device = std::getenv(kTestDevice);
    if (o.force || (o.image && test_device == nullptr)) return;
    bool changing = false;
    for (const auto &c : o.commands) changing = changing || changes_card(c);
    if (!changing) return;
    const std::string device = test_device != nullptr ? test_device : SIMCARD_PATH_DEVICE;
    const std::vector<std::string> holders = tool::holders_of(device);
    if (holders.empty()) return;
    std::string names;
    for (const auto &h : holders) names += (names.empty() ? "" : ", ") + tool::printable(h);
    throw tool::Failure(device + " is open in " + names +
                        ": its card commands would interleave with these changes; stop it "
                        "first, or give --force");
}

std::string image_text(const vcard::VirtualCard &card) {
    std::ostringstream s;
    card.save_image(s);
    return s.str();
}

int run(const tool::Options &o) {
    std::unique_ptr<tool::Lock> lock;
    std::unique_ptr<vcard::VirtualCard> card;
    std::unique_ptr<vcard::VirtualPlatform> virt;
    std::string before;
    if (o.image) {
        if (!fs::is_regular_file(*o.image)) {
            throw tool::Failure("cannot read card image " + *o.image +
                                " (sample/card.img of the sources is one)");
        }
        lock = std::make_unique<tool::Lock>(*o.image);
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
        if (!o.quiet) std::fprintf(stderr, "simcardctl: sandbox %s\n", sandbox.c_str());
    } else {
        std::error_code ec;  // a missing directory shows as the lock's own error
        fs::create_directories(fs::path(kLockFile).parent_path(), ec);
        lock = std::make_unique<tool::Lock>(kLockFile);
    }
    check_holders(o);

    tool::Console console(o.quiet);
    const simcard_platform &base = virt ? *virt->table() : sys::real();
    vcard::Tap tap(base);
    if (o.trace != tool::Trace::Off) {
        const bool hex = o.trace == tool::Trace::Hex;
        tap.add_sink([&console, hex](const vcard::TraceEntry &e, const timeval &) {
            console.pump();  // the library's lines before the command, in order
            vcard::write_trace(stderr, e, hex);
        });
    }
    std::unique_ptr<vcard::PcapWriter> pcap;
    if (o.pcap) {
        try {
            pcap = std::make_unique<vcard::PcapWriter>(*o.pcap);
        } catch (const std::exception &e) {
            throw tool::Failure(e.what());
        }
        tap.add_sink(
            [&pcap](const vcard::TraceEntry &e, const timeval &when) { pcap->write(e, when); });
    }
    tool::install(tap.table());
    auto resolved = [&base](const char *path) { return std::string(base.resolve(base.ctx, path)); };

    tool::Session session({console.results(), console, o.force, resolved(SIMCARD_PATH_LOG),
                           resolved(SIMCARD_PATH_CONFIG), o.image.has_value()});
    std::optional<std::string> failure;
    try {
        for (const auto &command : o.commands) session.run(command);
        session.finish();
    } catch (const std::exception &e) {
        failure = e.what();  // the image below still keeps what reached the card
    }
    console.pump();
    std::fflush(console.results());
    tool::install(nullptr);
    if (failure) {
        std::fprintf(stderr, "simcardctl: %s\n", failure->c_str());
        const std::vector<std::string> lost = session.unwritten();
        if (!lost.empty()) {
            std::string names;
            for (const auto &f : lost) names += "\n  " + f;
            std::fprintf(stderr, "simcardctl: changes in memory that did not reach the card:%s\n",
                         names.c_str());
        }
    }
    if (pcap && !o.quiet) {
        std::fprintf(stderr, "simcardctl: %zu card commands in %s\n", pcap->frames(),
                     o.pcap->c_str());
    }
    // The image is the card: what reached it stays, also after a failure.
    if (card && image_text(*card) != before) {
        card->save_image_file(*o.image);
        if (failure && !o.quiet) {
            std::fprintf(stderr, "simcardctl: the card changed before the failure; %s holds it\n",
                         o.image->c_str());
        }
    }
    return failure ? 1 : 0;
}

void usage_error(const std::string &what) {
    std::fprintf(stderr, "simcardctl: %s\nTry 'simcardctl --help' for more information.\n",
                 what.c_str());
}

}  // namespace

int main(int argc, char **argv) {
    tool::Options options;
    try {
        options = tool::parse_options(argc, argv);
    } catch (const tool::UsageError &e) {
        usage_error(e.what());
        return 2;
    }
    if (options.help) {
        std::fputs(tool::kHelp, stdout);
        return 0;
    }
    if (options.version) {
        std::printf("simcardctl %s\nlibsimcard %s (libsimcard.so.%d)\n", SIMCARD_VERSION_STRING,
                    SIMCARD_VERSION_STRING, SIMCARD_VERSION_MAJOR);
        return 0;
    }
    try {
        return run(options);
    } catch (const std::exception &e) {
        std::fflush(stdout);
        std::fprintf(stderr, "simcardctl: %s\n", e.what());
        return 1;
    }
}
