#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;

class FileAccess : public CardTest {
protected:
    void SetUp() override { open_device(); }

    // P1 P2 and P3 of every command with this INS, in order.
    std::vector<std::pair<int, int>> offsets_and_lengths(uint8_t instruction) const {
        std::vector<std::pair<int, int>> out;
        for (const auto *e : card.commands(instruction)) {
            out.emplace_back(e->header[2] << 8 | e->header[3], e->header[4]);
        }
        return out;
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
    using P = std::pair<int, int>;
    EXPECT_EQ((std::vector<P>{{0, 200}, {200, 200}, {400, 50}}),
              offsets_and_lengths(ins::kReadBinary));
    EXPECT_EQ((std::vector<unsigned>{10000, 10000, 10000}), platform.usleeps());
}

TEST_F(FileAccess, SelectionIsCachedPerLevel) {
    card.add_file(0x6F07, 30, "<P00=\"1\">");
    card.add_file(0x6F08, 40);
    char buf[64] = {};
    ASSERT_EQ(0, sim_card_read_file(0x7F80, 0x6F07, buf, 0));  // selects, reads nothing
    EXPECT_EQ(2u, card.count(ins::kSelect));
    EXPECT_EQ(0u, card.count(ins::kReadBinary));
    EXPECT_EQ(30, sim_session.file_len);

    ASSERT_EQ(0, sim_card_read_file(0x7F80, 0x6F07, buf, sizeof buf));
    EXPECT_EQ(2u, card.count(ins::kSelect));
    EXPECT_STREQ("<P00=\"1\">", buf);

    // Same directory, other file: one SELECT, and the held text goes.
    sim_session.content = static_cast<char *>(std::calloc(1, 8));
    sim_session.loaded = 1;
    EXPECT_EQ(40, sim_card_select_file(0x7F80, 0x6F08));
    EXPECT_EQ(3u, card.count(ins::kSelect));
    EXPECT_EQ(nullptr, sim_session.content);
    EXPECT_EQ(0, sim_session.loaded);

    // Same file again keeps the text.
    sim_session.content = static_cast<char *>(std::calloc(1, 8));
    EXPECT_EQ(40, sim_card_select_file(0x7F80, 0x6F08));
    EXPECT_NE(nullptr, sim_session.content);
    EXPECT_EQ(3u, card.count(ins::kSelect));
}

TEST_F(FileAccess, DirectoryMayAnswerNinetyButAFileMustAnnounceItsAnswer) {
    card.add_file(0x6F07, 30);
    card.fail_status(ins::kSelect, 0x90, 0x00);
    ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
    EXPECT_EQ(0x7F80, sim_session.dir_id);

    card.fail_status(ins::kSelect, 0x90, 0x00);
    capture();
    EXPECT_EQ(-1, sim_card_select_file(0x7F80, 0x6F07));
    EXPECT_EQ("libsimcard [__sim_card_select_file] select file error\n", captured());
    EXPECT_EQ(0, sim_session.file_id);  // cache untouched by the failure
}

TEST_F(FileAccess, SelectFailuresNameTheLevel) {
    card.set_has_operator_directory(false);
    capture();
    EXPECT_EQ(-1, sim_card_select_file(0x7F80, 0x6F07));
    card.fail_ioctl(ins::kSelect);
    EXPECT_EQ(-1, sim_card_select_file(0x7F80, 0x6F07));
    card.set_has_operator_directory(true);
    ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
    card.fail_ioctl(ins::kSelect);
    EXPECT_EQ(-1, sim_card_select_file(0x7F80, 0x6F07));
    card.fail_ioctl(ins::kGetResponse);
    card.add_file(0x6F07, 30);
    EXPECT_EQ(-1, sim_card_select_file(0x7F80, 0x6F07));
    char buf[4];
    EXPECT_EQ(-1, sim_card_read_file(0x7F80, 0x6F99, buf, 4));
    EXPECT_EQ(-1, sim_card_write_file(0x7F80, 0x6F99, buf, 4));
    EXPECT_EQ(
        "libsimcard [__sim_card_select_file] select dir error\n"
        "libsimcard [__sim_card_select_file] ioctl SIMIO_IOCTL_WRITE 1 error...dir_id=0x7f80 \n"
        "libsimcard [__sim_card_select_file] ioctl SIMIO_IOCTL_WRITE 1 error...file_id=0x6f07\n"
        "libsimcard [__sim_card_get_response] ioctl read error\n"
        "libsimcard [__sim_card_select_file] get response error\n"
        "libsimcard [__sim_card_select_file] select file error\n"
        "libsimcard [sim_card_read_file] select file error\n"
        "libsimcard [__sim_card_select_file] select file error\n"
        "[hal] sim_card_write_file select file error\n",
        captured());
}

TEST_F(FileAccess, WritesTheCallersLengthInChunks) {
    card.add_file(0x6F10, 300);
    std::string text(250, 'a');
    ASSERT_EQ(0, simcard_WriteFile(0x6F10, text.data(), 250));
    using P = std::pair<int, int>;
    EXPECT_EQ((std::vector<P>{{0, 200}, {200, 50}}), offsets_and_lengths(ins::kUpdateBinary));
    EXPECT_EQ(text, card.text(0x6F10));
    EXPECT_TRUE(card.file(0x6F10)->updated);
    EXPECT_EQ(2u, platform.usleeps().size());
}

TEST_F(FileAccess, AFailedChunkStopsTheTransferWithItsStatusWord) {
    card.add_file(0x6F10, 450, std::string(450, 'r'));
    std::string text(450, 'w');
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81, /*skip=*/1);
    capture();
    EXPECT_EQ(-1, simcard_WriteFile(0x6F10, text.data(), 450));
    EXPECT_EQ(
        "[hal] __sim_card_write_ef: write ef error...result=0x6581\n"
        "[hal] sim_card_write_file write file error\n",
        captured());
    // The first chunk stays written.
    EXPECT_EQ(std::string(200, 'w') + std::string(250, 'r'), card.text(0x6F10));

