// The VLAN binding values of file 6F90.
#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>

#include "sal/xml.h"
#include "tests/access/fixture.h"

namespace simcard {
namespace {

using ::testing::HasSubstr;
namespace xml = sal::xml;

const std::string kEight = "0/0;0/0;0/0;0/0;0/0;0/0;0/0;0/0;";

class VlanRecords : public testing::CardTest {};

TEST_F(VlanRecords, OnePortsValueInAndOutOfARecord) {
    const std::tuple<std::string, int, std::string> rows[] = {
        {"1/100;2/200", 1, "100"},
        {"1/100;2/200", 2, "200"},
        {"1/100;1/101;2/200", 1, "100;101"},
        {"1/100;2/200", 3, ""},
        {"1/1;1/2;1/3", 1, "1;2"},                               // a third value is never used
        {kEight.substr(4) + "1/9", 1, "9"},                      // the eighth entry is looked at,
        {kEight + "1/9", 1, ""},                                 // the ninth is not
        {"1;1/200", 1, ";200"},                                  // no "/": an empty value
        {"1/" + std::string(60, 'x'), 1, std::string(37, 'x')},  // an entry is kept in 40 bytes
    };
    capture();
    for (const auto &[record, port, value] : rows) {
        char out[512] = {};
        getVlanBindValue(record.c_str(), port, out);
        EXPECT_EQ(value, out) << record << " port " << port;
    }
    // Refused: the output is left as it was.
    char out[512] = "keep";
    getVlanBindValue("1/100;5/500", 5, out);
    getVlanBindValue("1/100", -1, out);
    getVlanBindValue("", 1, out);
    EXPECT_EQ("param error\nparam error\ncan't get value\n", captured());
    EXPECT_STREQ("keep", out);

    // Setting one port's value rebuilds the record.
    const std::tuple<std::string, int, std::string, std::string> rebuilds[] = {
        {"1/100;2/200", 1, "300", "2/200;1/300"},
        {"1/100;2/200", 2, "300", "1/100;2/300"},
        {"1/100;2/200", 2, "", "1/100;"},  // trailing ";" kept
        {"", 3, "10;20", "3/10;3/20"},
        {"2/200;1/100;3/300", 2, "5", "1/100;3/300;2/5"},  // only the last entry saves the ";"
        {"1/100;1/101", 1, "7", "1/7"},
        {"", 2, "100;200;300", "2/100;2/200;300"},  // only the first ";" splits
        {kEight + "1/9", 1, "5", kEight + ";1/5"},  // past the eighth: lost
        {"1/100;2/200;", 1, "300", "2/200;;1/300"},
        {"", 1, std::string(60, 'a') + ";5", "1/" + std::string(47, 'a') + ";1/5"},  // 48 bytes
    };
    for (const auto &[old_record, port, value, record] : rebuilds) {
        char built[512] = {};
        setVlanBindValue(old_record.c_str(), built, port, value.c_str());
        EXPECT_EQ(record, built) << old_record << " port " << port << " = " << value;
    }
    char big[600];
    std::memset(big, 'Z', sizeof big);
    formatVlanBindValue(1, "100;", big);
    formatVlanBindValue(2, "", big);  // leaves the output as it was
    capture();
    setVlanBindValue("1/100", big, 5, "1");
    setVlanBindValue(nullptr, big, 1, "1");
    setVlanBindValue("1/100", nullptr, 1, "1");
    EXPECT_EQ("param error\nparam error\nparam error\n", captured());
    EXPECT_STREQ("1/100;1/", big);
    // A result is cut to the buffer.
    setVlanBindValue("", big, 1, ("1;" + std::string(700, 'v')).c_str());
    EXPECT_EQ(511u, std::strlen(big));
    EXPECT_EQ('Z', big[512]);
}

// ---- by path, on the sample card (P00 1, P01 1/41;2/41;3/45, P02 1, P03 1/41) ----

const std::string kLan = "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.";
const std::string kWlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
const std::string kVlan = ".X_CT-COM_VLAN";
const std::string kMode = ".X_CT-COM_Mode";

class VlanPaths : public testing::Started {
protected:
    static IXML_Node *element(const char *tag) { return child(findFileNode(0x6F90), tag); }
    std::string on_card(const char *name) const { return record(0x6F90, name); }
};

TEST_F(VlanPaths, GetsOnePortOfARecordFromTheCard) {
    card.add_file(0x6F90, 160, R"(<P00="1" P01="1/100;2/200" P02="1" P03="1/41">)", {}, true);
    const std::pair<int, const char *> ports[] = {{1, "100"}, {2, "200"}, {3, ""}};
    capture();
    for (const auto &[port, value] : ports) {
        EXPECT_EQ(value, get(kLan + std::to_string(port) + kVlan)) << port;
        // One record serves every port: its dbv holds the port asked for last.
        EXPECT_EQ(value, attr(element("LanVlanBind"), "dbv")) << port;
    }
    EXPECT_EQ("41", get(kWlan + "1" + kVlan));
    EXPECT_EQ("", captured());
    EXPECT_EQ("0", wf(0x6F90));  // not the lazy load
    EXPECT_EQ("", log());        // no lookup by path took place
    capture();
    EXPECT_EQ("", get(kLan + "5" + kVlan));
    EXPECT_EQ("", get("X_CT-COM_VLAN.LANEthernetInterfaceConfig"));  // no digit before it
    EXPECT_EQ("param error\nparam error\n", captured());
}

TEST_F(VlanPaths, SetsOnePortOnTheCard) {
    capture();
    EXPECT_EQ(0, set(kLan + "2" + kVlan, "300"));
    EXPECT_EQ(0, set(kWlan + "3" + kVlan, "10;20"));
    EXPECT_EQ("index  = 2\nset vlan bind config\nindex  = 3\nset vlan bind config\n", captured());
    EXPECT_EQ("1/41;3/45;2/300", on_card("P01"));
    EXPECT_EQ("1/41;3/45;2/300", attr(element("LanVlanBind"), "simv"));
    EXPECT_EQ("1/41;3/10;3/20", on_card("P03"));
    EXPECT_EQ("0", wf(0x6F90));  // written at once, not marked for the write-back
    EXPECT_EQ("300", get(kLan + "2" + kVlan));
    EXPECT_EQ("10;20", get(kWlan + "3" + kVlan));
    // A bad port digit clears the whole record.
    capture();
    EXPECT_EQ(0, set(kLan + "7" + kVlan, "9"));
    EXPECT_THAT(captured(), HasSubstr("param error\n"));
    EXPECT_EQ("", on_card("P01"));
}

TEST_F(VlanPaths, TheModeIsOneForAllPortsAndAnsweredFromMemory) {
    EXPECT_EQ("(null)", get(kWlan + "1" + kMode));  // never set
    capture();
    EXPECT_EQ(0, set(kWlan + "3" + kMode, "2"));
    EXPECT_EQ(0, set(kLan + "4" + kMode, "0"));
    EXPECT_EQ("set vlan bind config\nset vlan bind config\n", captured());
    EXPECT_EQ("2", on_card("P02"));
    EXPECT_EQ("0", on_card("P00"));
    card.clear_trace();
    EXPECT_EQ("2", get(kWlan + "1" + kMode));
    EXPECT_EQ("0", get(kLan + "1" + kMode));
    EXPECT_TRUE(card.trace().empty());

    // A failed card write is not reported to the caller.
    card.set_online(false);
    capture();
    EXPECT_EQ(0, set(kLan + "1" + kMode, "3"));
    EXPECT_THAT(captured(), HasSubstr("write simcard P00 to 3 error\nset vlan bind config\n"));
    card.set_online(true);
    EXPECT_EQ("3", get(kLan + "1" + kMode));
    EXPECT_EQ("0", on_card("P00"));
}

TEST_F(VlanPaths, OtherPathsAndArguments) {
    // A WAN path is no VLAN binding path: the document decides.
    const std::string wan = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.X_CT-COM_VLAN";
    EXPECT_EQ("(null)", get(wan));
    EXPECT_EQ(-1, set(wan, "5"));
    xml::set_attr(param("InternetGatewayDevice.X_CT-COM_IPTV.MulticastVlan"), "uri", wan);
    EXPECT_EQ("45", get(wan));
    EXPECT_EQ(0, set(wan, "46"));
    EXPECT_EQ("2", wf(0x6F91));

    capture();
    EXPECT_EQ(nullptr, getVlanBindValueByUri(nullptr));
    EXPECT_EQ(0, setVlanBindValueByUri((kLan + "1" + kMode).c_str(), nullptr));
    EXPECT_EQ(nullptr, setVlanBindConfig(nullptr, "1", "1"));
    EXPECT_EQ(nullptr, setVlanBindConfig("p01", "x", "y"));  // exact name
    EXPECT_EQ("param is NULL\nparam is NULL\nparam is NULL/n", captured());
    // The texts handed in may be the tree's own.
    IXML_Node *p03 = element("WlanVlanBind");
    EXPECT_EQ(p03, setVlanBindConfig("P03", "2/7", nullptr));
    EXPECT_EQ(p03,
              setVlanBindConfig("P03", xml::attr_cstr(p03, "simv"), xml::attr_cstr(p03, "simv")));
    EXPECT_EQ("2/7", attr(p03, "dbv"));
    EXPECT_EQ("2/7", on_card("P03"));

    // Without the file element nothing is found, and a set is still handled.
    IXML_Node *vlan = nullptr;
    ASSERT_EQ(IXML_SUCCESS, ixmlNode_removeChild(ct_simcfg_root, findFileNode(0x6F90), &vlan));
    xml::note_shape_changed();
    EXPECT_EQ("(null)", get(kLan + "1" + kVlan));
    EXPECT_EQ("(null)", get(kLan + "1" + kMode));
    EXPECT_EQ(0, set(kLan + "1" + kMode, "1"));
    ixmlNode_free(vlan);
}

}  // namespace
}  // namespace simcard
