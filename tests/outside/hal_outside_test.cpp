// The card access layer as a gateway program sees it.
#include <string>

#include "simcard.h"
#include "tests/outside/rig.h"

namespace simcard {
namespace {

using rig::isolated;
using rig::Rig;
using rig::stdout_of;
namespace ins = vcard::ins;

TEST(Outside, ALibraryAtLoadHasNothingOpen) {
    isolated([](Rig &r) {
        EXPECT_EQ(-1, sim_card_fd);
        EXPECT_EQ(0, sim_session.dir_id);
        EXPECT_EQ(nullptr, sim_session.content);
        EXPECT_EQ(0, isSimCardInitSuccessed());
        EXPECT_EQ("", stdout_of([] { EXPECT_EQ(-1, sim_card_online()); }));
        EXPECT_TRUE(r.card.trace().empty());
    });
}

TEST(Outside, AGatewayReadsChangesAndCommitsAFile) {
    isolated([](Rig &r) {
        r.card.add_file(0x6F07, 64, "<P00=\"1.IP.1\">");
        ASSERT_EQ(0, sim_card_init());
        ASSERT_EQ(1, sim_card_online());
        ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
        ASSERT_EQ(0, sim_card_auth("7305918264730591"));

        char buf[65] = {};
        ASSERT_EQ(0, simcard_ReadFile(0x6F07, buf, 64));
        EXPECT_STREQ("<P00=\"1.IP.1\">", buf);

        char text[] = "<P00=\"2.PPP.1\">";
        ASSERT_EQ(0, simcard_WriteFile(0x6F07, text, sizeof text - 1));
        EXPECT_EQ("<P00=\"2.PPP.1\">", r.card.text(0x6F07));

        unsigned char status[27] = {};
        ASSERT_EQ(0, hal_get_all_update_status(status));
        EXPECT_EQ(0x10, status[0]);  // 6F07 is now updated

        unsigned short ids[] = {0x6F07};
        ASSERT_EQ(0, sim_card_factory_reset(ids, 1));
        EXPECT_EQ("<P00=\"1.IP.1\">", r.card.text(0x6F07));

        EXPECT_EQ("ONLINE -> 1", r.card.trace_lines()[0]);
        EXPECT_EQ(1u, r.card.count(ins::kAuthAnswer));
        EXPECT_EQ(2u, r.card.count(ins::kSelect));  // the directory, and 6F07 once
    });
}

TEST(Outside, ACardThatFailsMidWriteLeavesTheEarlierChunks) {
    isolated([](Rig &r) {
        r.card.add_file(0x6F10, 400, std::string(400, 'o'));
        ASSERT_EQ(0, sim_card_init());
        r.card.fail_ioctl(ins::kUpdateBinary, /*skip=*/1);
        std::string text(400, 'n');
        const std::string out =
            stdout_of([&] { EXPECT_EQ(-1, simcard_WriteFile(0x6F10, text.data(), 400)); });
        EXPECT_EQ(
            "[hal] __sim_card_write_ef: ioctl read error\n"
            "[hal] sim_card_write_file write file error\n",
            out);
        EXPECT_EQ(std::string(200, 'n') + std::string(200, 'o'), r.card.text(0x6F10));
    });
}

}  // namespace
}  // namespace simcard
