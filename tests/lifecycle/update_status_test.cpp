#include <string>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;

class UpdateStatus : public CardTest {};

TEST_F(UpdateStatus, BadArgumentsAreRefusedInTheirOwnWords) {
    unsigned char status[27] = {};
    capture();
    EXPECT_EQ(-1, simcard_file_isupdated(0x6F04, nullptr));
    EXPECT_EQ(-1, simcard_file_isupdated(0x6F03, status));
    EXPECT_EQ(-1, simcard_file_isupdated(0x6FDB, status));
    EXPECT_EQ(
        "[sal] simcard_file_isupdated: Argument status is null\n"
        "[hal] simcard_file_isupdated: file id is must between 6f04 and 6fda\n"
        "[hal] simcard_file_isupdated: file id is must between 6f04 and 6fda\n",
        captured());
}

TEST_F(UpdateStatus, TheBitmapIsFetchedAndPrintedBitByBit) {
    open_device();
    card.add_file(0x6F04, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6F0D, 4, {}, {}, /*updated=*/true);
    card.add_file(0x6FDA, 4, {}, {}, /*updated=*/true);
    unsigned char status[27] = {};
    capture();
    ASSERT_EQ(0, simcard_get_all_update_status(status));
    std::string bits = "1 0 0 0 0 0 0 0 0 1 ";
    for (int i = 0; i < 27 * 8 - 12; ++i) {
        bits += "0 ";
    }
    bits += "1 0 ";
    EXPECT_EQ(
        "[sal simcard_get_all_update_status: enter\n"
        "\n---------------all update status---------------\n" +
            bits + "\n",
        captured());
    EXPECT_EQ(1, simcard_file_isupdated(0x6F04, status));  // top bit of byte 0
    EXPECT_EQ(1, simcard_file_isupdated(0x6F0D, status));
    EXPECT_EQ(0, simcard_file_isupdated(0x6F0C, status));
    EXPECT_EQ(1, simcard_file_isupdated(0x6FDA, status));  // bit 1 of byte 26
    EXPECT_EQ(0, simcard_file_isupdated(0x6FD9, status));
}

TEST_F(UpdateStatus, AFailedFetchIsReported) {
    unsigned char status[27] = {};
    capture();
    EXPECT_EQ(-1, simcard_get_all_update_status(status));  // device not open
    EXPECT_EQ(
        "[sal simcard_get_all_update_status: enter\n"
        "[sal] simcard_get_all_update_status: get all update status failed\n",
        captured());
}

}  // namespace
}  // namespace simcard
