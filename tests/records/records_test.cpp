#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
using ::testing::HasSubstr;
namespace ins = vcard::ins;

class Records : public CardTest {
protected:
    void SetUp() override { open_device(); }

    static std::string session_text() {
        return sim_session.content != nullptr ? sim_session.content : "";
    }

    int write(uint16_t file, const char *name, const char *value) {
        return sim_card_write_param(0x7F80, file, name, value,
                                    static_cast<unsigned short>(std::strlen(value)));
    }
};

TEST_F(Records, RewritesRecordsAsInTheWorkedTable) {
    struct Row {
        std::string before;
        uint8_t fill;
        std::string after;
        int length;
        std::string output;
    };
    const std::vector<Row> rows = {
        {R"(<P00="1" P01="2">)", 0x00, R"(<P00="1" P01="5">)", 17, ""},
        {R"(<P00="1" P01=FF>)", 0x00, R"(<P00="1" P01="5">)", 17,
         "[hal] _sim_combin_new_file_value: The param  P01 = FF\n"},
        {R"(<P00="1">)", 0x00, R"(<P00="1" P01="5">)", 17, ""},
        {"", 0x00, R"(<P01="5">)", 9, "content length is 0\n"},
        {R"(<P00="1">)", 0xFF, R"(<P00="1" P01="5">)", 17, ""},
    };
    uint16_t id = 0x6F10;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.before);
        card.add_file(id, 64, row.before, {}, false, row.fill);
        capture();
        ASSERT_EQ(0, write(id, "P01", "5"));
        EXPECT_EQ(row.output, captured());
        EXPECT_EQ(row.after, session_text());
        EXPECT_EQ(row.length, sim_session.file_len);
        ++id;
    }

    // Only the save reaches the card, with the text's length: the card keeps its tail.
    EXPECT_EQ(R"(<P00="1" P01="2">)", card.text(0x6F10));
    ASSERT_EQ(0, hal_saveToSim());
    const auto &bytes = card.file(0x6F14)->contents;
    EXPECT_EQ(R"(<P00="1" P01="5">)", std::string(bytes.begin(), bytes.begin() + 17));
    EXPECT_EQ(0xFF, bytes[17]);
}

TEST_F(Records, AnEmptyFileStartsARecord) {
    card.add_file(0x6F10, 0);
    capture();
    ASSERT_EQ(0, write(0x6F10, "P00", "x"));
    EXPECT_EQ(
        "[hal] sim_card_write_param: file_len = 0\n"
        "content length is 0\n",
        captured());
    EXPECT_EQ(R"(<P00="x">)", session_text());
}

TEST_F(Records, ReadsValuesAndReportsUnsetAndMissingRecords) {
    card.add_file(0x6F20, 40, R"(<P00="abc" P05=FF>)");
    char dest[16] = "untouched";
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest));
    EXPECT_STREQ("abc", dest);

    std::strcpy(dest, "untouched");
    EXPECT_EQ(1, sim_card_read_param(0x7F80, 0x6F20, "P05", dest, sizeof dest));
    EXPECT_STREQ("untouched", dest);

    capture();
    EXPECT_EQ(-1, simcard_ReadParamFromFile(0x6F20, 99, "P09", dest, sizeof dest));
    EXPECT_EQ("libsimcard [sim_card_read_param] file 6F20 have no P09\n", captured());
    EXPECT_EQ(1u, card.count(ins::kReadBinary));  // the file was read once

    card.add_file(0x6F21, 0);
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F21, "P00", dest, sizeof dest));
    EXPECT_STREQ("untouched", dest);
    EXPECT_EQ(nullptr, sim_session.content);
}

TEST_F(Records, NamesAreFoundAsPlainSubstrings) {
    card.add_file(0x6F20, 40, R"(<P00="P01" P01="2">)");
    char dest[16] = {};
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P01", dest, sizeof dest));
    EXPECT_STREQ("P01=", dest);

    ASSERT_EQ(0, write(0x6F20, "P01", "5"));
    EXPECT_EQ(R"(<P00="P01="5"2">)", session_text());
    EXPECT_EQ(16, sim_session.file_len);
}

