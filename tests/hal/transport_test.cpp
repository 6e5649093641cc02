#include <cstddef>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;

// The request record and numbers are the driver's: MIPS _IOWR('s', nr, size).
constexpr unsigned long mips_iowr(unsigned size, unsigned nr) {
    return (6ul << 29) | (static_cast<unsigned long>(size) << 16) | ('s' << 8) | nr;
}
static_assert(offsetof(simio_request, header) == 0);
static_assert(offsetof(simio_request, data) == sizeof(void *));
static_assert(offsetof(simio_request, data_len) == 2 * sizeof(void *));
static_assert(offsetof(simio_request, sw1) == 2 * sizeof(void *) + 4);
static_assert(sizeof(void *) != 4 || sizeof(simio_request) == 24);
static_assert(SIMIO_IOCTL_READ == mips_iowr(24, 1));
static_assert(SIMIO_IOCTL_WRITE == mips_iowr(24, 2));
static_assert(SIMIO_IOCTL_ONLINE == mips_iowr(sizeof(int), 3));

TEST_F(CardTest, InitOpensOnceAndOnlineReportsTheDriversValue) {
    capture();
    EXPECT_EQ(0, sim_card_init());
    EXPECT_EQ(0, sim_card_init());
    EXPECT_EQ("libsimcard: already init\n", captured());
    EXPECT_EQ(1u, platform.open_count());

    EXPECT_EQ(1, sim_card_online());
    card.set_online(false);
    EXPECT_EQ(0, sim_card_online());
}

TEST_F(CardTest, AfterAFailedOpenEveryCardFunctionIsSilent) {
    platform.set_fail_open(true);
    EXPECT_EQ(-1, sim_card_init());
    EXPECT_LT(sim_card_fd, 0);
    char buf[16] = {};
    unsigned char status[32] = {};
    unsigned short ids[1] = {0x6F04};
    unsigned char header[5] = {};
    simio_request req{};
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

TEST_F(CardTest, GetResponseAcceptsNinetyInEitherStatusByte) {
    open_device();
    unsigned char header[5] = {};
    unsigned char answer[256] = {};
    simio_request req{};
    __sim_card_form_data(&req, header, nullptr, 0, answer);
    const struct {
        uint8_t sw1, sw2;
        int rc;
    } cases[] = {{0x90, 0x00, 0}, {0x6F, 0x90, 0}, {0x6F, 0x00, -1}};
    for (const auto &c : cases) {
        card.fail_status(ins::kGetResponse, c.sw1, c.sw2);
        EXPECT_EQ(c.rc, __sim_card_get_response(&req, 15)) << std::hex << +c.sw1 << +c.sw2;
    }
    EXPECT_EQ((std::array<uint8_t, 5>{0xA0, 0xC0, 0, 0, 15}),
              card.commands(ins::kGetResponse).back()->header);
}

}  // namespace
}  // namespace simcard
