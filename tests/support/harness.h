// A virtual card, a sandbox and a counting clock under the library, per test.
#ifndef SIMCARD_TESTS_SUPPORT_HARNESS_H
#define SIMCARD_TESTS_SUPPORT_HARNESS_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "hal/platform.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::testing {

// Makes `table` the one the library uses; null restores the real system.
void install(const simcard_platform *table);

// Each test gets a fresh card with directory 7F80, a fresh sandbox standing
// for "/", and the library's state as at load, before and after.
class CardTest : public ::testing::Test {
protected:
    CardTest();
    ~CardTest() override;

    // The sandbox location of a fixed path such as "/logs/simcard_log".
    std::string path(const char *fixed) const;
    void write_file(const char *fixed_path, std::string_view text) const;
    std::string read_file(const char *fixed_path) const;
    bool exists(const char *fixed_path) const;

    // Opens the device through the library.
    void open_device();

    // Standard output of the library between the two calls.
    void capture();
    std::string captured();

    vcard::ScopedSandbox sandbox_;
    vcard::VirtualCard card;
    vcard::VirtualPlatform platform;

private:
    bool capturing_ = false;
};

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_SUPPORT_HARNESS_H
