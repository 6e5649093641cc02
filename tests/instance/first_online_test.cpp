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
    static std::string furi(std::string_view param) {
        return attr(child(findFileNode(0x6F07), param), "furi");
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
    const std::string user_pattern = furi("PPPUsername");
    const std::string text = card.text(0x6F07);

    for (int round = 0; round < 2; ++round) {  // nothing reached the card: it runs again
        clear_log();
        ASSERT_EQ(0, update6F07ForFirstOnline());
        EXPECT_EQ(kDevices + "1.", uri(0x6F07));
        EXPECT_EQ(kDevices + "%d.", attr(findFileNode(0x6F07), "furi"));
        EXPECT_EQ("1.IP.1", attr(child(findFileNode(0x6F07), "ConnIndex"), "simv"));
        EXPECT_EQ(kDevices + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
        EXPECT_EQ(kDevices + "%d.%s.%d.Name", furi("ConnectionName"));
        EXPECT_EQ(kDevices + "1.WANIPConnection.1.SubnetMask", uri(0x6F07, "SubnetMask"));
        EXPECT_EQ(kDevices + "1.X_CT-COM_WANEponLinkConfig.VLANIDMark",
                  uri(0x6F07, "ConnectVlanID"));
        EXPECT_EQ(user, uri(0x6F07, "PPPUsername"));
        EXPECT_EQ(user_pattern, furi("PPPUsername"));
        EXPECT_EQ("*DEL*", uri(0x6F07, "ConnIndex"));
    }
    EXPECT_EQ(text, card.text(0x6F07));
    EXPECT_EQ("0", attr(findFileNode(0x6F07), "wf"));
    const std::string lines = log();
    EXPECT_EQ(0u, lines.find(std::string(kFirst) + "enter\n" + kFirst +
                             "---------------------has wanindex=1 index=0\n" + kFirst +
                             "node uri = " + kDevices + "1.\n"));
    EXPECT_NE(std::string::npos,
              lines.find(std::string(kFirst) + "param node=ConnectionName uri = " + kDevices +
                         "1.WANIPConnection.1.Name\n"));
    EXPECT_EQ(std::string::npos, lines.find("PPPUsername"));
    const std::string out = std::string(kFirst) + "out\n";
    EXPECT_EQ(lines.size() - out.size(), lines.rfind(out));
}

TEST_F(FirstOnline, LowerCaseIpIsNoReference) {
    start("P00=\"1.ip.3\"");
    EXPECT_EQ(kDevices + "1.WANIPConnection.3.Name", uri(0x6F07, "ConnectionName"));
    EXPECT_EQ(0, update6F07ForFirstOnline());
    EXPECT_EQ(kDevices + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
}

TEST_F(FirstOnline, RefusedOfflineUninitialisedOrWithoutAFileSize) {
    const std::string offline = std::string(kFirst) + "enter\n" + kFirst + "simcard is offline!\n";
    EXPECT_EQ(-1, update6F07ForFirstOnline());
    EXPECT_EQ(offline, log());
    open_device();
    clear_log();
    EXPECT_EQ(-1, update6F07ForFirstOnline());
    EXPECT_EQ(std::string(kFirst) + "enter\n" + kFirst + "simcard is not init!\n", log());

    start("P00=FF");
    card.set_online(false);
    EXPECT_EQ(-1, update6F07ForFirstOnline());
    EXPECT_EQ(offline, log());
    EXPECT_EQ(kDevices + "%d.", uri(0x6F07));

    card.set_online(true);
    sal::xml::set_attr(findFileNode(0x6F07), "ml", "");
    clear_log();
    EXPECT_EQ(-1, update6F07ForFirstOnline());
    EXPECT_NE(std::string::npos, log().find("file_len is empty!\n"));
    EXPECT_EQ(kDevices + "%d.", uri(0x6F07));
}

}  // namespace
}  // namespace simcard::testing
