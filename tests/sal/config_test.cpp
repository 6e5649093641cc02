#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <string_view>

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
  <Demo a="TL" n="0"/>
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

    void load(std::string_view text) {
        write_file(SIMCARD_PATH_CONFIG, text);
        ASSERT_EQ(0, loadSimcardConfigxml());
    }
};

TEST_F(Config, LoadsTheDocumentWithElementsOnly) {
    load(kDocument);
    ASSERT_NE(nullptr, ct_simcfg_root);
    EXPECT_EQ("simcard", xml::tag(ct_simcfg_root));
    int count = 0;
    for (IXML_Node *child : xml::children(ct_simcfg_root)) {
        EXPECT_TRUE(xml::is_element(child)) << xml::tag(child);
        ++count;
    }
    EXPECT_EQ(4, count);
    EXPECT_EQ("[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load succeed!\n", log());
}

TEST_F(Config, FailedLoadsKeepTheRootTheyHad) {
    EXPECT_EQ(-1, loadSimcardConfigxml());
    EXPECT_EQ(nullptr, ct_simcfg_root);

    load(kDocument);
    IXML_Node *root = ct_simcfg_root;
    write_file(SIMCARD_PATH_CONFIG, R"(<simcard><Lan a="EF" n="6F00"></simcard>)");
    EXPECT_EQ(-1, loadSimcardConfigxml());
    EXPECT_EQ(root, ct_simcfg_root);
    EXPECT_EQ(
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load failed rc=0x65!\n"
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load succeed!\n"
        "[loadSimcardConfigxml-N]  /configs/simcardconfig.xml load failed rc=0xc!\n",
        log());
}

TEST_F(Config, ASecondLoadMovesTheRootAndKeepsTheFirstTree) {
    load(kDocument);
    IXML_Node *first_lan = findFileNode(0x6F00);
    ASSERT_NE(nullptr, first_lan);
    load(R"(<other><F a="EF" n="6F01" ml="1" wf="0"/></other>)");
    EXPECT_EQ("other", xml::tag(ct_simcfg_root));
    EXPECT_EQ(nullptr, findFileNode(0x6F00));
    EXPECT_NE(nullptr, findFileNode(0x6F01));
    EXPECT_TRUE(xml::attr_is(first_lan, "ml", "40"));  // still alive
}

TEST_F(Config, FindsFileElementsByIdInRangeIgnoringCase) {
    EXPECT_EQ(nullptr, findFileNode(0x6F00));
    load(kDocument);
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
}

TEST_F(Config, LogLinesAndTheirLimits) {
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 42, "v=%d|%s\n", 7, "x"));
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 43, "runs on"));
    EXPECT_EQ(0, simcardLog(SIMCARD_PATH_LOG, "fn", 44, "%s", std::string(3000, 'm').c_str()));
    EXPECT_EQ("[fn-42]  v=7|x\n[fn-43]  runs on[fn-44]  " + std::string(1023, 'm'),
              read_file(SIMCARD_PATH_LOG));

    // No log directory: nothing is written and the caller carries on.
    std::filesystem::remove_all(path("/logs"));
    EXPECT_EQ(-1, simcardLog(SIMCARD_PATH_LOG, "fn", 1, "lost\n"));
    EXPECT_EQ(nullptr, findFileNode(0x6EFF));
    EXPECT_FALSE(exists(SIMCARD_PATH_LOG));
}

TEST_F(Config, StringToUpperVisitsFourCharactersAtMost) {
    char id[] = "6f0a";
    stringToUpper(id);
    EXPECT_STREQ("6F0A", id);
    char longer[] = "abcdef";
    stringToUpper(longer);
    EXPECT_STREQ("ABCDef", longer);
    // Exactly three bytes: nothing past the terminator is touched.
    std::unique_ptr<char, decltype(&std::free)> shortest(static_cast<char *>(std::malloc(3)),
                                                         &std::free);
    std::memcpy(shortest.get(), "ab", 3);
    stringToUpper(shortest.get());
    EXPECT_STREQ("AB", shortest.get());
}

TEST_F(Config, SavedDocumentLoadsAgain) {
    write_file("/tmp/.keep", "");
    EXPECT_EQ(-1, xmlSaveToFile(SIMCARD_PATH_MEMDUMP));  // nothing loaded
    load(kDocument);
    xml::set_attr(findFileNode(0x6F00), "wf", "2");
    EXPECT_EQ(-1, xmlSaveToFile("/nodir/mem.xml"));
    ASSERT_EQ(0, xmlSaveToFile(SIMCARD_PATH_MEMDUMP));

    write_file(SIMCARD_PATH_CONFIG, read_file(SIMCARD_PATH_MEMDUMP));
    ASSERT_EQ(0, loadSimcardConfigxml());
    IXML_Node *lan = findFileNode(0x6F00);
    EXPECT_TRUE(xml::attr_is(lan, "wf", "2"));
    EXPECT_TRUE(xml::attr_is(ixmlNode_getFirstChild(lan), "simv2dbv", "0=off;1=on"));
    EXPECT_NE(nullptr, findFileNode(0x6FDA));
}

TEST_F(Config, DumpShowsEveryChildUnderItsOwnLabels) {
    load(kDocument);
    capture();
    EXPECT_EQ(0, dumpSubTree(findFileNode(0x6F00)));
    EXPECT_EQ(
        "######dump#########\n"
        "\n##index :P00 |simv:1|parm:PARAM|dbv:on|sim2dbv:0=off;1=on|\n"
        "##node name = Mode\n"
        "\n##index :P01 |simv:(null)|parm:PARAM|dbv:(null)|sim2dbv:(null)|\n"
        "##node name = Mask\n",
        captured());
}

TEST_F(Config, AttributeHelpers) {
    load(kDocument);
    IXML_Node *mode = ixmlNode_getFirstChild(findFileNode(0x6F00));
    EXPECT_EQ("1", xml::attr(mode, "simv").value_or("absent"));
    EXPECT_FALSE(xml::attr(mode, "uri").has_value());
    // The value may be the attribute's own text, which the first write frees.
    ASSERT_EQ(0, xml::set_attr(mode, "dbv", *xml::attr(mode, "dbv")));
    EXPECT_TRUE(xml::attr_is(mode, "dbv", "on"));
    ASSERT_EQ(0, xml::set_attr(mode, "uri", "InternetGatewayDevice.X"));
    EXPECT_TRUE(xml::attr_is(mode, "uri", "InternetGatewayDevice.X"));

    int elements = 0;
    for (IXML_Node *child : xml::child_elements(ct_simcfg_root)) {
        elements += xml::attr(child, "a").has_value() ? 1 : 0;
    }
    EXPECT_EQ(4, elements);
}

}  // namespace
}  // namespace simcard
