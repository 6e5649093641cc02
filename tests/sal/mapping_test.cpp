#include <cstring>
#include <string>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using Mapping = testing::CardTest;

constexpr const char *kLan = "callback_convertLanInterface";
const std::string kEth = "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.";
const std::string kWlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";

// The card's character counts, but the model's whole value (in any case).
TEST_F(Mapping, ListRulesBothWays) {
    const struct {
        bool to_model;
        std::string in;
        const char *rule;
        std::string out;
    } cases[] = {
        {true, "1", "0=off;1=on", "on"},
        {true, "10", "0=off;1=on", "on"},
        {true, "O", "0=off;o=on", ""},
        {true, "0", "0:off;1:on", "off"},
        {true, "1", ";;1=on", "on"},
        {true, "1", "1", ""},
        {true, "c", "callbackX=1", "llbackX=1"},
        {true, "17", kLan, kEth + "1," + kWlan + "1"},
        {false, "ON", "0=off;1=on", "1"},
        {false, "maybe", "0=off;1=on", ""},
        {false, "on", ";;1=on;", "1"},
        {false, "LLBACKX=1", "callbackX=1", "c"},
        {false, kWlan + "2", kLan, "32"},
    };
    for (const auto &c : cases) {
        char out[1024] = {};
        EXPECT_EQ(0, c.to_model ? getDbValFromSimVal(c.in.c_str(), c.rule, out)
                                : getSimValFromDbVal(c.in.c_str(), c.rule, out))
            << c.in << " " << c.rule;
        EXPECT_EQ(c.out, out) << c.in << " " << c.rule;
    }
    char out[8];
    std::memset(out, 'x', sizeof out);
    EXPECT_EQ(0, getSimValFromDbVal("on", "0=off;1=on", out));
    EXPECT_EQ("1xxxxxxx", std::string(out, sizeof out));  // no terminator
    EXPECT_EQ(nullptr, findSimv2dbvCallback("callback_convertlaninterface"));
}

TEST_F(Mapping, LanMaskToPathsAndBack) {
    const struct {
        const char *before, *mask;
        std::string after;
    } cases[] = {
        {"", "3", kEth + "1," + kEth + "2"},
        {"", "4096", ""},  // above bit 11
        {"ab", "0", "a"},  // appends, and drops the last character either way
        {"[", "1", "[" + kEth + "1"},
    };
    for (const auto &c : cases) {
        char out[1024] = {};
        std::strcpy(out, c.before);
        EXPECT_EQ(0, callback_convertLanInterfaceSim2DB(c.mask, out)) << c.mask;
        EXPECT_EQ(c.after, out) << c.mask;
    }

    char all[1024] = {};
    ASSERT_EQ(0, callback_convertLanInterfaceSim2DB("-1", all));
    EXPECT_EQ(683u, std::strlen(all));  // twelve paths
    char cut[1024];
    std::memset(cut, 'p', sizeof cut);  // no terminator: the list is cut to the buffer
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("-1", cut));
    EXPECT_EQ(std::string(1022, 'p'), cut);
    char mask[256] = {};
    EXPECT_EQ(0, callback_convertLanInterfaceDB2Sim(all, mask));
    EXPECT_STREQ("4095", mask);
    const std::string mixed = "junk " + kWlan + "1;" + kEth + "1 " + kEth + "9";
    EXPECT_EQ(0, callback_convertLanInterfaceDB2Sim(mixed.c_str(), mask));
    EXPECT_STREQ("17", mask);

    capture();
    EXPECT_EQ(-1, callback_convertLanInterfaceSim2DB("12a", all));
    EXPECT_EQ(-1, getDbValFromSimVal(nullptr, "0=a", all));
    EXPECT_EQ(-1, callback_convertLanInterfaceDB2Sim(nullptr, mask));
    EXPECT_EQ(
        "[sal] callback_convertLanInterfaceSim2DB: simval is not digit\n"
        "[sal] getDbValFromSimVal: Argument is null\n"
        "[sal] callback_convertLanInterfaceDB2Sim: Argument is null\n",
        captured());
}

}  // namespace
}  // namespace simcard
