// The VLAN binding values of file 6F90.
#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "tests/access/fixture.h"

namespace simcard {
namespace {

using testing::attr_text;
using testing::CardTest;
using ::testing::HasSubstr;
using testing::Started;
namespace ins = vcard::ins;
namespace xml = sal::xml;

std::string port_value(const char *record, int port) {
    char out[512] = {};
    getVlanBindValue(record, port, out);
    return out;
}

std::string rebuilt(const char *old_record, int port, const char *value) {
    char out[512] = {};
    setVlanBindValue(old_record, out, port, value);
    return out;
}

std::string formatted(int port, const char *value) {
    char out[512] = {};
    formatVlanBindValue(port, value, out);
    return out;
}

std::string repeat(const char *entry, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += entry;
    return text;
}

// ---- the record forms, without a card ---------------------------------------

class VlanRecords : public CardTest {};

TEST_F(VlanRecords, ExtractsOnePortAsInTheWorkedTable) {
    struct Row {
        const char *record;
        int port;
        const char *value;
    };
    const Row rows[] = {
        {"1/100;2/200", 1, "100"},
        {"1/100;2/200", 2, "200"},
        {"1/100;1/101;2/200", 1, "100;101"},
        {"1/100;2/200", 3, ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.record) + " port " + std::to_string(row.port));
        capture();
        EXPECT_EQ(row.value, port_value(row.record, row.port));
        EXPECT_EQ("", captured());
    }
}

TEST_F(VlanRecords, ExtractionLooksAtEightEntriesAndTwoValuesOfAPort) {
    EXPECT_EQ("1;2", port_value("1/1;1/2;1/3", 1));                      // a third is never used
    EXPECT_EQ("9", port_value((repeat("0/0;", 7) + "1/9").c_str(), 1));  // the eighth
    EXPECT_EQ("", port_value((repeat("0/0;", 8) + "1/9").c_str(), 1));   // the ninth
    EXPECT_EQ("", port_value("1;2/200", 1));                             // no "/": nothing
    EXPECT_EQ(";200", port_value("1;1/200", 1));
    EXPECT_EQ("100", port_value("1/100;", 1));  // trailing ";"
    EXPECT_EQ("7", port_value("0/7", 0));
    // An entry is kept in 40 bytes: "1/" and 37 characters of its value.
    EXPECT_EQ(std::string(37, 'x'), port_value(("1/" + std::string(60, 'x')).c_str(), 1));
}

TEST_F(VlanRecords, ExtractionRefusesBadArguments) {
    for (int port : {5, 9, -1}) {
        char out[512] = "keep";
        capture();
        getVlanBindValue("1/100;5/500", port, out);
        EXPECT_EQ("param error\n", captured()) << port;
        EXPECT_STREQ("keep", out);
    }
    char out[512] = "keep";
    capture();
    getVlanBindValue(nullptr, 1, out);
    getVlanBindValue("1/100", 1, nullptr);
    EXPECT_EQ("param error\nparam error\n", captured());
    capture();
    getVlanBindValue("", 1, out);
    EXPECT_EQ("can't get value\n", captured());
    EXPECT_STREQ("keep", out);
}

TEST_F(VlanRecords, FormatsOnePortsEntries) {
    EXPECT_EQ("2/100;2/200", formatted(2, "100;200"));
    EXPECT_EQ("2/100;2/200;300", formatted(2, "100;200;300"));  // the last reads as port 3
    EXPECT_EQ("3/7", formatted(3, "7"));
    EXPECT_EQ("1/100;1/", formatted(1, "100;"));
    // The first of two values is kept in 48 bytes.
    EXPECT_EQ("1/" + std::string(47, 'a') + ";1/5",
              formatted(1, (std::string(60, 'a') + ";5").c_str()));

    char out[512] = "keep";
    formatVlanBindValue(2, "", out);
    formatVlanBindValue(2, nullptr, out);
    EXPECT_STREQ("keep", out);
}

TEST_F(VlanRecords, RebuildsRecordsAsInTheExamples) {
    struct Row {
        const char *old_record;
        int port;
        const char *value;
        const char *record;
    };
    const Row rows[] = {
        {"1/100;2/200", 1, "300", "2/200;1/300"},
        {"1/100;2/200", 2, "300", "1/100;2/300"},
        {"1/100;2/200", 2, "", "1/100;"},  // trailing ";" kept
        {"", 3, "10;20", "3/10;3/20"},
        // Only the last entry sets the flag that saves the ";".
        {"2/200;1/100;3/300", 2, "5", "1/100;3/300;2/5"},
        {"1/100;1/101", 1, "7", "1/7"},
        {"1/100;2/200", 1, "", "2/200"},
        {"1/100;2/200", 4, "40;41", "1/100;2/200;4/40;4/41"},
        {"1/100;2/200;", 1, "300", "2/200;;1/300"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.old_record) + " port " + std::to_string(row.port) + " = " +
                     row.value);
        capture();
        EXPECT_EQ(row.record, rebuilt(row.old_record, row.port, row.value));
        EXPECT_EQ("", captured());
    }
    // Entries past the eighth are lost.
    EXPECT_EQ(repeat("0/0;", 8) + ";1/5", rebuilt((repeat("0/0;", 8) + "1/9").c_str(), 1, "5"));
}