TEST_F(Records, WritingFFChangesNothing) {
    card.add_file(0x6F20, 40, R"(<P00="1">)");
    capture();
    EXPECT_EQ(0, write(0x6F20, "P00", "FF"));
    EXPECT_EQ("[hal] sim_card_write_param: value is FF,skip it\n", captured());
    EXPECT_EQ(0u, card.count(ins::kSelect));
    EXPECT_EQ(nullptr, sim_session.content);
    EXPECT_EQ(0, sim_session.file_len);
}

TEST_F(Records, RecordWithoutClosingBracketIsRefusedAndKept) {
    card.add_file(0x6F20, 40, R"(<P00="1")");
    capture();
    EXPECT_EQ(-1, write(0x6F20, "P00", "2"));
    EXPECT_EQ(
        "simcard conten failed <P00=\"1\"\n"
        "[hal] sim_card_write_param: sim_combin_new_file_value error\n",
        captured());
    EXPECT_EQ(R"(<P00="1")", session_text());
    EXPECT_EQ(40, sim_session.file_len);

    // A name at the very end has no old value to replace.
    card.add_file(0x6F21, 40, R"(<P00="1"> P01)");
    capture();
    EXPECT_EQ(-1, write(0x6F21, "P01", "2"));
    EXPECT_EQ(
        "[hal] _sim_combin_new_file_value: simcard content failed <P00=\"1\"> P01\n"
        "[hal] sim_card_write_param: sim_combin_new_file_value error\n",
        captured());
}

TEST_F(Records, File6F02IsRebuiltWithoutReadingTheCard) {
    card.add_file(0x6F02, 64, R"(<P00="old" P01="old">)");
    capture();
    ASSERT_EQ(0, write(0x6F02, "P01", "5"));
    EXPECT_EQ("content length is 0\n", captured());  // a fresh, empty text
    ASSERT_EQ(0, write(0x6F02, "P02", "6"));
    EXPECT_EQ(R"(<P01="5" P02="6">)", session_text());
    EXPECT_EQ(0u, card.count(ins::kReadBinary));
    ASSERT_EQ(0, hal_saveToSim());
    EXPECT_EQ(R"(<P01="5" P02="6">ld">)", card.text(0x6F02));
}

TEST_F(Records, ReadsAreBoundedByTheCallersLength) {
    card.add_file(0x6F20, 40, R"(<P00="abcdefghij" P01="xyz)");
    char dest[8];
    std::memset(dest, '#', sizeof dest);
    EXPECT_EQ(0, simcard_ReadParamFromFile(0x6F20, 0, "P00", dest, 4));
    EXPECT_STREQ("abc", dest);
    EXPECT_EQ('#', dest[4]);

    std::memset(dest, '#', sizeof dest);
    EXPECT_EQ(0, simcard_ReadParamFromFile(0x6F20, 0, "P00", dest, 0));
    EXPECT_EQ('#', dest[0]);
    EXPECT_EQ(0, simcard_ReadParamFromFile(0x6F20, 0, "P00", dest, -5));
    EXPECT_EQ('#', dest[0]);

    // No closing quote: the value runs to the end of the text.
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P01", dest, sizeof dest));
    EXPECT_STREQ("xyz", dest);
}

TEST_F(Records, FileWithoutTerminatorStaysInsideItsBuffer) {
    // 200 bytes of text and not one NUL on the card.
    card.add_file(0x6F20, 200, "<P00=\"" + std::string(194, 'v'));
    auto dest = std::make_unique<char[]>(300);
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P00", dest.get(), 300));
    EXPECT_EQ(std::string(194, 'v'), dest.get());

    capture();
    EXPECT_EQ(-1, write(0x6F20, "P00", "1"));
    EXPECT_THAT(captured(), HasSubstr("simcard conten failed <P00=\""));
}

TEST_F(Records, RecordsGrowPastTheCardFileAndTheCardDecides) {
    card.add_file(0x6F20, 20, R"(<P00="1">)");
    const std::string value(300, 'w');
    ASSERT_EQ(0, write(0x6F20, "P01", value.c_str()));
    const std::string expected = R"(<P00="1" P01=")" + value + "\">";
    EXPECT_EQ(expected, session_text());
    EXPECT_EQ(static_cast<int>(expected.size()), sim_session.file_len);

    ASSERT_EQ(0, write(0x6F20, "P02", value.c_str()));  // continues from the session text
    EXPECT_EQ(static_cast<int>(expected.size() + value.size() + 7), sim_session.file_len);

    capture();
    EXPECT_EQ(-1, hal_saveToSim());
    EXPECT_THAT(captured(), HasSubstr("[hal] hal_saveToSim write file 0x0000 error\n"));
}

