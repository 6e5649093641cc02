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

class Preload {
public:
    Preload();
    Preload(const Preload &) = delete;
    Preload &operator=(const Preload &) = delete;

    const simcard_platform *table() const { return &table_; }

private:
    static int forward_ioctl(void *ctx, int fd, unsigned long request, void *arg);
    void after_command();
    void save_if_changed();

    VirtualCard card_;
    std::unique_ptr<VirtualPlatform> platform_;
    std::string image_;
    std::string saved_;  // the text the image file holds
    FILE *trace_ = nullptr;
    simcard_platform table_{};
};

// The one card of the process; the table's calls all carry the platform as
// their context, so the ioctl finds the rest here.
Preload *g_preload = nullptr;

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

    const std::string trace = env("SIMCARD_VIRTUAL_TRACE");
    if (trace == "-") {
        trace_ = stderr;
    } else if (!trace.empty()) {
        trace_ = std::fopen(trace.c_str(), "a");
        if (trace_ == nullptr) {
            throw std::runtime_error("cannot open trace file " + trace + ": " +
                                     std::strerror(errno));
        }
    }

    // Every entry of the virtual platform, whatever the seam holds, with the
    // ioctl wrapped.
    table_ = *platform_->table();
    table_.ioctl = forward_ioctl;
    std::fprintf(stderr, "%s: card image %s, sandbox %s\n", kName, image_.c_str(), sandbox.c_str());
}

int Preload::forward_ioctl(void *ctx, int fd, unsigned long request, void *arg) {
    const int rc = g_preload->platform_->table()->ioctl(ctx, fd, request, arg);
    g_preload->after_command();
    return rc;
}

void Preload::after_command() {
    if (trace_ != nullptr) {
        for (const std::string &line : card_.trace_lines()) {
            std::fprintf(trace_, "card: %s\n", line.c_str());
        }
        std::fflush(trace_);
    }
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
        g_preload = new Preload();
        return g_preload->table();
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
