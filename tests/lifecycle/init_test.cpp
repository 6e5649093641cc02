#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

using Leds = std::vector<std::array<int, 3>>;

class Init : public testing::SampleTest {
protected:
    bool log_has(const std::string &line) const {
        return log().find("[simcard_init-N]  " + line) != std::string::npos;
    }
};

TEST_F(Init, AnAuthenticatedCardComesUpOnceAndASecondCallTouchesNothing) {
    ASSERT_EQ(0, simcard_init());
    EXPECT_EQ(1, isSimCardInitSuccessed());
    EXPECT_EQ((Leds{{49, 0, 19}}), platform.led_requests());
    EXPECT_TRUE(platform.sleeps().empty());
    EXPECT_FALSE(log_has("sim_card_auth failed!"));

    card.clear_trace();
    clear_log();
    EXPECT_EQ(0, simcard_init());
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("[simcard_init-N]  simcard has been inited!\n", log());
}

TEST_F(Init, AFailedAuthenticationIsShownAndStartUpGoesOn) {
    card.set_wrong_proof(true);
    ASSERT_EQ(0, simcard_init());
    EXPECT_EQ(1, isSimCardInitSuccessed());
    EXPECT_EQ((Leds{{49, 2, 3}}), platform.led_requests());
    EXPECT_TRUE(log_has("sim_card_auth failed!\n"));
    EXPECT_NE(nullptr, findFileNode(0x6F08));
}

TEST_F(Init, ACardOfflineThreeTimesFailsAndOnlineAtTheThirdAttemptIsTaken) {
    card.set_online(false);
    capture();
    EXPECT_EQ(-1, simcard_init());
    EXPECT_EQ(
        "sim card is offline,try again\nsim card is offline,try again\n"
        "sim card is offline,try again\ncheck the sim is online more than three times\n",
        captured());
    EXPECT_EQ((std::vector<unsigned>{1, 1, 1}), platform.sleeps());
    EXPECT_EQ(0, isSimCardInitSuccessed());

    platform.clear_sleeps();
    card.set_online(true);
    card.set_online_schedule({0, 0, 1});
    capture();
    EXPECT_EQ(0, simcard_init());
    EXPECT_NE(std::string::npos,
              captured().find("sim card is offline,try again\nsim card is offline,try again\n="));
    EXPECT_EQ((std::vector<unsigned>{1, 1}), platform.sleeps());
}

TEST_F(Init, ACardWithoutTheOperatorDirectoryIsRefused) {
    card.set_has_operator_directory(false);
    capture();
    EXPECT_EQ(-1, simcard_init());
    EXPECT_NE(std::string::npos, captured().find("[sal] simcard_init it's not CT sim card\n"));
    EXPECT_TRUE(platform.led_requests().empty());
    EXPECT_EQ(0, isSimCardInitSuccessed());
}

TEST_F(Init, AMissingOrBrokenDocumentAndFailuresOfDeviceOrUpdateStatusStopIt) {
    std::filesystem::remove(path(SIMCARD_PATH_CONFIG));
    EXPECT_EQ(-1, simcard_init());
    write_document("<SimCardConfig><DeviceInfo n=\"6F04\"");
    EXPECT_EQ(-1, simcard_init());
    EXPECT_EQ(0, platform.open_count());
    EXPECT_EQ(nullptr, ct_simcfg_root);
    EXPECT_TRUE(log_has("loadSimcardConfigxml failed!\n"));

    write_document(testing::sample_text("simcardconfig.xml"));
    platform.set_fail_open(true);
    EXPECT_EQ(-1, simcard_init());
    EXPECT_TRUE(log_has("sim_card_init failed!\n"));

    platform.set_fail_open(false);
    card.fail_ioctl(vcard::ins::kUpdateStatus);
    EXPECT_EQ(-1, simcard_init());
    EXPECT_EQ(0, isSimCardInitSuccessed());
    EXPECT_EQ(nullptr, findFileNode(0x6F08));
}

TEST(UpdateStatus, OneBitPerFileFromTheTopBitOf6F04) {
    unsigned char status[27] = {0x80};
    status[26] = 0x02;
    EXPECT_EQ(1, simcard_file_isupdated(0x6F04, status));
    EXPECT_EQ(0, simcard_file_isupdated(0x6F05, status));
    EXPECT_EQ(1, simcard_file_isupdated(0x6FDA, status));  // bit 1 of byte 26
    EXPECT_EQ(0, simcard_file_isupdated(0x6FD9, status));
    EXPECT_EQ(-1, simcard_file_isupdated(0x6F03, status));
    EXPECT_EQ(-1, simcard_file_isupdated(0x6FDB, status));
    EXPECT_EQ(-1, simcard_file_isupdated(0x6F04, nullptr));
}

}  // namespace
}  // namespace simcard