TEST_F(Records, CombiningNeverWritesPastTheGivenSize) {
    // Exactly 12 bytes: the appended record would need 18.
    std::unique_ptr<char, decltype(&std::free)> buf(static_cast<char *>(std::calloc(12, 1)),
                                                    &std::free);
    std::strcpy(buf.get(), R"(<P00="1">)");
    capture();
    EXPECT_EQ(-1, _sim_combin_new_file_value1(buf.get(), "P01", "5", 12));
    EXPECT_EQ(0, _sim_combin_new_file_value(buf.get(), "P01", "5", 12));
    EXPECT_EQ(-1, _sim_combin_new_file_value(buf.get(), "P00", "123456", 12));
    EXPECT_EQ(-1, _sim_combin_new_file_value(nullptr, "P00", "1", 12));
    EXPECT_EQ(
        "simcard new content failed cant find > <P00=\"1\" P0\n"
        "simcard new content failed cant find > <P00=\"12345\n"
        "param is NULL\n",
        captured());
    EXPECT_STREQ(R"(<P00="1">)", buf.get());

    std::strcpy(buf.get(), R"(<P00="1">)");
    EXPECT_EQ(10, _sim_combin_new_file_value(buf.get(), "P00", "22", 12));
    EXPECT_STREQ(R"(<P00="22">)", buf.get());
}

TEST_F(Records, OfflineCardAndFailedReads) {
    card.add_file(0x6F20, 40, R"(<P00="1">)");
    char dest[8] = {};
    card.set_online(false);
    capture();
    EXPECT_EQ(-1, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest));
    EXPECT_EQ(-1, write(0x6F20, "P00", "2"));
    EXPECT_EQ(
        "sim card is not online!\n"
        "[hal] sim_card_write_param: sim card is not online!\n",
        captured());

    card.set_online(true);
    card.fail_ioctl(ins::kReadBinary);
    capture();
    EXPECT_EQ(-1, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest));
    EXPECT_THAT(captured(),
                HasSubstr("libsimcard [sim_card_read_param] read file error...file id=0x6f20\n"));
    EXPECT_EQ(nullptr, sim_session.content);
    EXPECT_EQ(0, sim_session.loaded);

    card.fail_ioctl(ins::kReadBinary);
    capture();
    EXPECT_EQ(-1, write(0x6F20, "P00", "2"));
    EXPECT_THAT(captured(), HasSubstr("hal [sim_card_write_param] read file error\n"));
    EXPECT_EQ(nullptr, sim_session.content);

    // Back to normal: the record is read afresh.
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest));
    EXPECT_STREQ("1", dest);
}

TEST_F(Records, WriteToFileMarksTheFileElementStale) {
    write_file(SIMCARD_PATH_CONFIG,
               R"(<root><f a="EF" n="6F20" ml="40" wf="1"><p a="PARAM" n="P00"/></f></root>)");
    ASSERT_EQ(0, loadSimcardConfigxml());
    card.add_file(0x6F20, 40, R"(<P00="1">)");
    IXML_Element *file = reinterpret_cast<IXML_Element *>(findFileNode(0x6F20));
    ASSERT_NE(nullptr, file);

    ASSERT_EQ(0, simcard_WriteParamToFile(0x6F20, 123, "P00", "7"));
    EXPECT_STREQ("0", ixmlElement_getAttribute(file, "wf"));
    EXPECT_EQ(R"(<P00="7">)", session_text());

    capture();
    EXPECT_EQ(-1, simcard_WriteParamToFile(0x6F21, 0, "P00", "7"));
    EXPECT_EQ(-1, simcard_WriteParamToFile(0x6F20, 0, "P00", nullptr));
    EXPECT_EQ("node is NULL\nparam is NULL\n", captured());

    // A refused write leaves the element as it was.
    ixmlElement_setAttribute(file, "wf", "2");
    card.set_online(false);
    capture();
    EXPECT_EQ(-1, simcard_WriteParamToFile(0x6F20, 0, "P00", "8"));
    captured();
    EXPECT_STREQ("2", ixmlElement_getAttribute(file, "wf"));
}

}  // namespace
}  // namespace simcard
