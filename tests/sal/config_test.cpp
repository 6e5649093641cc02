#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace xml = sal::xml;

constexpr std::string_view kDocument = R"(<?xml version="1.0"?>
<simcard>
  <Lan a="EF" n="6F00" ml="40" wf="0">
    <Mode a="PARAM" n="P00" simv="1" dbv="on" simv2dbv="0=off;1=on"/>
    <Mask a="PARAM" n="P01"/>
  </Lan>
  <Wan a="EF" n="6f07" ml="64" wf="0"/>
  <Last a="EF" n="6FDA" ml="8" wf="0"/>
</simcard>
)";

class Config : public CardTest {
protected:
    void SetUp() override { write_file(SIMCARD_PATH_LOG, ""); }

    // The log with source lines replaced by N.
    std::string log() const {
        static const std::regex line("-[0-9]+\\]  ");
        return std::regex_replace(read_file(SIMCARD_PATH_LOG), line, "-N]  ");
    }
};

TEST_F(Config, LoadsElementsOnlyAndFailedLoadsKeepTheRoot) {
    EXPECT_EQ(-1, loadSimcardConfigxml());  // missing
    EXPECT_EQ(nullptr, ct_simcfg_root);
    write_file(SIMCARD_PATH_CONFIG, kDocument);
    ASSERT_EQ(0, loadSimcardConfigxml());
    IXML_Node *root = ct_simcfg_root;
    EXPECT_EQ("simcard", xml::tag(root));
    const auto children = xml::children(root);  // the whitespace is not kept
    EXPECT_EQ(3, std::distance(children.begin(), children.end()));
    IXML_Node *lan = findFileNode(0x6F00);

    write_file(SIMCARD_PATH_CONFIG, R"(<simcard><Lan a="EF" n="6F00"></simcard>)");
    EXPECT_EQ(-1, loadSimcardConfigxml());
    EXPECT_EQ(root, ct_simcfg_root);
    EXPECT_EQ(
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load failed rc=0x65!\n"
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load succeed!\n"
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load failed rc=0xc!\n",
        log());

    // A second load moves the root; the first tree stays alive.
    write_file(SIMCARD_PATH_CONFIG, R"(<other><F a="EF" n="6F01" ml="1" wf="0"/></other>)");
    ASSERT_EQ(0, loadSimcardConfigxml());
    EXPECT_EQ(nullptr, findFileNode(0x6F00));
    EXPECT_NE(nullptr, findFileNode(0x6F01));
    EXPECT_TRUE(xml::attr_is(lan, "ml", "40"));
}

TEST_F(Config, FindsFileElementsByIdInRangeIgnoringCase) {
    EXPECT_EQ(nullptr, findFileNode(0x6F00));
    write_file(SIMCARD_PATH_CONFIG, kDocument);
    ASSERT_EQ(0, loadSimcardConfigxml());
    EXPECT_EQ(nullptr, findFileNode(0x6EFF));
    EXPECT_EQ(nullptr, findFileNode(0x6FDB));
    EXPECT_EQ("Lan", xml::tag(findFileNode(0x6F00)));
    EXPECT_EQ("Last", xml::tag(findFileNode(0x6FDA)));
    EXPECT_EQ("Wan", xml::tag(findFileNode(0x6F07)));
    EXPECT_EQ(nullptr, findFileNode(0x6F08));  // not listed: no message
    EXPECT_EQ(
        "[findFileNode-N]  ct_simcfg_root is null!\n"
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load succeed!\n"
        "[findFileNode-N]  file_id=6eff is invalid!\n"
        "[findFileNode-N]  file_id=6fdb is invalid!\n",
        log());

    // Never past a shorter text's terminator.
    const auto shortest = std::make_unique<char[]>(3);
    std::copy_n("ab", 3, shortest.get());
    stringToUpper(shortest.get());
    EXPECT_STREQ("AB", shortest.get());
}

TEST_F(Config, LogLinesAndAMissingLogDirectory) {
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 42, "v=%d|%s\n", 7, "x"));
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 43, "runs on"));
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 44, "%s", std::string(3000, 'm').c_str()));
    EXPECT_EQ("[fn-42]  v=7|x\n[fn-43]  runs on[fn-44]  " + std::string(1023, 'm'),
              read_file(SIMCARD_PATH_LOG));

    // Nothing is written and the caller carries on.
    std::filesystem::remove_all(path("/logs"));
    capture();
    EXPECT_EQ(-1, simcardLog(SIMCARD_PATH_LOG, "fn", 1, "lost\n"));
    EXPECT_EQ(nullptr, findFileNode(0x6EFF));
    EXPECT_EQ("", captured());
    EXPECT_FALSE(exists(SIMCARD_PATH_LOG));
}

