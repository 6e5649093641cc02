#include "sal/mapping.h"

#include <cstring>
#include <string>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;

constexpr const char *kLan = "callback_convertLanInterface";
const std::string kEth = "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.";
const std::string kWlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";

class Mapping : public CardTest {
protected:
    std::string db(const char *simv, const char *rule, int *rc = nullptr) {
        char out[1024] = {};
        const int r = getDbValFromSimVal(simv, rule, out);
        if (rc != nullptr) {
            *rc = r;
        }
        return out;
    }
    std::string sim(const char *dbv, const char *rule, int *rc = nullptr) {
        char out[256] = {};
        const int r = getSimValFromDbVal(dbv, rule, out);
        if (rc != nullptr) {
            *rc = r;
        }
        return out;
    }
};

TEST_F(Mapping, ListRulesCompareOneCardCharacterButTheWholeModelValue) {
    EXPECT_EQ("on", db("1", "0=off;1=on"));
    EXPECT_EQ("on", db("10", "0=off;1=on"));  // only the first character counts
    EXPECT_EQ("", db("O", "0=off;o=on"));     // case-sensitive
    EXPECT_EQ("off", db("0", "0:off;1:on"));  // any separator
    EXPECT_EQ("1", sim("ON", "0=off;1=on"));
    int rc = -1;
    EXPECT_EQ("", sim("maybe", "0=off;1=on", &rc));
    EXPECT_EQ(0, rc);
    EXPECT_EQ("", db("", "0=off;1=on", &rc));
    EXPECT_EQ(0, rc);

    EXPECT_EQ("on", db("1", ";;1=on"));
    EXPECT_EQ("1", sim("on", ";;1=on;"));
    EXPECT_EQ("", db("1", "1"));  // a pair too short for a value
}

TEST_F(Mapping, ModelToCardWritesOneByteAndNoTerminator) {
    char out[8];
    std::memset(out, 'x', sizeof out);
    EXPECT_EQ(0, getSimValFromDbVal("on", "0=off;1=on", out));
    EXPECT_EQ("1xxxxxxx", std::string(out, sizeof out));
}

TEST_F(Mapping, OnlyAnExactRowNameIsACallback) {
    EXPECT_EQ(&simv2dbv_cb_tbl[0], findSimv2dbvCallback(kLan));
    EXPECT_EQ(nullptr, findSimv2dbvCallback("callback_convertlaninterface"));
    EXPECT_EQ(nullptr, findSimv2dbvCallback(nullptr));

    // Read as a list whose first pair is the card character 'c'.
    EXPECT_EQ("llbackX=1", db("c", "callbackX=1"));
    EXPECT_EQ("c", sim("LLBACKX=1", "callbackX=1"));

    EXPECT_EQ(kEth + "1," + kWlan + "1", db("17", kLan));
    EXPECT_EQ("32", sim((kWlan + "2").c_str(), kLan));
}

TEST_F(Mapping, NullArgumentsAreRefused) {
    char out[1024] = {};
    capture();
    EXPECT_EQ(-1, getDbValFromSimVal(nullptr, "0=a", out));
    EXPECT_EQ(-1, getSimValFromDbVal("a", nullptr, out));
    EXPECT_EQ(-1, callback_convertLanInterfaceSim2DB("1", nullptr));
    EXPECT_EQ(-1, callback_convertLanInterfaceDB2Sim(nullptr, out));
    EXPECT_EQ(
        "[sal] getDbValFromSimVal: Argument is null\n"
        "[sal] getSimValFromDbVal: Argument is null\n"
        "[sal] callback_convertLanInterfaceSim2DB: Argument is null\n"
        "[sal] callback_convertLanInterfaceDB2Sim: Argument is null\n",
        captured());
}

TEST_F(Mapping, LanMaskToPaths) {
    char out[1024] = {};
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("3", out));
    EXPECT_EQ(kEth + "1," + kEth + "2", out);

    std::string all;
    for (int i = 1; i <= 4; ++i) all += kEth + std::to_string(i) + ",";
    for (int i = 1; i <= 8; ++i) all += kWlan + std::to_string(i) + ",";
    all.pop_back();
    ASSERT_EQ(683u, all.size());
    std::memset(out, 0, sizeof out);
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("-1", out));
    EXPECT_EQ(all, out);
    std::memset(out, 0, sizeof out);
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("4096", out));  // above bit 11
    EXPECT_STREQ("", out);

    for (const char *nothing : {"0", "", "-"}) {
        std::memset(out, 0, sizeof out);
        EXPECT_EQ(0, callback_convertLanInterfaceSim2DB(nothing, out)) << nothing;
        EXPECT_STREQ("", out);
    }

    // Appends to what the buffer holds, and drops its last character either way.
    std::strcpy(out, "ab");
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("0", out));
    EXPECT_STREQ("a", out);
    std::strcpy(out, "[");
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("1", out));
    EXPECT_EQ("[" + kEth + "1", out);

    capture();
    EXPECT_EQ(-1, callback_convertLanInterfaceSim2DB("12a", out));
    EXPECT_EQ("[sal] callback_convertLanInterfaceSim2DB: simval is not digit\n", captured());
}

TEST_F(Mapping, LanPathsToMask) {
    char out[256] = {};
    EXPECT_EQ(0, callback_convertLanInterfaceDB2Sim((kWlan + "2").c_str(), out));
    EXPECT_STREQ("32", out);

    std::memset(out, 0, sizeof out);
    const std::string mixed = "junk " + kWlan + "1;" + kEth + "1 " + kEth + "9";
    EXPECT_EQ(0, callback_convertLanInterfaceDB2Sim(mixed.c_str(), out));
    EXPECT_STREQ("17", out);

    std::memset(out, 0, sizeof out);
    char all[1024] = {};
    ASSERT_EQ(0, callback_convertLanInterfaceSim2DB("-1", all));
    EXPECT_EQ(0, callback_convertLanInterfaceDB2Sim(all, out));
    EXPECT_STREQ("4095", out);
}

TEST_F(Mapping, LanListIsCutToTheBufferItAppendsTo) {
    char out[1024];
    std::memset(out, 'p', sizeof out);  // no terminator at all
    EXPECT_EQ(0, callback_convertLanInterfaceSim2DB("-1", out));
    EXPECT_EQ(std::string(1022, 'p'), out);

    char small[40] = {};
    EXPECT_EQ(0, sal::lan_sim_to_db("1", small, sizeof small));
    EXPECT_EQ((kEth + "1").substr(0, 38), small);
}

TEST_F(Mapping, DigitStrings) {
    EXPECT_EQ(1, isDigitString(""));
    EXPECT_EQ(1, isDigitString("-12"));
    EXPECT_EQ(1, isDigitString("1-2-"));
    EXPECT_EQ(0, isDigitString("12a"));
    EXPECT_EQ(0, isDigitString(" 1"));
    EXPECT_EQ(0, isDigitString(nullptr));
}

}  // namespace
}  // namespace simcard