TEST_F(VlanRecords, RebuildRefusesBadArguments) {
    char out[512] = "keep";
    capture();
    setVlanBindValue("1/100", out, 5, "1");
    setVlanBindValue("1/100", out, -1, "1");
    setVlanBindValue(nullptr, out, 1, "1");
    setVlanBindValue("1/100", out, 1, nullptr);
    setVlanBindValue("1/100", nullptr, 1, "1");
    EXPECT_EQ("param error\nparam error\nparam error\nparam error\nparam error\n", captured());
    EXPECT_STREQ("keep", out);
}

TEST_F(VlanRecords, ResultsAreCutToTheBuffer) {
    const std::string value = "1;" + std::string(700, 'v');
    char out[600];
    std::memset(out, 'Z', sizeof out);
    std::memset(out, 0, 512);
    setVlanBindValue("", out, 1, value.c_str());
    EXPECT_EQ(511u, std::strlen(out));
    EXPECT_EQ('Z', out[512]);
}

// ---- by path, on the sample card ---------------------------------------------

std::string lan(int port, const char *name) {
    return "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig." + std::to_string(port) +
           "." + name;
}

std::string wlan(int port, const char *name) {
    return "InternetGatewayDevice.LANDevice.1.WLANConfiguration." + std::to_string(port) + "." +
           name;
}

constexpr const char *kVlan = "X_CT-COM_VLAN";
constexpr const char *kMode = "X_CT-COM_Mode";

class VlanPaths : public Started {
protected:
    static IXML_Node *record(const char *name) {
        for (IXML_Node *child : xml::child_elements(findFileNode(0x6F90))) {
            if (xml::attr_is(child, "n", name)) return child;
        }
        return nullptr;
    }

    static std::string get(const std::string &path) {
        const char *value = simcard_getParamValueByUri(path.c_str());
        return value != nullptr ? value : "(null)";
    }

    static int set(const std::string &path, const char *value) {
        return simcard_setParamValueByUri(path.c_str(), value);
    }

    // The record on the card: the text up to its closing ">". A record that
    // shrinks leaves the card's old bytes behind it, which are not part of it.
    std::string on_card() const {
        const std::string text = card.text(0x6F90);
        return text.substr(0, text.find('>') + 1);
    }

    void put_card_record(const char *text) {
        card.add_file(0x6F90, 160, text, {}, true);
        card.clear_trace();
    }
};

TEST_F(VlanPaths, GetsOnePortOfTheEthernetRecord) {
    put_card_record(R"(<P00="1" P01="1/100;2/200" P02="1" P03="1/41">)");
    capture();
    EXPECT_EQ("100", get(lan(1, kVlan)));
    EXPECT_EQ("100", attr_text(record("P01"), "dbv"));
    // One record serves every port: its dbv holds the port asked for last.
    EXPECT_EQ("200", get(lan(2, kVlan)));
    EXPECT_EQ("200", attr_text(record("P01"), "dbv"));
    EXPECT_EQ("", get(lan(3, kVlan)));
    EXPECT_EQ("", attr_text(record("P01"), "dbv"));
    EXPECT_EQ("", captured());

    EXPECT_EQ("(absent)", attr_text(record("P01"), "simv"));
    EXPECT_EQ("0", wf(0x6F90));  // not the lazy load
    EXPECT_EQ(0u, commands(ins::kUpdateBinary));
    EXPECT_EQ("", log());  // no lookup by path took place
}

TEST_F(VlanPaths, GetsOnePortOfTheWlanRecord) {
    EXPECT_EQ("41", get(wlan(1, kVlan)));
    EXPECT_EQ("41", attr_text(record("P03"), "dbv"));
    EXPECT_EQ("", get(wlan(2, kVlan)));
    // Only single-digit instances work: 11 reads as port 1.
    EXPECT_EQ("41", get("InternetGatewayDevice.LANDevice.1.WLANConfiguration.11.X_CT-COM_VLAN"));
    EXPECT_EQ("45", get(lan(3, kVlan)));  // the sample's P01 is 1/41;2/41;3/45
}

