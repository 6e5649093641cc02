#include <gmock/gmock.h>

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
    EXPECT_EQ(R"(<P00="1" P01="2">)", card.text(0x6F10));  // only a save reaches the card
}

// The length is the caller's and is not used: the destination gets the value.
TEST_F(Records, ReadsTheWholeValueWhateverLengthTheCallerPasses) {
    card.add_file(0x6F20, 40, R"(<P00="abc" P05=FF P07="xyz)");
    char dest[8] = "keep";
    EXPECT_EQ(1, sim_card_read_param(0x7F80, 0x6F20, "P05", dest, sizeof dest));
    EXPECT_STREQ("keep", dest);  // unset: untouched
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest));
    EXPECT_STREQ("abc", dest);
    // No closing quote: the value runs to the end of the text.
    EXPECT_EQ(0, simcard_ReadParamFromFile(0x6F20, 0, "P07", dest, sizeof dest));
    EXPECT_STREQ("xyz", dest);

    std::memset(dest, '#', sizeof dest);
    EXPECT_EQ(0, simcard_ReadParamFromFile(0x6F20, 0, "P00", dest, 0));
    EXPECT_EQ(std::string("abc\0#", 5), std::string(dest, 5));
    EXPECT_EQ(0, simcard_ReadParamFromFile(0x6F20, 0, "P07", dest + 4, sizeof(char *) - 7));
    EXPECT_EQ(std::string("abc\0xyz\0", 8), std::string(dest, 8));
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, 1));
    EXPECT_STREQ("abc", dest);
    // Missing arguments fail where the steps first need them.
    EXPECT_EQ(1, sim_card_read_param(0x7F80, 0x6F20, "P05", nullptr, 0));
    EXPECT_EQ(-1, sim_card_read_param(0x7F80, 0x6F20, "P00", nullptr, 0));
    capture();
    EXPECT_EQ(-1, sim_card_read_param(0x7F80, 0x6F20, nullptr, dest, 8));
    EXPECT_EQ("libsimcard [sim_card_read_param] file 6F20 have no (null)\n", captured());
    capture();
    EXPECT_EQ(-1, simcard_ReadParamFromFile(0x6F20, 99, "P09", dest, sizeof dest));
    EXPECT_EQ("libsimcard [sim_card_read_param] file 6F20 have no P09\n", captured());
    EXPECT_EQ(1u, card.count(ins::kReadBinary));  // the file was read once

    // An empty file: nothing read, and a write starts the record.
    card.add_file(0x6F21, 0);
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F21, "P00", dest, sizeof dest));
    EXPECT_STREQ("abc", dest);
    capture();
    ASSERT_EQ(0, write(0x6F21, "P00", "x"));
    EXPECT_EQ("[hal] sim_card_write_param: file_len = 0\ncontent length is 0\n", captured());
    EXPECT_EQ(R"(<P00="x">)", session_text());
}

TEST_F(Records, WritesSkipFFTakeTheFirstMatchAndRebuild6F02) {
    card.add_file(0x6F20, 40, R"(<P00="P01" P01="2">)");
    capture();
    EXPECT_EQ(0, write(0x6F20, "P00", "FF"));
    EXPECT_EQ("[hal] sim_card_write_param: value is FF,skip it\n", captured());
    EXPECT_EQ(0u, card.count(ins::kSelect));
    EXPECT_EQ(nullptr, sim_session.content);
    // A name inside an earlier value is the one rewritten.
    ASSERT_EQ(0, write(0x6F20, "P01", "5"));
    EXPECT_EQ(R"(<P00="P01="5"2">)", session_text());
    EXPECT_EQ(16, sim_session.file_len);

    // 6F02 starts from an empty text; the save leaves the card's tail.
    card.add_file(0x6F02, 64, R"(<P00="old" P01="old">)");
    ASSERT_EQ(0, write(0x6F02, "P01", "5"));
    ASSERT_EQ(0, write(0x6F02, "P02", "6"));
    EXPECT_EQ(1u, card.count(ins::kReadBinary));  // 6F20 only
    ASSERT_EQ(0, hal_saveToSim());
    EXPECT_EQ(R"(<P01="5" P02="6">ld">)", card.text(0x6F02));
}

