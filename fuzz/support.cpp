#include "fuzz/support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "sal/lifecycle/state.h"

namespace {
const simcard_platform *g_table = nullptr;
}

// The library looks for this hook on every system call it makes.
extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::fuzz {
namespace {

std::string read_sample(const char *name) {
    const std::string path = std::string(SIMCARD_SAMPLE_DIR) + "/" + name;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The log cannot be opened, which the library passes over in silence.
FILE *open_without_log(void *ctx, const char *path, const char *mode) {
    if (path != nullptr && std::strcmp(path, SIMCARD_PATH_LOG) == 0) {
        return nullptr;
    }
    return static_cast<vcard::VirtualPlatform *>(ctx)->fopen(path, mode);
}

}  // namespace

void silence_stdout() {
    const char *keep = std::getenv("FUZZ_STDOUT");
    if (keep == nullptr || std::strcmp(keep, "1") != 0) {
        if (std::freopen("/dev/null", "w", stdout) == nullptr) {
            std::perror("/dev/null");
        }
    }
}

Bench::Bench() : sample_document_(read_sample("simcardconfig.xml")) {
    std::istringstream image(read_sample("card.img"));
    sample_card_.load_image(image);
    restore_document();
}

void Bench::write_document(std::string_view text) const {
    sandbox_.write_file(SIMCARD_PATH_CONFIG, text);
}

void Bench::restore_document() const { write_document(sample_document_); }

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

}  // namespace simcard::fuzz
