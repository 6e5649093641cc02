// The first coming online: WAN demo 6F07 without a reference on the card.
#include <string>
#include <string_view>

#include "tests/instance/fixture.h"

namespace simcard::testing {
namespace {

constexpr const char *kFirst = "[update6F07ForFirstOnline-N]  ";

class FirstOnline : public Objects {
protected:
    void SetUp() override {}

    // Starts up with P00 of 6F07 as given (record text, "P00=FF" for unset).
    void start(std::string_view p00) {
        std::string text = card.text(0x6F07);
        text.replace(text.find("P00=\"1.IP.1\""), 12, p00);
        card.add_file(0x6F07, 512, text, {}, true);
        ASSERT_EQ(0, simcard_init());
        clear_log();
    }
};

TEST_F(FirstOnline, AReferenceOnTheCardIsLeftAlone) {
    start("P00=\"2.PPP.1\"");
    EXPECT_EQ(kDevices + "2.WANPPPConnection.1.Username", uri(0x6F07, "PPPUsername"));
    EXPECT_EQ(0, update6F07ForFirstOnline());
    EXPECT_EQ(
        std::string(kFirst) + "enter\n" + kFirst + "6f07 index=2.PPP.1 is exit!dont need update!\n",
        log());
    EXPECT_EQ(kDevices + "2.", uri(0x6F07));
    EXPECT_EQ("(none)", attr(child(findFileNode(0x6F07), "ConnIndex"), "simv"));
}

TEST_F(FirstOnline, WithoutOneTheTreeGetsTheFirstIpConnectionOfDevice1) {
    start("P00=FF");
    ASSERT_EQ(kDevices + "%d.", uri(0x6F07));
    const std::string user = uri(0x6F07, "PPPUsername");
    const std::string text = card.text(0x6F07);

    for (int round = 0; round < 2; ++round) {  // nothing reached the card: it runs again
        clear_log();
        ASSERT_EQ(0, update6F07ForFirstOnline());
        EXPECT_EQ(kDevices + "1.", uri(0x6F07));
        EXPECT_EQ("1.IP.1", attr(child(findFileNode(0x6F07), "ConnIndex"), "simv"));
        EXPECT_EQ(kDevices + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
        EXPECT_EQ(kDevices + "%d.%s.%d.Name",
                  attr(child(findFileNode(0x6F07), "ConnectionName"), "furi"));
        EXPECT_EQ(kDevices + "1.X_CT-COM_WANEponLinkConfig.VLANIDMark",
                  uri(0x6F07, "ConnectVlanID"));
        EXPECT_EQ(user, uri(0x6F07, "PPPUsername"));  // PPP paths are kept
        EXPECT_EQ("*DEL*", uri(0x6F07, "ConnIndex"));
    }
    EXPECT_EQ(text, card.text(0x6F07));
    EXPECT_EQ(0u, log().find(std::string(kFirst) + "enter\n" + kFirst +
                             "---------------------has wanindex=1 index=0\n" + kFirst +
                             "node uri = " + kDevices + "1.\n"));
}

// The first run joins the file's uri with each parameter's tail, or its tag
// name when the tail is empty, whatever furi the document or start-up left.
TEST_F(FirstOnline, TheFirstRunJoinsTheFilesPatternWithEachTailOrTagName) {
    std::string doc = sample_text("simcardconfig.xml");
    const std::string demo = "<Wanconnection n=\"6F07\"";
    doc.replace(doc.find(demo), demo.size(),
                demo + " furi=\"InternetGatewayDevice.Elsewhere.%d.\"");
    const std::string last = "<ConnectionTrigger n=\"P16\"";
    doc.replace(doc.find(last), last.size(),
                "<Extra n=\"P17\" a=\"PARAM\" ml=\"4\" rw=\"RW\" uri=\"\" furi=\"\"/>" + last);
    write_document(doc);
    start("P00=FF");
    for (int round = 0; round < 2; ++round) {  // a repeat builds the same paths
        ASSERT_EQ(0, update6F07ForFirstOnline());
        EXPECT_EQ(kDevices + "1.", uri(0x6F07));
        EXPECT_EQ(kDevices + "%d.", attr(findFileNode(0x6F07), "furi"));
        EXPECT_EQ(kDevices + "1.Extra", uri(0x6F07, "Extra"));
        EXPECT_EQ(kDevices + "%d.Extra", attr(child(findFileNode(0x6F07), "Extra"), "furi"));
        EXPECT_EQ(kDevices + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
    }
}

TEST_F(FirstOnline, LowerCaseIpIsNoReference) {
    start("P00=\"1.ip.3\"");
    EXPECT_EQ(kDevices + "1.WANIPConnection.3.Name", uri(0x6F07, "ConnectionName"));
    EXPECT_EQ(0, update6F07ForFirstOnline());
    EXPECT_EQ(kDevices + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
}

TEST_F(FirstOnline, RefusedOfflineOrUninitialised) {
    open_device();
    EXPECT_EQ(-1, update6F07ForFirstOnline());
    EXPECT_EQ(std::string(kFirst) + "enter\n" + kFirst + "simcard is not init!\n", log());

    start("P00=FF");
    card.set_online(false);
    EXPECT_EQ(-1, update6F07ForFirstOnline());
    EXPECT_EQ(std::string(kFirst) + "enter\n" + kFirst + "simcard is offline!\n", log());
    EXPECT_EQ(kDevices + "%d.", uri(0x6F07));
    EXPECT_EQ("(none)", attr(child(findFileNode(0x6F07), "ConnIndex"), "simv"));
}

}  // namespace
}  // namespace simcard::testing
