#include <cstdlib>
#include <cstring>
#include <string>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;

class Session : public CardTest {
protected:
    void SetUp() override { open_device(); }

    // Puts text into the session as the record layer leaves it.
    static void hold(const std::string &text) {
        std::free(sim_session.content);
        sim_session.content = static_cast<char *>(std::calloc(text.size() + 1, 1));
        std::memcpy(sim_session.content, text.data(), text.size());
        sim_session.file_len = static_cast<int>(text.size());
        sim_session.loaded = 1;
    }
};

TEST_F(Session, DirectorySelectionIsSentOnce) {
    EXPECT_EQ(0, hal_selectCurrentDir(0x7F80));
    EXPECT_EQ(0, hal_selectCurrentDir(0x7F80));
    EXPECT_EQ(1u, card.count(ins::kSelect));
    EXPECT_EQ(0x7F80, sim_session.dir_id);

    card.set_has_operator_directory(false);
    sim_session.dir_id = 0;
    capture();
    EXPECT_EQ(-1, hal_selectCurrentDir(0x7F80));
    card.fail_ioctl(ins::kSelect);
    EXPECT_EQ(-1, hal_selectCurrentDir(0x7F80));
    EXPECT_EQ(
        "[hal] hal_selectCurrentDir select dir error\n"
        "[hal] hal_selectCurrentDir: ioctl SIMIO_IOCTL_WRITE 1 error...dir_id=0x7f80 \n",
        captured());
    EXPECT_EQ(0, sim_session.dir_id);
}

TEST_F(Session, SaveWritesToTheCardsCurrentFileWithoutSelecting) {
    card.add_file(0x6F07, 64, "<P00=\"1\">");
    char buf[65] = {};
    ASSERT_EQ(0, simcard_ReadFile(0x6F07, buf, 64));
    hold("<P00=\"2\" P01=\"x\">");
    card.clear_trace();

    ASSERT_EQ(0, hal_saveToSim());
    EXPECT_EQ(0, sim_session.file_id);
    EXPECT_EQ(0u, card.count(ins::kSelect));
    EXPECT_EQ(1u, card.count(ins::kUpdateBinary));
    EXPECT_EQ("<P00=\"2\" P01=\"x\">", card.text(0x6F07));
    EXPECT_NE(nullptr, sim_session.content);  // kept for further saves

    // The next read of the same file goes to the card again and drops the text.
    ASSERT_EQ(0, simcard_ReadFile(0x6F07, buf, 64));
    EXPECT_EQ(1u, card.count(ins::kSelect));
    EXPECT_EQ(nullptr, sim_session.content);
}

TEST_F(Session, AFailedSaveDropsTheText) {
    card.add_file(0x6F07, 64);
    char buf[8];
    ASSERT_EQ(0, simcard_ReadFile(0x6F07, buf, 0));
    capture();
    EXPECT_EQ(-1, hal_saveToSim());
    hold("<P00=\"2\">");
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81);
    EXPECT_EQ(-1, hal_saveToSim());
    EXPECT_EQ(
        "[hal]: sim session content is NULL\n"
        "[hal] __sim_card_write_ef: write ef error...result=0x6581\n"
        "[hal] sim_card_write_file write file error\n"
        "[hal] hal_saveToSim write file 0x0000 error\n",
        captured());
    EXPECT_EQ(nullptr, sim_session.content);
    EXPECT_EQ(0, sim_session.loaded);
}

TEST_F(Session, CurrentContentQueryKeepsItsInvertedTest) {
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    capture();
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0, nullptr, 8));
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0, buf, 0));
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0x6F07, buf, 8));
    hold("<P00=\"1\">");
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0, buf, 8));
    EXPECT_EQ(
        "[hal] hal_getCurrentSessionContent: buf is null of len is zero\n"
        "[hal] hal_getCurrentSessionContent: buf is null of len is zero\n"
        "[hal] hal_getCurrentSessionContent: 0x6f07 is not equal current file id 0x0000\n"
        "[hal] hal_getCurrentSessionContent: sim session content is null\n",
        captured());

    // Without text the copy yields the empty text.
    std::free(sim_session.content);
    sim_session.content = nullptr;
    EXPECT_EQ(0, hal_getCurrentSessionContent(0, buf, 8));
    EXPECT_EQ(std::string(8, '\0'), std::string(buf, 8));
}

TEST_F(Session, InitFlagStartsClear) { EXPECT_EQ(0, isSimCardInitSuccessed()); }

}  // namespace
}  // namespace simcard
