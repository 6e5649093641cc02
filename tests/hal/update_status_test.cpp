#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;

class UpdateStatus : public CardTest {
protected:
    void SetUp() override {
        open_device();
        ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
    }

    // Data bytes of the last factory reset command.
    std::vector<uint8_t> last_reset() const {
        auto resets = card.commands(ins::kFactoryReset);
        return resets.empty() ? std::vector<uint8_t>{} : resets.back()->data;
    }
};

TEST_F(UpdateStatus, BitmapBitsFollowTheFileIdsFromSixF04) {
    card.add_file(0x6F04, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6F0C, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6FDA, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6F05, 4);
    unsigned char status[27] = {};
    ASSERT_EQ(0, hal_get_all_update_status(status));
    EXPECT_EQ(0x80, status[0]);
    EXPECT_EQ(0x80, status[1]);
    EXPECT_EQ(0x02, status[26]);  // 6FDA: bit 1 of the last byte

    capture();
    EXPECT_EQ(1, sim_card_get_update_status(0x6F04));
    EXPECT_EQ(1, sim_card_get_update_status(0x6F0C));
    EXPECT_EQ(0, sim_card_get_update_status(0x6F05));
    const std::string out = captured();
    const std::string dump =
        "\n------------------------------\n"
        "80 80 00 00 00 00 00 00 00 00 \n"
        "1 0 0 0 0 0 0 0 1 0 0 0 0 0 0 0 " +
        [] {
            std::string zeros;
            for (int i = 0; i < 64; ++i) zeros += "0 ";
            return zeros;
        }() +
        "\n";
    EXPECT_EQ(dump + "Yes\n" + dump + "Yes\n" + dump + "No\n", out);
}

TEST_F(UpdateStatus, RefusalsAreReportedInEachFunctionsOwnWords) {
    unsigned char status[27] = {};
    capture();
    EXPECT_EQ(-1, sim_card_get_update_status(0x6F03));
    EXPECT_EQ(-1, hal_get_all_update_status(nullptr));
    card.set_online(false);
    EXPECT_EQ(-1, hal_get_all_update_status(status));
    card.set_online(true);
    card.fail_status(ins::kUpdateStatus, 0x6D, 0x00, 0, 2);
    EXPECT_EQ(-1, hal_get_all_update_status(status));
    EXPECT_EQ(-1, sim_card_get_update_status(0x6F04));
    card.fail_ioctl(ins::kUpdateStatus, 0, 2);
    EXPECT_EQ(-1, hal_get_all_update_status(status));
    EXPECT_EQ(-1, sim_card_get_update_status(0x6F04));
    card.fail_ioctl(ins::kGetResponse, 0, 2);
    EXPECT_EQ(-1, hal_get_all_update_status(status));
    EXPECT_EQ(-1, sim_card_get_update_status(0x6F04));
    EXPECT_EQ(
        "libsimcard [sim_card_get_update_status] file id must large than 0x6F04 \n"
        "[hal] hal_get_all_update_status: Argument status is NULL\n"
        "[hal] hal_get_all_update_status: sim card is not online!\n"
        "[hal] hal_get_all_update_status: sim card response error SW = 6d 00\n"
        "libsimcard [sim_card_get_update_status] sim card response error SW = 6d 00\n"
        "[hal] hal_get_all_update_status: ioctl SIMIO_IOCTL_READ 1 error\n"
        "libsimcard [sim_card_get_update_status] ioctl SIMIO_IOCTL_READ 1 error\n"
        "libsimcard [__sim_card_get_response] ioctl read error\n"
        "[hal] hal_get_all_update_status: get response error\n"
        "libsimcard [__sim_card_get_response] ioctl read error\n"
        "libsimcard [sim_card_get_update_status] get response error\n",
        captured());
    // The refused file id sent nothing.
    EXPECT_EQ(6u, card.count(ins::kUpdateStatus));
}

TEST_F(UpdateStatus, AnOversizedBitmapCannotOverrunTheCaller) {
    card.set_pending_length(0xFF);
    unsigned char status[28];
    std::fill(std::begin(status), std::end(status), 0xAA);
    ASSERT_EQ(0, hal_get_all_update_status(status));
    EXPECT_EQ(0xAA, status[27]);  // only the 27 bitmap bytes are taken
    capture();
    EXPECT_EQ(0, sim_card_get_update_status(0x7700));  // beyond any answer: clear
    captured();
}

TEST_F(UpdateStatus, FactoryResetSendsTheBitmapUpToItsHighestByte) {
    unsigned short one[] = {0x6F04};
    ASSERT_EQ(0, sim_card_factory_reset(one, 1));
    EXPECT_EQ(std::vector<uint8_t>{0x20}, last_reset());
    EXPECT_EQ(1, card.commands(ins::kFactoryReset).back()->header[4]);

    unsigned short two[] = {0x6F02, 0x6F12};
    ASSERT_EQ(0, sim_card_factory_reset(two, 2));
    EXPECT_EQ((std::vector<uint8_t>{0x80, 0x00, 0x80}), last_reset());

    ASSERT_EQ(0, sim_card_factory_reset(nullptr, 0));
    EXPECT_EQ(std::vector<uint8_t>{0x00}, last_reset());

    EXPECT_EQ(0, sim_card_factory_resetall());
    std::vector<uint8_t> all(27, 0xFF);
    all.push_back(0x80);
    EXPECT_EQ(all, last_reset());
}

TEST_F(UpdateStatus, FactoryResetRestoresTheCardsFiles) {
    card.add_file(0x6F04, 16, "<P00=\"new\">", std::string_view("<P00=\"old\">"), true);
    unsigned short ids[] = {0x6F04};
    ASSERT_EQ(0, sim_card_factory_reset(ids, 1));
    EXPECT_EQ("<P00=\"old\">", card.text(0x6F04));
    EXPECT_FALSE(card.file(0x6F04)->updated);
}

TEST_F(UpdateStatus, FactoryResetFailures) {
    unsigned short ids[] = {0x6F04};
    unsigned short outside[] = {0x6F04, 0x7002};
    card.fail_status(ins::kFactoryReset, 0x98, 0x04);
    capture();
    EXPECT_EQ(-1, sim_card_factory_reset(ids, 1));
    card.fail_ioctl(ins::kFactoryReset);
    EXPECT_EQ(-1, sim_card_factory_reset(ids, 1));
    EXPECT_EQ(-1, sim_card_factory_reset(outside, 2));
    card.fail_ioctl(ins::kFactoryReset);
    EXPECT_EQ(0, sim_card_factory_resetall());
    EXPECT_EQ(
        "libsimcard [sim_card_factory_reset] file reset factory fail\n"
        "libsimcard [sim_card_factory_reset] ioctl write error\n"
        "libsimcard [sim_card_factory_reset] file reset factory fail\n"
        "libsimcard [sim_card_factory_reset] ioctl write error\n",
        captured());
    EXPECT_EQ(3u, card.count(ins::kFactoryReset));  // the out-of-range list sent nothing
}

}  // namespace
}  // namespace simcard
