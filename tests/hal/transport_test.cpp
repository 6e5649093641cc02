#include <fcntl.h>

#include <cstddef>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
using vcard::VirtualCard;

// The driver's request numbers in the MIPS _IOWR encoding.
constexpr unsigned long mips_iowr(unsigned size, char type, unsigned nr) {
    return (6ul << 29) | (static_cast<unsigned long>(size) << 16) |
           (static_cast<unsigned long>(type) << 8) | nr;
}

TEST(RequestRecord, LayoutAndRequestNumbersMatchTheDriver) {
    static_assert(offsetof(simio_request, header) == 0);
    static_assert(offsetof(simio_request, data) == sizeof(void *));
    static_assert(offsetof(simio_request, data_len) == 2 * sizeof(void *));
    static_assert(offsetof(simio_request, sw1) == 2 * sizeof(void *) + 4);
    static_assert(offsetof(simio_request, sw2) == 2 * sizeof(void *) + 5);
    static_assert(offsetof(simio_request, pad) == 2 * sizeof(void *) + 6);
    static_assert(sizeof(void *) != 4 || sizeof(simio_request) == 24);
    static_assert(SIMIO_IOCTL_READ == mips_iowr(24, 's', 1));
    static_assert(SIMIO_IOCTL_WRITE == mips_iowr(24, 's', 2));
    static_assert(SIMIO_IOCTL_ONLINE == mips_iowr(sizeof(int), 's', 3));
    SUCCEED();
}

TEST_F(CardTest, InitOpensOnceAndSaysSoTheSecondTime) {
    capture();
    EXPECT_EQ(0, sim_card_init());
    EXPECT_EQ(0, sim_card_init());
    EXPECT_EQ("libsimcard: already init\n", captured());
    EXPECT_GT(sim_card_fd, 0);
    EXPECT_EQ(1u, platform.open_count());
}

TEST_F(CardTest, FailedOpenLeavesDeviceClosedAndLaterCallsSilent) {
    platform.set_fail_open(true);
    capture();
    EXPECT_EQ(-1, sim_card_init());
    EXPECT_LT(sim_card_fd, 0);
    EXPECT_EQ(-1, sim_card_online());
    EXPECT_EQ("", captured());
}

TEST_F(CardTest, EveryCardFunctionIsSilentWhileTheDeviceIsClosed) {
    char buf[16] = {};
    unsigned char status[32] = {};
    unsigned short ids[1] = {0x6F04};
    simio_request req{};
    unsigned char header[5] = {};
    req.header = header;
    capture();
    EXPECT_EQ(-1, sim_card_online());
    EXPECT_EQ(-1, __sim_card_get_response(&req, 2));
    EXPECT_EQ(-1, sim_card_select_file(0x7F80, 0x6F07));
    EXPECT_EQ(-1, __sim_card_select_file(0x7F80, 0x6F07));
    EXPECT_EQ(-1, __sim_card_read_ef(buf, 0, 4));
    EXPECT_EQ(-1, __sim_card_write_ef(buf, 0, 4));
    EXPECT_EQ(-1, sim_card_read_file(0x7F80, 0x6F07, buf, sizeof buf));
    EXPECT_EQ(-1, sim_card_write_file(0x7F80, 0x6F07, buf, sizeof buf));
    EXPECT_EQ(-1, simcard_ReadFile(0x6F07, buf, sizeof buf));
    EXPECT_EQ(-1, simcard_WriteFile(0x6F07, buf, sizeof buf));
    EXPECT_EQ(-1, hal_get_all_update_status(status));
    EXPECT_EQ(-1, sim_card_get_update_status(0x6F04));
    EXPECT_EQ(-1, sim_card_factory_reset(ids, 1));
    EXPECT_EQ(0, sim_card_factory_resetall());
    EXPECT_EQ(-1, sim_card_auth("7305918264730591"));
    EXPECT_EQ(-1, sim_card_auth_telecom_account("a", "b"));
    EXPECT_EQ("", captured());
    EXPECT_TRUE(card.trace().empty());
}

TEST_F(CardTest, OnlineReportsTheDriversValue) {
    open_device();
    EXPECT_EQ(1, sim_card_online());
    card.set_online(false);
    EXPECT_EQ(0, sim_card_online());
    card.fail_ioctl(VirtualCard::kOnlineRequest);
    capture();
    EXPECT_EQ(-1, sim_card_online());
    EXPECT_EQ("libsimcard [sim_card_online] ioctl online error\n", captured());
}

TEST_F(CardTest, GetResponseAcceptsNinetyInEitherStatusByte) {
    open_device();
    ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
    card.add_file(0x6F07, 10);
    unsigned char header[5] = {0xA0, 0xA4, 0x00, 0x00, 0x02};
    unsigned char id[2] = {0x6F, 0x07};
    unsigned char answer[256] = {};
    simio_request req{};
    __sim_card_form_data(&req, header, id, 2, answer);
    ASSERT_EQ(0, card.ioctl(SIMIO_IOCTL_WRITE, &req));
    ASSERT_EQ(0x9F, req.sw1);

    req = simio_request{};
    __sim_card_form_data(&req, header, nullptr, 0, answer);
    card.fail_status(vcard::ins::kGetResponse, 0x6F, 0x90);
    EXPECT_EQ(0, __sim_card_get_response(&req, 15));
    EXPECT_EQ(0xC0, header[1]);
    EXPECT_EQ(15, header[4]);

    card.fail_status(vcard::ins::kGetResponse, 0x6F, 0x00);
    capture();
    EXPECT_EQ(-1, __sim_card_get_response(&req, 15));
    card.fail_ioctl(vcard::ins::kGetResponse);
    EXPECT_EQ(-1, __sim_card_get_response(&req, 15));
    EXPECT_EQ(
        "libsimcard [__sim_card_get_response] response error\n"
        "libsimcard [__sim_card_get_response] ioctl read error\n",
        captured());
}

}  // namespace
}  // namespace simcard
