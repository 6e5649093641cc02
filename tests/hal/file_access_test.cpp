// Selecting, reading and writing card files, and the current-file session.
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;
using Chunks = std::vector<std::pair<int, int>>;

class FileAccess : public CardTest {
protected:
    void SetUp() override { open_device(); }

    // P1 P2 and P3 of every command with this INS, in order.
    Chunks offsets_and_lengths(uint8_t instruction) const {
        Chunks out;
        for (const auto *e : card.commands(instruction)) {
            out.emplace_back(e->header[2] << 8 | e->header[3], e->header[4]);
        }
        return out;
    }

    // Puts text into the session as the record layer leaves it.
    static void hold(const char *text) {
        std::free(sim_session.content);
        sim_session.content = strdup(text);
        sim_session.file_len = static_cast<int>(std::strlen(text));
        sim_session.loaded = 1;
    }
};

TEST_F(FileAccess, ReadsInChunksOfTwoHundredWithAPauseAfterEach) {
    std::string text(450, 'x');
    text[0] = '<';
    card.add_file(0x6F07, 450, text);
    std::vector<char> buf(1000, 0);
    EXPECT_EQ(0, simcard_ReadFile(0x6F07, buf.data(), 1000));
    EXPECT_EQ(text, std::string(buf.data(), 450));
    EXPECT_EQ(0, buf[450]);
    EXPECT_EQ((Chunks{{0, 200}, {200, 200}, {400, 50}}), offsets_and_lengths(ins::kReadBinary));
    EXPECT_EQ((std::vector<unsigned>{10000, 10000, 10000}), platform.usleeps());
}

TEST_F(FileAccess, AWriteFailingPartWayStopsWithItsStatusWord) {
    card.add_file(0x6F10, 450, std::string(450, 'r'));
    std::string text(450, 'w');
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81, /*skip=*/1);
    capture();
    EXPECT_EQ(-1, simcard_WriteFile(0x6F10, text.data(), 450));
    EXPECT_EQ(
        "[hal] __sim_card_write_ef: write ef error...result=0x6581\n"
        "[hal] sim_card_write_file write file error\n",
        captured());
    EXPECT_EQ((Chunks{{0, 200}, {200, 200}}), offsets_and_lengths(ins::kUpdateBinary));
    EXPECT_EQ(std::string(200, 'w') + std::string(250, 'r'), card.text(0x6F10));
}

TEST_F(FileAccess, SelectionIsCachedPerLevelAndLenientOnlyForADirectory) {
    card.add_file(0x6F07, 30, "<P00=\"1\">");
    card.add_file(0x6F08, 40);
    EXPECT_EQ(0, hal_selectCurrentDir(0x7F80));
    EXPECT_EQ(0, hal_selectCurrentDir(0x7F80));
    EXPECT_EQ(1u, card.count(ins::kSelect));
    char buf[64] = {};
    ASSERT_EQ(0, sim_card_read_file(0x7F80, 0x6F07, buf, sizeof buf));
    ASSERT_EQ(0, sim_card_read_file(0x7F80, 0x6F07, buf, sizeof buf));
    EXPECT_STREQ("<P00=\"1\">", buf);
    EXPECT_EQ(2u, card.count(ins::kSelect)) << "the file once, the directory not again";

    hold("<P00=\"1\">");  // the same file keeps its text, another one drops it
    EXPECT_LE(0, sim_card_select_file(0x7F80, 0x6F07));
    EXPECT_NE(nullptr, sim_session.content);
    EXPECT_EQ(40, sim_card_select_file(0x7F80, 0x6F08));
    EXPECT_EQ(3u, card.count(ins::kSelect));
    EXPECT_EQ(nullptr, sim_session.content);
    EXPECT_EQ(0, sim_session.loaded);

    // A directory may answer 90 00, a file must announce its answer.
    sim_session.dir_id = 0;
    card.fail_status(ins::kSelect, 0x90, 0x00);  // not performed: the card stays in 7F80
    EXPECT_EQ(0, hal_selectCurrentDir(0x7F80));
    const struct {
        uint16_t cached_dir;
        uint8_t sw1, sw2;
        int rc;
    } cases[] = {
        {0, 0x90, 0x00, 30},       // the directory answers 90 00
        {0x7F80, 0x90, 0x00, -1},  // the file answers 90 00
        {0, 0x94, 0x04, -1},       // the directory is refused
    };
    capture();
    for (const auto &c : cases) {
        sim_session.dir_id = c.cached_dir;
        sim_session.file_id = 0;
        card.fail_status(ins::kSelect, c.sw1, c.sw2);
        EXPECT_EQ(c.rc, sim_card_select_file(0x7F80, 0x6F07)) << std::hex << c.cached_dir;
    }
    EXPECT_EQ(
        "libsimcard [__sim_card_select_file] select file error\n"
        "libsimcard [__sim_card_select_file] select dir error\n",
        captured());
}

