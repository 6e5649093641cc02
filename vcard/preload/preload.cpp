// libsimcard-virtual.so: the virtual card under an unchanged program.
//
// Loaded with LD_PRELOAD beside libsimcard.so, it defines the seam's hook, so
// that the library runs on a virtual card loaded from a card image, with its
// fixed paths in a sandbox directory. Its own environment configures it:
//
//   SIMCARD_VIRTUAL_IMAGE    the card image (required)
//   SIMCARD_VIRTUAL_SANDBOX  the directory standing for "/" (default IMAGE.d)
//   SIMCARD_VIRTUAL_CONFIG   a configuration document copied into the sandbox
//   SIMCARD_VIRTUAL_TRACE    a file that gets one line per card command, or
//                            "-" for standard error
//   SIMCARD_VIRTUAL_PCAP     a pcap file, made anew, that gets every card
//                            exchange as a GSMTAP frame stamped with the
//                            virtual clock
//
// Nothing is read or made until the library first asks for the hook, so the
// programs a gateway program starts, which inherit LD_PRELOAD, leave the image
// alone unless they use the library themselves.
//
// The image is rewritten after every card command that changed the card,
// through a new file renamed over it: however the process ends (exit, _exit,
// a crash, a kill), the image holds the card as of its last completed command.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "hal/platform.h"
#include "vcard/pcap.h"
#include "vcard/tap.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::vcard {
namespace {

namespace fs = std::filesystem;

constexpr const char *kName = "libsimcard-virtual";

std::string env(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string image_text(const VirtualCard &card) {
    std::ostringstream text;
    card.save_image(text);
    return text.str();
}

// Null when no trace is asked for.
FILE *open_trace(const std::string &trace) {
    if (trace.empty()) {
        return nullptr;
    }
    if (trace == "-") {
        return stderr;
    }
    FILE *file = std::fopen(trace.c_str(), "a");
    if (file == nullptr) {
        throw std::runtime_error("cannot open trace file " + trace + ": " + std::strerror(errno));
    }
    return file;
}

class Preload {
public:
    Preload();
    Preload(const Preload &) = delete;
    Preload &operator=(const Preload &) = delete;

    const simcard_platform *table() const { return tap_->table(); }

private:
    void keep_card();
    void save_if_changed();

    VirtualCard card_;
    std::unique_ptr<VirtualPlatform> platform_;
    std::unique_ptr<Tap> tap_;
    std::string image_;
    std::string saved_;  // the text the image file holds
};

Preload::Preload() {
    const std::string image = env("SIMCARD_VIRTUAL_IMAGE");
    if (image.empty()) {
        throw std::runtime_error("SIMCARD_VIRTUAL_IMAGE names no card image");
    }
    card_.load_image_file(image);
    // The file itself, wherever the program goes and however the image was named.
    image_ = fs::canonical(image).string();
    saved_ = image_text(card_);

    std::string sandbox = env("SIMCARD_VIRTUAL_SANDBOX");
    sandbox = fs::absolute(sandbox.empty() ? image + ".d" : sandbox).lexically_normal().string();
    while (sandbox.size() > 1 && sandbox.back() == '/') {
        sandbox.pop_back();
    }
    prepare_sandbox(sandbox, env("SIMCARD_VIRTUAL_CONFIG"));
    platform_ = std::make_unique<VirtualPlatform>(card_, sandbox);

    // Every entry of the virtual platform, whatever the seam holds, with the
    // ioctl tapped.
    tap_ = std::make_unique<Tap>(*platform_->table());
    if (FILE *trace = open_trace(env("SIMCARD_VIRTUAL_TRACE"))) {
        tap_->add_sink([trace](const TraceEntry &entry, const struct timeval &) {
            write_trace(trace, entry, false);
        });
    }
    if (const std::string pcap = env("SIMCARD_VIRTUAL_PCAP"); !pcap.empty()) {
        auto writer = std::make_shared<PcapWriter>(pcap);
        tap_->add_sink([writer, pcap](const TraceEntry &entry, const struct timeval &when) mutable {
            // Said once, and the program goes on: the card matters more.
            if (writer && !writer->write(entry, when)) {
                std::fprintf(stderr, "%s: cannot write %s; the pcap ends here\n", kName,
                             pcap.c_str());
                writer.reset();
            }
        });
    }
    tap_->add_sink([this](const TraceEntry &, const struct timeval &) { keep_card(); });
    std::fprintf(stderr, "%s: card image %s, sandbox %s\n", kName, image_.c_str(), sandbox.c_str());
}

void Preload::keep_card() {
    // A gateway program runs for long: what the card and the clock record
    // must not grow with it.
    card_.clear_trace();
    platform_->clear_sleeps();
    save_if_changed();
}

void Preload::save_if_changed() {
    std::string text = image_text(card_);
    if (text == saved_) {
        return;
    }
    const std::string next = image_ + ".new";
    {
        std::ofstream out(next, std::ios::binary | std::ios::trunc);
        out << text;
        out.flush();
        if (!out) {
            std::fprintf(stderr, "%s: cannot write %s\n", kName, next.c_str());
            return;
        }
    }
    if (std::rename(next.c_str(), image_.c_str()) != 0) {
        std::fprintf(stderr, "%s: cannot replace %s: %s\n", kName, image_.c_str(),
                     std::strerror(errno));
        return;
    }
    saved_ = std::move(text);
}

const simcard_platform *start() {
    try {
        // Never freed: the library may call until the very end of the process.
        return (new Preload())->table();
    } catch (const std::exception &e) {
        // Without its card the program would run on the real system: stop it.
        std::fprintf(stderr, "%s: %s\n", kName, e.what());
        std::fflush(nullptr);
        _exit(1);
    }
}

}  // namespace
}  // namespace simcard::vcard

extern "C" const simcard_platform *simcard_platform_override(void) {
    static const simcard_platform *const table = simcard::vcard::start();
    return table;
}
