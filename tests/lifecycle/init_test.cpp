#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

using testing::SampleTest;
namespace ins = vcard::ins;

using Led = std::array<int, 3>;
const Led kAuthPassed = {49, 0, 19};
const Led kAuthFailed = {49, 2, 3};

class Init : public SampleTest {
protected:
    bool has_instances() const { return findFileNode(0x6F08) != nullptr; }
    bool log_has(const std::string &line) const {
        return log().find("[simcard_init-N]  " + line) != std::string::npos;
    }
};

TEST_F(Init, AnAuthenticatedCardBringsTheLibraryUp) {
    ASSERT_EQ(0, simcard_init());
    EXPECT_EQ(1, isSimCardInitSuccessed());
    EXPECT_EQ(std::vector<Led>{kAuthPassed}, platform.led_requests());
    EXPECT_TRUE(platform.sleeps().empty());
    EXPECT_TRUE(has_instances());
    EXPECT_FALSE(log_has("sim_card_auth failed!"));
}

TEST_F(Init, AFailedAuthenticationIsShownAndStartUpGoesOn) {
    card.set_wrong_proof(true);
    ASSERT_EQ(0, simcard_init());
    EXPECT_EQ(1, isSimCardInitSuccessed());
    EXPECT_EQ(std::vector<Led>{kAuthFailed}, platform.led_requests());
    EXPECT_TRUE(log_has("sim_card_auth failed!\n"));
    EXPECT_TRUE(has_instances());
}

TEST_F(Init, ACardOnlineAtTheThirdAttemptIsAcceptedAfterTwoSeconds) {
    card.set_online_schedule({0, 0, 1});
    capture();
    ASSERT_EQ(0, simcard_init());
    const std::string out = captured();
    EXPECT_EQ((std::vector<unsigned>{1, 1}), platform.sleeps());
    EXPECT_EQ(0u, out.find("sim card is offline,try again\nsim card is offline,try again\n="))
        << out;
}

TEST_F(Init, ACardNeverOnlineFailsAfterThreeSeconds) {
    card.set_online(false);
    capture();
    EXPECT_EQ(-1, simcard_init());
    EXPECT_EQ(
        "sim card is offline,try again\n"
        "sim card is offline,try again\n"
        "sim card is offline,try again\n"
        "check the sim is online more than three times\n",
        captured());
    EXPECT_EQ((std::vector<unsigned>{1, 1, 1}), platform.sleeps());
    EXPECT_EQ(0, isSimCardInitSuccessed());
    EXPECT_EQ(0u, card.count(ins::kSelect));

    // A later call runs the whole sequence again.
    card.set_online(true);
    EXPECT_EQ(0, simcard_init());
    EXPECT_EQ(1, isSimCardInitSuccessed());
}

TEST_F(Init, ACardWithoutTheOperatorDirectoryIsRefused) {
    card.set_has_operator_directory(false);
    capture();
    EXPECT_EQ(-1, simcard_init());
    EXPECT_EQ(
        "[hal] hal_selectCurrentDir select dir error\n"
        "[sal] simcard_init it's not CT sim card\n",
        captured());
    EXPECT_NE(nullptr, ct_simcfg_root);
    EXPECT_EQ(1, platform.open_count());
    EXPECT_TRUE(platform.led_requests().empty());
    EXPECT_EQ(0, isSimCardInitSuccessed());
}

TEST_F(Init, ASecondCallTouchesNothing) {
    ASSERT_EQ(0, simcard_init());
    card.clear_trace();
    clear_log();
    EXPECT_EQ(0, simcard_init());
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("[simcard_init-N]  simcard has been inited!\n", log());
    EXPECT_EQ(1u, platform.led_requests().size());
}

TEST_F(Init, AMissingOrBrokenDocumentStopsBeforeTheDevice) {
    std::filesystem::remove(path(SIMCARD_PATH_CONFIG));
    EXPECT_EQ(-1, simcard_init());
    write_document("<SimCardConfig><DeviceInfo n=\"6F04\"");
    EXPECT_EQ(-1, simcard_init());
    EXPECT_EQ(0, platform.open_count());
    EXPECT_EQ(nullptr, ct_simcfg_root);
    const std::string text = log();
    EXPECT_NE(std::string::npos, text.find("[simcard_init-N]  loadSimcardConfigxml failed!\n"));
    EXPECT_EQ(2u, [&] {
        size_t n = 0;
        for (size_t at = text.find("load failed rc="); at != std::string::npos;
             at = text.find("load failed rc=", at + 1)) {
            ++n;
        }
        return n;
    }());
}

TEST_F(Init, FailuresOfTheDeviceAndTheUpdateStatusLeaveTheFlagClear) {
    platform.set_fail_open(true);
    EXPECT_EQ(-1, simcard_init());
    EXPECT_TRUE(log_has("sim_card_init failed!\n"));

    platform.set_fail_open(false);
    card.fail_ioctl(ins::kUpdateStatus);
    capture();
    EXPECT_EQ(-1, simcard_init());
    EXPECT_NE(std::string::npos,
              captured().find("[sal] simcard_init: get all update status failed\n"));
    EXPECT_EQ(0, isSimCardInitSuccessed());
    EXPECT_FALSE(has_instances());
}

}  // namespace
}  // namespace simcard
