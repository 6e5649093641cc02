// What must hold on the gateway's own byte order and word size. Built into
// the host's and mipsel's suites and into the big-endian program, so that the
// same expectations run on all three.
#include <sys/ioctl.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;

std::string hex(const std::vector<uint8_t> &bytes) {
    std::string out;
    char two[3];
    for (uint8_t b : bytes) {
        std::snprintf(two, sizeof two, "%02x", b);
        out += two;
    }
    return out;
}

TEST(Target, RequestRecordHasTheDriversLayout) {
    const size_t ptr = sizeof(void *);
    EXPECT_EQ(0u, offsetof(simio_request, header));
    EXPECT_EQ(ptr, offsetof(simio_request, data));
    EXPECT_EQ(2 * ptr, offsetof(simio_request, data_len));
    EXPECT_EQ(2 * ptr + 4, offsetof(simio_request, sw1));
    EXPECT_EQ(2 * ptr + 5, offsetof(simio_request, sw2));
    EXPECT_EQ(2 * ptr + 6, offsetof(simio_request, pad));
    EXPECT_EQ(2 * ptr + 8, offsetof(simio_request, resp));
    if (ptr == 4) {
        EXPECT_EQ(20u, offsetof(simio_request, reserved));
        EXPECT_EQ(24u, sizeof(simio_request));
    }
}

#if defined(__mips__)
TEST(Target, RequestNumbersAreTheKernelsOwnEncoding) {
    // The target's kernel headers encode direction and size their own way.
    EXPECT_EQ(SIMIO_IOCTL_READ, _IOWR('s', 1, struct simio_request));
    EXPECT_EQ(SIMIO_IOCTL_WRITE, _IOWR('s', 2, struct simio_request));
    EXPECT_EQ(SIMIO_IOCTL_ONLINE, _IOWR('s', 3, int));
}
#endif

// Notes every request number handed to the driver, then passes the call on.
class RequestLog : public CardTest {
protected:
    void SetUp() override {
        current_ = this;
        table_ = *platform.table();
        table_.ioctl = [](void *ctx, int fd, unsigned long request, void *arg) {
            current_->requests.push_back(request);
            return current_->platform.table()->ioctl(ctx, fd, request, arg);
        };
        testing::install(&table_);
    }
    void TearDown() override { current_ = nullptr; }

    std::vector<unsigned long> requests;

private:
    static inline RequestLog *current_ = nullptr;
    simcard_platform table_{};
};

TEST_F(RequestLog, TheDriverGetsTheGivenRequestNumbers) {
    card.add_file(0x6F07, 8, "<P00=1>");
    open_device();
    ASSERT_EQ(1, sim_card_online());
    char buf[8] = {};
    ASSERT_EQ(0, simcard_ReadFile(0x6F07, buf, sizeof buf));
    char text[] = "<P00=2>";
    ASSERT_EQ(0, simcard_WriteFile(0x6F07, text, 7));

    std::map<unsigned long, int> seen;
    for (unsigned long r : requests) {
        ++seen[r];
    }
    EXPECT_EQ(1, seen[0xC0047303ul]);  // online
    EXPECT_LT(0, seen[0xC0187301ul]);  // card to host
    EXPECT_LT(0, seen[0xC0187302ul]);  // host to card
    EXPECT_EQ(3u, seen.size());
}

TEST_F(CardTest, TheChallengeIsTheSameOnEveryByteOrder) {
    // Seeded with these seconds, the generator draws 10b7f527, 2556150a,
    // 03e5978e, 30f77714 on every target: the bytes must follow that order.
    platform.set_time(1700000000, 0);
    open_device();
    ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
    ASSERT_EQ(0, sim_card_auth("7305918264730591"));
    const auto challenges = card.commands(ins::kAuthChallenge);
    ASSERT_EQ(1u, challenges.size());
    EXPECT_EQ("10b7f5272556150a03e5978e30f77714", hex(challenges[0]->data));
}

}  // namespace
}  // namespace simcard