// What the library asked of the seam's file calls while a log line went out.
class LogCalls : public Config {
protected:
    void SetUp() override {
        Config::SetUp();
        current_ = this;
        table_ = *platform.table();
        table_.open = [](void *ctx, const char *path, int flags, int mode) {
            const int fd = current_->platform.table()->open(ctx, path, flags, mode);
            current_->calls.push_back("open " + std::string(path) + " " + std::to_string(flags) +
                                      " " + std::to_string(mode) + " -> " + std::to_string(fd));
            return fd;
        };
        table_.write = [](void *ctx, int fd, const void *buf, size_t count) {
            current_->calls.push_back("write " + std::to_string(fd) + " " +
                                      std::string(static_cast<const char *>(buf), count));
            return current_->platform.table()->write(ctx, fd, buf, count);
        };
        table_.close = [](void *ctx, int fd) {
            current_->calls.push_back("close " + std::to_string(fd));
            return current_->platform.table()->close(ctx, fd);
        };
        testing::install(&table_);
    }
    void TearDown() override { current_ = nullptr; }

    std::vector<std::string> calls;

private:
    static inline LogCalls *current_ = nullptr;
    simcard_platform table_{};
};

TEST_F(LogCalls, OneLineIsOneAppendingOpenOneWriteAndOneCloseBesideTheDevice) {
    // The next descriptor the system hands out is the device's number too.
    const int next = ::open("/dev/null", O_RDONLY);
    ::close(next);
    platform.set_descriptor(next);
    open_device();
    calls.clear();

    const std::string func(600, 'f');
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, func.c_str(), 7, "%c|%s", 'a', "tail\n"));
    ASSERT_EQ(3u, calls.size());
    const std::string fd = calls[0].substr(calls[0].rfind(' ') + 1);
    EXPECT_NE(std::to_string(next), fd);
    const std::string line = "[" + func.substr(0, 510) + "  a|tail\n";
    EXPECT_EQ((std::vector<std::string>{"open " SIMCARD_PATH_LOG " " +
                                            std::to_string(O_WRONLY | O_CREAT | O_APPEND) + " " +
                                            std::to_string(0666) + " -> " + fd,
                                        "write " + fd + " " + line, "close " + fd}),
              calls);
    EXPECT_EQ(line, read_file(SIMCARD_PATH_LOG));
    EXPECT_EQ(1, sim_card_online()) << "the device keeps its descriptor";

    // A message with a NUL ends there, as printing it would.
    write_file(SIMCARD_PATH_LOG, "");
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 1, "ab%ccd", 0));
    EXPECT_EQ("[fn-1]  ab", read_file(SIMCARD_PATH_LOG));
}

TEST_F(Config, SavedDocumentLoadsAgain) {
    write_file("/tmp/.keep", "");
    EXPECT_EQ(-1, xmlSaveToFile(SIMCARD_PATH_MEMDUMP));  // nothing loaded
    write_file(SIMCARD_PATH_CONFIG, kDocument);
    ASSERT_EQ(0, loadSimcardConfigxml());
    IXML_Node *mode = ixmlNode_getFirstChild(findFileNode(0x6F00));
    // The value may be the attribute's own text, which the first write frees.
    ASSERT_EQ(0, xml::set_attr(mode, "dbv", *xml::attr(mode, "dbv")));
    ASSERT_EQ(0, xml::set_attr(mode, "uri", "InternetGatewayDevice.X"));
    EXPECT_EQ(-1, xmlSaveToFile("/nodir/mem.xml"));
    ASSERT_EQ(0, xmlSaveToFile(SIMCARD_PATH_MEMDUMP));

    write_file(SIMCARD_PATH_CONFIG, read_file(SIMCARD_PATH_MEMDUMP));
    ASSERT_EQ(0, loadSimcardConfigxml());
    mode = ixmlNode_getFirstChild(findFileNode(0x6F00));
    EXPECT_TRUE(xml::attr_is(mode, "simv2dbv", "0=off;1=on"));
    EXPECT_TRUE(xml::attr_is(mode, "dbv", "on"));
    EXPECT_TRUE(xml::attr_is(mode, "uri", "InternetGatewayDevice.X"));
    EXPECT_NE(nullptr, findFileNode(0x6FDA));
}

}  // namespace
}  // namespace simcard
