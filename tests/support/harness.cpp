#include "tests/support/harness.h"

#include <cstdio>

#include "sal/lifecycle/state.h"
#include "simcard.h"

namespace {
const simcard_platform *g_installed = nullptr;
}

// The library looks for this hook on every system call it makes.
extern "C" const simcard_platform *simcard_platform_override(void) { return g_installed; }

namespace simcard::testing {

void install(const simcard_platform *table) { g_installed = table; }

CardTest::CardTest() : platform(card, sandbox_.path()) {
    lifecycle::reset_process_state();
    install(platform.table());
}

CardTest::~CardTest() {
    if (capturing_) {
        captured();
    }
    lifecycle::reset_process_state();
    install(nullptr);
}

std::string CardTest::path(const char *fixed) const { return sandbox_.path(fixed); }

void CardTest::write_file(const char *fixed_path, std::string_view text) const {
    sandbox_.write_file(fixed_path, text);
}

std::string CardTest::read_file(const char *fixed_path) const {
    return sandbox_.read_file(fixed_path);
}

bool CardTest::exists(const char *fixed_path) const { return sandbox_.exists(fixed_path); }

void CardTest::open_device() { ASSERT_EQ(0, sim_card_init()); }

void CardTest::capture() {
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
    capturing_ = true;
}

std::string CardTest::captured() {
    std::fflush(stdout);
    capturing_ = false;
    return ::testing::internal::GetCapturedStdout();
}

}  // namespace simcard::testing