    std::vector<char> buf(500, 0);
    card.fail_status(ins::kReadBinary, 0x6B, 0x00, /*skip=*/1);
    card.fail_ioctl(ins::kUpdateBinary);
    capture();
    EXPECT_EQ(-1, simcard_ReadFile(0x6F10, buf.data(), 500));
    EXPECT_EQ(-1, simcard_WriteFile(0x6F10, text.data(), 10));
    EXPECT_EQ("libsimcard [__sim_card_read_ef] read ef error...result=0x6b00\n" +
                  std::string(200, 'w') + "\n" + "[hal] __sim_card_write_ef: ioctl read error\n" +
                  "[hal] sim_card_write_file write file error\n",
              captured());
}

TEST_F(FileAccess, AFailedReadDumpsNoMoreThanTheCallersBuffer) {
    card.add_file(0x6F10, 20, std::string(20, 'z'));
    char buf[8];
    std::memset(buf, 'q', sizeof buf);  // no terminator anywhere
    card.fail_ioctl(ins::kReadBinary);
    capture();
    EXPECT_EQ(-1, simcard_ReadFile(0x6F10, buf, sizeof buf));
    EXPECT_EQ("libsimcard [__sim_card_read_ef] ioctl read error\nqqqqqqqq\n", captured());
}

// A hostile card cannot make the library write past a buffer.
TEST_F(FileAccess, HostileAnswersStayInsideTheBuffers) {
    card.add_file(0x6F07, 30, "<P00=\"1\">");
    card.set_pending_length(0xFF);  // announces 255 answer bytes
    EXPECT_EQ(30, sim_card_select_file(0x7F80, 0x6F07));

    card.clear_faults();
    card.set_claimed_size(0xFFFF);  // claims a file far larger than it is
    sim_session.file_id = 0;
    EXPECT_EQ(0xFFFF, sim_card_select_file(0x7F80, 0x6F07));
    // Reading is bounded by the caller's length, whatever the file claims.
    char small[10] = {};
    EXPECT_EQ(0, simcard_ReadFile(0x6F07, small, 9));
    EXPECT_STREQ("<P00=\"1\">", small);

    card.clear_faults();
    card.set_short_read(5);  // hands over fewer bytes than asked
    sim_session.file_id = 0;
    char buf[31] = {};
    EXPECT_EQ(0, simcard_ReadFile(0x6F07, buf, 30));
    EXPECT_EQ(0, buf[30]);
}

}  // namespace
}  // namespace simcard