// A hostile card cannot make the library write past a buffer.
TEST_F(FileAccess, HostileAnswersStayInsideTheBuffers) {
    card.add_file(0x6F07, 30, "<P00=\"1\">");
    card.set_pending_length(0xFF);  // announces 255 answer bytes
    EXPECT_EQ(30, sim_card_select_file(0x7F80, 0x6F07));
    EXPECT_EQ(0xFF, card.commands(ins::kSelect).back()->sw2);

    card.clear_faults();
    card.set_claimed_size(0xFFFF);  // claims a file far larger than it is
    sim_session.file_id = 0;
    EXPECT_EQ(0xFFFF, sim_card_select_file(0x7F80, 0x6F07));
    char small[10] = {};
    EXPECT_EQ(0, simcard_ReadFile(0x6F07, small, 9));
    EXPECT_STREQ("<P00=\"1\">", small);

    card.clear_faults();
    card.set_short_read(5);  // hands over fewer bytes than asked
    sim_session.file_id = 0;
    char buf[31] = {};
    EXPECT_EQ(0, simcard_ReadFile(0x6F07, buf, 30));
    EXPECT_EQ(0, buf[30]);

    card.clear_faults();
    card.fail_ioctl(ins::kReadBinary);  // what was read so far is dumped, within the buffer
    char unterminated[8];
    std::memset(unterminated, 'q', sizeof unterminated);
    capture();
    EXPECT_EQ(-1, simcard_ReadFile(0x6F07, unterminated, sizeof unterminated));
    EXPECT_EQ("libsimcard [__sim_card_read_ef] ioctl read error\nqqqqqqqq\n", captured());
}

TEST_F(FileAccess, SaveWritesToTheCardsCurrentFileWithoutSelecting) {
    card.add_file(0x6F07, 64, "<P00=\"1\">");
    char buf[65] = {};
    ASSERT_EQ(0, simcard_ReadFile(0x6F07, buf, 64));
    hold("<P00=\"2\" P01=\"x\">");
    card.clear_trace();
    ASSERT_EQ(0, hal_saveToSim());
    EXPECT_EQ(0, sim_session.file_id);
    EXPECT_EQ(0u, card.count(ins::kSelect));
    EXPECT_EQ("<P00=\"2\" P01=\"x\">", card.text(0x6F07));
    EXPECT_NE(nullptr, sim_session.content);  // kept for further saves

    card.fail_status(ins::kUpdateBinary, 0x65, 0x81);
    capture();
    EXPECT_EQ(-1, hal_saveToSim());
    EXPECT_NE(std::string::npos, captured().find("[hal] hal_saveToSim write file 0x0000 error\n"));
    EXPECT_EQ(nullptr, sim_session.content);
    EXPECT_EQ(0, sim_session.loaded);
}

TEST_F(FileAccess, CurrentContentQueryKeepsItsInvertedTest) {
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0, nullptr, 8));
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0x6F07, buf, 8));
    hold("<P00=\"1\">");
    capture();
    EXPECT_EQ(-1, hal_getCurrentSessionContent(0, buf, 8));
    EXPECT_EQ("[hal] hal_getCurrentSessionContent: sim session content is null\n", captured());

    std::free(sim_session.content);  // without text the copy yields the empty text
    sim_session.content = nullptr;
    EXPECT_EQ(0, hal_getCurrentSessionContent(0, buf, 8));
    EXPECT_EQ(std::string(8, '\0'), std::string(buf, 8));
}

}  // namespace
}  // namespace simcard
