#include "fuzz/support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "sal/lifecycle/state.h"

namespace {
const simcard_platform *g_table = nullptr;
}

// The library looks for this hook on every system call it makes.
extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

// The library prints on every failure, which would drown libFuzzer's own
// lines; FUZZ_STDOUT=1 keeps it, for looking at one input.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    const char *keep = std::getenv("FUZZ_STDOUT");
    if ((keep == nullptr || std::strcmp(keep, "1") != 0) &&
        std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::perror("/dev/null");
    }
    return 0;
}

namespace simcard::fuzz {
namespace {

const std::string kSampleDir = SIMCARD_SAMPLE_DIR;

// The log cannot be opened, which the library passes over in silence.
FILE *open_without_log(void *ctx, const char *path, const char *mode) {
    if (path != nullptr && std::strcmp(path, SIMCARD_PATH_LOG) == 0) {
        return nullptr;
    }
    return static_cast<vcard::VirtualPlatform *>(ctx)->fopen(path, mode);
}

}  // namespace

Bench::Bench() {
    sample_card_.load_image_file(kSampleDir + "/card.img");
    sandbox_.make_dirs("etc");
    std::filesystem::copy_file(kSampleDir + "/simcardconfig.xml",
                               sandbox_.path(SIMCARD_PATH_CONFIG));
}

void Bench::write_document(std::string_view text) const {
    sandbox_.write_file(SIMCARD_PATH_CONFIG, text);
}

const Bench &bench() {
    static const Bench process_bench;
    return process_bench;
}

Session::Session(const vcard::VirtualCard &sample, const std::string &root)
    : card(sample), platform(card, root), table(*platform.table()) {
    lifecycle::reset_process_state();
    table.fopen = open_without_log;
}

Session::~Session() {
    lifecycle::reset_process_state();
    g_table = nullptr;
}

void Session::install() const { g_table = &table; }

Buffer::Buffer(size_t size, std::string_view text)
    : size_(std::max<size_t>(size, 1)), data_(new char[size_]()) {
    std::copy_n(text.data(), std::min(text.size(), size), data_.get());
}

std::string Buffer::text() const {
    const size_t n = strnlen(data_.get(), size_);
    if (n == size_) {
        __builtin_trap();  // no terminator inside the buffer
    }
    return std::string(data_.get(), n);
}

}  // namespace simcard::fuzz