TEST_F(VlanPaths, ABadPortDigitGivesAnEmptyValue) {
    capture();
    EXPECT_EQ("", get(lan(5, kVlan)));
    EXPECT_EQ("param error\n", captured());
    EXPECT_EQ("", attr_text(record("P01"), "dbv"));

    capture();
    EXPECT_EQ("", get("X_CT-COM_VLAN.LANEthernetInterfaceConfig"));  // no digit before it
    EXPECT_EQ("param error\n", captured());
}

TEST_F(VlanPaths, AnEmptyCardRecordGivesAnEmptyValue) {
    put_card_record(R"(<P00="1" P01="" P02="1" P03=FF>)");
    capture();
    EXPECT_EQ("", get(lan(1, kVlan)));
    EXPECT_EQ("", get(wlan(1, kVlan)));
    EXPECT_EQ("can't get value\ncan't get value\n", captured());
}

TEST_F(VlanPaths, SetsOnePortOnTheCard) {
    capture();
    EXPECT_EQ(0, set(lan(2, kVlan), "300"));
    EXPECT_EQ("index  = 2\nset vlan bind config\n", captured());
    EXPECT_EQ(R"(<P00="1" P01="1/41;3/45;2/300" P02="1" P03="1/41">)", on_card());
    EXPECT_EQ("1/41;3/45;2/300", attr_text(record("P01"), "simv"));
    EXPECT_EQ("(absent)", attr_text(record("P01"), "dbv"));
    EXPECT_EQ("0", wf(0x6F90));  // written at once, not marked for the write-back
    EXPECT_EQ("300", get(lan(2, kVlan)));
    EXPECT_EQ("41", get(lan(1, kVlan)));

    EXPECT_EQ(0, set(wlan(3, kVlan), "10;20"));
    EXPECT_EQ(R"(<P00="1" P01="1/41;3/45;2/300" P02="1" P03="1/41;3/10;3/20">)", on_card());
    EXPECT_EQ("10;20", get(wlan(3, kVlan)));

    EXPECT_EQ(0, set(wlan(1, kVlan), ""));
    EXPECT_EQ(R"(<P00="1" P01="1/41;3/45;2/300" P02="1" P03="3/10;3/20">)", on_card());
}

TEST_F(VlanPaths, ABadPortDigitClearsTheWholeRecordOnSet) {
    capture();
    EXPECT_EQ(0, set(lan(7, kVlan), "9"));
    EXPECT_EQ("index  = 7\nparam error\nset vlan bind config\n", captured());
    EXPECT_EQ(R"(<P00="1" P01="" P02="1" P03="1/41">)", on_card());
}

TEST_F(VlanPaths, TheModeIsOneForAllPortsAndAnsweredFromMemory) {
    // Never set: the tree holds no value for it, and no element has the path.
    EXPECT_EQ("(null)", get(wlan(1, kMode)));
    EXPECT_EQ(0u, commands(ins::kReadBinary));

    capture();
    EXPECT_EQ(0, set(wlan(3, kMode), "2"));
    EXPECT_EQ("set vlan bind config\n", captured());
    EXPECT_EQ(R"(<P00="1" P01="1/41;2/41;3/45" P02="2" P03="1/41">)", on_card());
    EXPECT_EQ("2", attr_text(record("P02"), "simv"));
    EXPECT_EQ("2", attr_text(record("P02"), "dbv"));

    card.clear_trace();
    EXPECT_EQ("2", get(wlan(1, kMode)));
    EXPECT_TRUE(card.trace().empty());

    EXPECT_EQ(0, set(lan(4, kMode), "0"));
    EXPECT_EQ(R"(<P00="0" P01="1/41;2/41;3/45" P02="2" P03="1/41">)", on_card());
    EXPECT_EQ("0", get(lan(1, kMode)));
    EXPECT_EQ("2", get(wlan(2, kMode)));
}

TEST_F(VlanPaths, AFailedCardWriteIsInvisibleToTheCaller) {
    card.set_online(false);
    capture();
    EXPECT_EQ(0, set(lan(1, kMode), "3"));
    EXPECT_EQ(
        "[hal] sim_card_write_param: sim card is not online!\n"
        "write simcard P00 to 3 error\n"
        "set vlan bind config\n",
        captured());
    EXPECT_EQ("3", attr_text(record("P00"), "dbv"));
    EXPECT_EQ("3", attr_text(record("P00"), "simv"));

    // The old record cannot be read either: the port's entries become the record.
    capture();
    EXPECT_EQ(0, set(lan(2, kVlan), "5"));
    EXPECT_EQ(
        "index  = 2\n"
        "sim card is not online!\n"
        "[hal] sim_card_write_param: sim card is not online!\n"
        "write simcard P00 to 2/5 error\n"  // names P00 whatever the record
        "set vlan bind config\n",
        captured());
    card.set_online(true);
    EXPECT_EQ(R"(<P00="1" P01="1/41;2/41;3/45" P02="1" P03="1/41">)", on_card());

    // A commit that the card refuses is not reported either.
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81);
    capture();
    EXPECT_EQ(0, set(wlan(1, kMode), "4"));
    EXPECT_THAT(captured(), HasSubstr("set vlan bind config\n"));
    EXPECT_THAT(on_card(), HasSubstr(R"(P02="1")"));  // unchanged on the card
}

