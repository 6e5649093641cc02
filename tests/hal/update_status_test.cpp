#include <functional>
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
    void SetUp() override { open_device(); }
};

TEST_F(UpdateStatus, BitmapBitsFollowTheFileIdsFromSixF04) {
    card.add_file(0x6F04, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6F0C, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6FDA, 4, {}, {}, /*updated=*/true);
    unsigned char status[28];
    std::fill(std::begin(status), std::end(status), 0xAA);
    ASSERT_EQ(0, hal_get_all_update_status(status));
    EXPECT_EQ(0x02, status[26]);  // 6FDA: bit 1 of the last byte
    EXPECT_EQ(0xAA, status[27]);

    // Each test dumps the first ten bytes, in hex and in bits, then answers.
    const std::string dump =
        "\n------------------------------\n80 80 00 00 00 00 00 00 00 00 \n"
        "1 0 0 0 0 0 0 0 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 "
        "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 \n";
    const std::pair<unsigned short, int> cases[] = {{0x6F04, 1}, {0x6F0C, 1}, {0x6F05, 0}};
    for (const auto &[id, set] : cases) {
        capture();
        EXPECT_EQ(set, sim_card_get_update_status(id));
        EXPECT_EQ(dump + (set ? "Yes\n" : "No\n"), captured()) << std::hex << id;
    }

    // What the card does not deliver stays as the caller had it.
    std::fill(std::begin(status), std::end(status), 0xAA);
    card.set_short_read(5);
    ASSERT_EQ(0, hal_get_all_update_status(status));
    EXPECT_EQ(0x00, status[21]);
    EXPECT_EQ(0xAA, status[22]);
    card.clear_faults();
    card.set_pending_length(10);  // announces ten bytes only
    std::fill(std::begin(status), std::end(status), 0xAA);
    ASSERT_EQ(0, hal_get_all_update_status(status));
    EXPECT_EQ(0x80, status[0]);
    EXPECT_EQ(0x00, status[9]);
    EXPECT_EQ(0xAA, status[10]);

    card.set_pending_length(0xFF);  // a hostile card announces more than the bitmap
    ASSERT_EQ(0, hal_get_all_update_status(status));
    EXPECT_EQ(0xAA, status[27]);                       // only the 27 bitmap bytes are taken
    EXPECT_EQ(0, sim_card_get_update_status(0x7704));  // just past any answer: clear
}

TEST_F(UpdateStatus, RefusalsAndFailingSteps) {
    unsigned char status[27] = {};
    capture();
    EXPECT_EQ(-1, sim_card_get_update_status(0x6F03));
    EXPECT_EQ(-1, hal_get_all_update_status(nullptr));
    card.set_online(false);
    EXPECT_EQ(-1, hal_get_all_update_status(status));
    EXPECT_EQ(
        "libsimcard [sim_card_get_update_status] file id must large than 0x6F04 \n"
        "[hal] hal_get_all_update_status: Argument status is NULL\n"
        "[hal] hal_get_all_update_status: sim card is not online!\n",
        captured());
    EXPECT_EQ(0u, card.count(ins::kUpdateStatus));

    card.set_online(true);
    const std::function<void()> faults[] = {
        [&] { card.fail_status(ins::kUpdateStatus, 0x6D, 0x00, 0, 2); },
        [&] { card.fail_ioctl(ins::kUpdateStatus, 0, 2); },
        [&] { card.fail_ioctl(ins::kGetResponse, 0, 2); },
    };
    for (const auto &arm : faults) {
        arm();
        EXPECT_EQ(-1, hal_get_all_update_status(status));
        EXPECT_EQ(-1, sim_card_get_update_status(0x6F04));
    }
}

TEST_F(UpdateStatus, FactoryResetSendsTheBitmapFromSixF02UpToItsHighestByte) {
    card.add_file(0x6F04, 16, "<P00=\"new\">", std::string_view("<P00=\"old\">"), true);
    auto reset = [&](std::vector<unsigned short> ids) {
        EXPECT_EQ(0, sim_card_factory_reset(ids.data(), static_cast<int>(ids.size())));
        const auto *sent = card.commands(ins::kFactoryReset).back();
        EXPECT_EQ(sent->data.size(), sent->header[4]);
        return sent->data;
    };
    EXPECT_EQ(std::vector<uint8_t>{0x20}, reset({0x6F04}));
    EXPECT_EQ("<P00=\"old\">", card.text(0x6F04));
    EXPECT_FALSE(card.file(0x6F04)->updated);
    EXPECT_EQ((std::vector<uint8_t>{0x80, 0x00, 0x80}), reset({0x6F02, 0x6F12}));

    EXPECT_EQ(0, sim_card_factory_resetall());
    std::vector<uint8_t> all(27, 0xFF);
    all.push_back(0x80);
    EXPECT_EQ(all, card.commands(ins::kFactoryReset).back()->data);

    // Ids outside the bitmap have no bit: the others are reset as listed.
    EXPECT_EQ(std::vector<uint8_t>{0x20}, reset({0x6F04, 0x7002, 0x6F01}));
    std::vector<uint8_t> last(32, 0);
    last[0] = 0x20;
    last[31] = 0x01;
    EXPECT_EQ(last, reset({0x6F04, 0x7001}));
    EXPECT_EQ(std::vector<uint8_t>{0x00}, reset({}));

    card.fail_status(ins::kFactoryReset, 0x98, 0x04);
    unsigned short one[] = {0x6F04};
    EXPECT_EQ(-1, sim_card_factory_reset(one, 1));
}

}  // namespace
}  // namespace simcard
