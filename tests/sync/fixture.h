// The sample card and document, started up, for whole-file services.
#ifndef SIMCARD_TESTS_SYNC_FIXTURE_H
#define SIMCARD_TESTS_SYNC_FIXTURE_H

#include <sstream>
#include <string>
#include <string_view>

#include "sal/lifecycle/state.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard::testing {

inline constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";
inline constexpr const char *kInform =
    "InternetGatewayDevice.ManagementServer.PeriodicInformEnable";
inline constexpr const char *kDhcp =
    "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable";
inline constexpr const char *kMinAddress =
    "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.MinAddress";

class Started : public SampleTest {
protected:
    void SetUp() override {
        ASSERT_EQ(0, simcard_init());
        clear_log();
        card.clear_trace();
    }

    static std::string wf(int file) { return attr(findFileNode(file), "wf"); }

    // The process ends and the gateway boots again on the same card.
    void restart() {
        std::stringstream image;
        card.save_image(image);
        lifecycle::reset_process_state();
        card.load_image(image);
        ASSERT_EQ(0, simcard_init());
    }

    static std::string get(const std::string &path) {
        const char *value = simcard_getParamValueByUri(path.c_str());
        return value != nullptr ? value : "(null)";
    }
};

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_SYNC_FIXTURE_H