TEST_F(VlanPaths, OtherPathsFallThroughToTheGeneralLookup) {
    const std::string wan = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.X_CT-COM_VLAN";
    capture();
    EXPECT_EQ(nullptr, getVlanBindValueByUri(wan.c_str()));
    EXPECT_EQ(0, setVlanBindValueByUri(wan.c_str(), "5"));
    EXPECT_EQ("index  = 1\n", captured());
    EXPECT_EQ(0, setVlanBindValueByUri("InternetGatewayDevice.X_CT-COM_Mode", "5"));
    EXPECT_EQ(nullptr, getVlanBindValueByUri("InternetGatewayDevice.X_CT-COM_Mode"));
    EXPECT_EQ(0, setVlanBindValueByUri("InternetGatewayDevice.DeviceInfo.ProvisioningCode", "5"));

    EXPECT_EQ("(null)", get(wan));
    EXPECT_EQ(-1, set(wan, "5"));

    // A document parameter with such a path is served like any other.
    ASSERT_EQ(
        0, xml::set_attr(param("InternetGatewayDevice.X_CT-COM_IPTV.MulticastVlan"), "uri", wan));
    EXPECT_EQ("45", get(wan));
    EXPECT_EQ(0, set(wan, "46"));
    EXPECT_EQ("2", wf(0x6F91));
    EXPECT_EQ(R"(<P00="1" P01="45">)", card.text(0x6F91));
}

TEST_F(VlanPaths, TheRecordElementIsUpdatedByName) {
    capture();
    EXPECT_EQ(nullptr, setVlanBindConfig(nullptr, "1", "1"));
    EXPECT_EQ("param is NULL/n", captured());  // no line end

    EXPECT_EQ(nullptr, setVlanBindConfig("P09", "x", "y"));
    EXPECT_EQ(nullptr, setVlanBindConfig("p01", "x", "y"));  // exact name
    EXPECT_TRUE(card.trace().empty());

    EXPECT_EQ(record("P01"), setVlanBindConfig("P01", nullptr, "v"));
    EXPECT_EQ("v", attr_text(record("P01"), "dbv"));
    EXPECT_EQ("(absent)", attr_text(record("P01"), "simv"));
    EXPECT_EQ(record("P01"), setVlanBindConfig("P01", nullptr, nullptr));
    EXPECT_TRUE(card.trace().empty());

    EXPECT_EQ(record("P03"), setVlanBindConfig("P03", "2/7", nullptr));
    EXPECT_EQ("2/7", attr_text(record("P03"), "simv"));
    EXPECT_EQ(R"(<P00="1" P01="1/41;2/41;3/45" P02="1" P03="2/7">)", on_card());
    EXPECT_GE(commands(ins::kUpdateBinary), 1u);
    EXPECT_EQ("0", wf(0x6F90));

    // The texts handed in may be the tree's own.
    IXML_Node *p03 = record("P03");
    EXPECT_EQ(p03,
              setVlanBindConfig("P03", xml::attr_cstr(p03, "simv"), xml::attr_cstr(p03, "simv")));
    EXPECT_EQ("2/7", attr_text(p03, "dbv"));
}

TEST_F(VlanPaths, WithoutTheFileElementNothingIsFound) {
    IXML_Node *vlan = nullptr;
    ASSERT_EQ(IXML_SUCCESS, ixmlNode_removeChild(ct_simcfg_root, findFileNode(0x6F90), &vlan));
    xml::note_shape_changed();
    EXPECT_EQ(nullptr, setVlanBindConfig("P00", "1", "1"));
    EXPECT_EQ("(null)", get(lan(1, kMode)));
    EXPECT_EQ("(null)", get(lan(1, kVlan)));
    EXPECT_EQ(0, set(lan(1, kMode), "1"));  // handled, though nothing was found
    EXPECT_EQ(0u, commands(ins::kUpdateBinary));
    ixmlNode_free(vlan);
}

TEST_F(VlanPaths, NullArgumentsAreRefused) {
    capture();
    EXPECT_EQ(nullptr, getVlanBindValueByUri(nullptr));
    EXPECT_EQ(0, setVlanBindValueByUri(nullptr, "1"));
    EXPECT_EQ(0, setVlanBindValueByUri(lan(1, kMode).c_str(), nullptr));
    EXPECT_EQ("param is NULL\nparam is NULL\nparam is NULL\n", captured());
}

}  // namespace
}  // namespace simcard