TEST_F(Records, BrokenRecordsAreRefusedAndKept) {
    const std::string unterminated = "<P00=\"" + std::string(194, 'v');  // no NUL on the card
    const struct {
        std::string text;
        size_t size;
        std::string output;
    } rows[] = {
        {R"(<P00="1")", 40, "simcard conten failed <P00=\"1\"\n"},
        {R"(<P00="1"> P01)", 40,  // a name at the very end has no old value
         "[hal] _sim_combin_new_file_value: simcard content failed <P00=\"1\"> P01\n"},
        {unterminated, 200, "simcard conten failed " + unterminated + "\n"},
    };
    uint16_t id = 0x6F20;
    for (const auto &row : rows) {
        card.add_file(id, row.size, row.text);
        char value[256];
        EXPECT_EQ(0, sim_card_read_param(0x7F80, id, "P00", value, sizeof value));
        capture();
        EXPECT_EQ(-1, write(id, "P01", "2"));
        EXPECT_EQ(row.output + "[hal] sim_card_write_param: sim_combin_new_file_value error\n",
                  captured());
        EXPECT_EQ(row.text, session_text());
        ++id;
    }
}

// Each argument is checked where a step first needs it, in the steps' order.
TEST_F(Records, MissingArgumentsFailWhereTheStepsNeedThem) {
    char empty[1] = {};
    char text[16] = R"(<P00="1">)";
    capture();
    EXPECT_EQ(0, _sim_combin_new_file_value(empty, "P00", "2", 0));
    EXPECT_EQ(-1, _sim_combin_new_file_value(text, "P00", "2", 0));
    EXPECT_EQ(-1, _sim_combin_new_file_value1(empty, "P00", "2", 0));
    EXPECT_EQ(-1, _sim_combin_new_file_value(text, nullptr, "2", 16));
    EXPECT_EQ(
        "content length is 0\n"
        "cant malloc mem to fill file data\n"
        "cant malloc mem to fill file data\n"
        "param is NULL\n",
        captured());
    EXPECT_STREQ(R"(<P00="1">)", text);

    card.add_file(0x6F20, 40, R"(<P00="1">)");
    capture();
    EXPECT_EQ(0, write(0x6F20, nullptr, "FF"));
    EXPECT_EQ("[hal] sim_card_write_param: value is FF,skip it\n", captured());
    EXPECT_EQ(0u, card.count(ins::kSelect));
    capture();
    EXPECT_EQ(-1, write(0x6F20, nullptr, "2"));
    EXPECT_EQ("param is NULL\n[hal] sim_card_write_param: sim_combin_new_file_value error\n",
              captured());
    EXPECT_EQ(R"(<P00="1">)", session_text());  // the file was loaded on the way
}

TEST_F(Records, RecordsGrowPastTheCardFileAndTheCardDecides) {
    card.add_file(0x6F20, 20, R"(<P00="1">)");
    const std::string value(300, 'w');
    ASSERT_EQ(0, write(0x6F20, "P01", value.c_str()));
    ASSERT_EQ(0, write(0x6F20, "P02", value.c_str()));  // continues from the session text
    const std::string expected = R"(<P00="1" P01=")" + value + R"(" P02=")" + value + "\">";
    EXPECT_EQ(expected, session_text());
    EXPECT_EQ(static_cast<int>(expected.size()), sim_session.file_len);
    capture();
    EXPECT_EQ(-1, hal_saveToSim());
    EXPECT_THAT(captured(), HasSubstr("[hal] hal_saveToSim write file 0x0000 error\n"));

    // Combining stays inside the size it is given: 12 bytes, 18 needed.
    const auto buf = std::make_unique<char[]>(12);
    std::strcpy(buf.get(), R"(<P00="1">)");
    capture();
    EXPECT_EQ(-1, _sim_combin_new_file_value1(buf.get(), "P01", "5", 12));
    EXPECT_STREQ(R"(<P00="1">)", buf.get());
}

TEST_F(Records, FailedReadsLeaveNoSession) {
    card.add_file(0x6F20, 40, R"(<P00="1">)");
    char dest[8] = {};
    for (bool reading : {true, false}) {
        card.fail_ioctl(ins::kReadBinary);
        capture();
        EXPECT_EQ(-1, reading ? sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest)
                              : write(0x6F20, "P00", "2"));
        EXPECT_THAT(captured(), HasSubstr("read file error"));
        EXPECT_EQ(nullptr, sim_session.content);
    }
    EXPECT_EQ(0, sim_card_read_param(0x7F80, 0x6F20, "P00", dest, sizeof dest));
    EXPECT_STREQ("1", dest);
}

}  // namespace
}  // namespace simcard
