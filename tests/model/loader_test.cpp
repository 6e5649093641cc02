#include "sal/loader.h"

#include <string>
#include <string_view>

#include "hal/hal.h"
#include "sal/config.h"
#include "sal/instance/paths.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

using testing::SampleTest;

// ---- records into the tree --------------------------------------------------

constexpr std::string_view kRecords = R"(<?xml version="1.0"?>
<c>
  <Lan a="EF" n="6F04" ml="128" wf="0">
    <Same a="PARAM" n="P00" ml="8" simv2dbv=""/>
    <Listed a="param" n="P01" ml="1" simv2dbv="0=off;1=on"/>
    <NoRule a="PARAM" n="P02" ml="4"/>
    <Ports a="PARAM" n="P03" ml="4" simv2dbv="callback_convertLanInterface"/>
    <Unset a="PARAM" n="P04" ml="2" simv2dbv=""/>
    <Absent a="PARAM" n="P05" ml="2" simv="old" dbv="older"/>
    <Short a="PARAM" n="P06" ml="2" simv2dbv=""/>
    <Other a="X" n="P07" ml="2"/>
    <Unmatched a="PARAM" n="P08" ml="2" simv2dbv="0=off"/>
  </Lan>
  <NoLength a="EF" n="6F05" ml="8" wf="0">
    <First a="PARAM" n="P00" ml="4"/><Second a="PARAM" n="P01"/><Third a="PARAM" n="P02" ml="4"/>
  </NoLength>
</c>
)";

class Records : public SampleTest {
protected:
    void SetUp() override { load_document(kRecords); }
    static IXML_Node *lan() { return sal::find_file_node(0x6F04); }
    static std::string value(const char *tag) {
        return attr(child(lan(), tag), "simv") + "|" + attr(child(lan(), tag), "dbv");
    }
};

TEST_F(Records, EveryParameterTakesItsRecordAndConvertsByItsRule) {
    ASSERT_EQ(1, synFileDataFromSimToMem(
                     lan(), R"(<P00="abc" P01="1" P02="7" P03="17" P04=FF P06="abcdefghij")"
                            R"( P07="x" P08="1">)"));
    EXPECT_EQ("abc|abc", value("Same"));
    EXPECT_EQ("1|on", value("Listed"));
    EXPECT_EQ("7|", value("NoRule"));  // no rule, no data-model value
    EXPECT_EQ(
        "17|InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.1,"
        "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1",
        value("Ports"));
    EXPECT_EQ("FF|FF", value("Unset"));
    EXPECT_EQ("old|older", value("Absent"));
    EXPECT_EQ("abcde|abcde", value("Short"));  // cut to the ml + 4 byte buffer
    EXPECT_EQ("(none)|(none)", value("Other"));
    EXPECT_EQ("1|", value("Unmatched"));
    const std::string listed =
        "[synFileDataFromSimToMem-N]  ##node name = Listed\n"
        "[synFileDataFromSimToMem-N]  ###########filed node name=Listed,para_data=1\n"
        "[synFileDataFromSimToMem-N]  ----->>>>simv2dbv=0=off;1=on\n"
        "[synFileDataFromSimToMem-N]  simv=1,dbv=on\n"
        "[synFileDataFromSimToMem-N]  ----->>>>dbv=on\n"
        "[synFileDataFromSimToMem-N]  ##node name = NoRule\n";
    EXPECT_NE(std::string::npos, log().find(listed)) << log();
}

TEST_F(Records, RecordNamesAreFoundAsPlainTextAndValuesStayInTheirBuffers) {
    ASSERT_EQ(1, synFileDataFromSimToMem(lan(), R"(<P00="P01=x" P01="1" P06="abcdefghijklmn)"));
    EXPECT_EQ("P01=x|P01=x", value("Same"));
    EXPECT_EQ("|", value("Listed"));  // the first "P01" is inside P00's value
    EXPECT_EQ("abcde|abcde", value("Short"));
    ASSERT_EQ(1, synFileDataFromSimToMem(lan(), "P0"));
    ASSERT_EQ(1, synFileDataFromSimToMem(lan(), "P00"));
    EXPECT_EQ("|", value("Same"));
}

TEST_F(Records, AParameterWithoutLengthStopsTheCopy) {
    IXML_Node *file = sal::find_file_node(0x6F05);
    EXPECT_EQ(-1, synFileDataFromSimToMem(file, R"(<P00="1" P01="2" P02="3">)"));
    EXPECT_EQ("1", attr(child(file, "First"), "simv"));
    EXPECT_EQ("(none)", attr(child(file, "Third"), "simv"));
    EXPECT_NE(std::string::npos,
              log().find("[synFileDataFromSimToMem-N]  Second get param length failed!\n"));
    clear_log();
    EXPECT_EQ(-1, synFileDataFromSimToMem(file, nullptr));
    EXPECT_EQ("[synFileDataFromSimToMem-N]  paramNode or file_datas is invalid!\n", log());
}

TEST_F(Records, SessionCopyRefusesHeldTextAndMarksTheFileLoaded) {
    capture();
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(nullptr, 0x6F04, 16));
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(lan(), 0x6FDB, 16));
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(lan(), 0x6F04, 0));
    sim_session.file_id = 0x6F04;
    sim_session.content = static_cast<char *>(calloc(8, 1));
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(lan(), 0x6F04, 16));
    hal::drop_session_content();
    EXPECT_EQ(0, syncCurrentSesionDataToMem(lan(), 0x6F04, 16));
    EXPECT_EQ(
        "[sal] syncCurrentSesionDataToMem: node is null\n"
        "[sal] syncCurrentSesionDataToMem: file is not correct\n"
        "[sal] syncCurrentSesionDataToMem: len is less than zero\n"
        "[hal] hal_getCurrentSessionContent: sim session content is null\n"
        "[sal] syncCurrentSesionDataToMem: get current session content failed\n",
        captured());
    EXPECT_EQ("1", attr(lan(), "wf"));
}

// ---- instance numbers and paths -------------------------------------------

class Instances : public SampleTest {
protected:
    void SetUp() override { open_device(); }

    InstanceIndexInfo index(int file, std::string_view list, int expected_rc = 0) {
        InstanceIndexInfo info{};
        EXPECT_EQ(expected_rc, sal::read_instance_index(file, list, &info));
        return info;
    }
};

TEST_F(Instances, MalformedReferencesAndListsStayWithinTheirBuffers) {
    card.add_file(0x6F70, 200,
                  R"(<P00="12.PPPOE.3" P01="9.ip" P02="0" P03="4" P04="5" P05="6" P06="7")"
                  R"( P07="8" P08="9">)");
    InstanceIndexInfo info = index(0x6F70, "P00");
    EXPECT_EQ(12, info.wanIndex);
    EXPECT_EQ("PPPO", instance::conn_type(info));  // four characters, no terminator
    EXPECT_EQ(3, info.connIndex);
    info = index(0x6F70, "P01");
    EXPECT_EQ(9, info.wanIndex);
    EXPECT_STREQ("ip", info.connType);
    EXPECT_EQ(0, info.connIndex);
    index(0x6F70, "P02", -1);  // instance 0
    // 31 characters of the list are read: it ends with P05 ("6"); P08 is not read.
    EXPECT_EQ(6, index(0x6F70, "P03,P04,P05,P06,P07,P03,P04,P05,P08").instIndex);
    capture();
    index(0x6F70, "P09", -1);
    EXPECT_NE(std::string::npos,
              captured().find("simcard_ReadParamFromFile failed,file_id=0x6f70 param=P09\n"));
}

constexpr std::string_view kPpp = R"(<?xml version="1.0"?>
<c>
  <Conn a="EF" n="6f08" ml="512" wf="0" t="dynamic" index="P00"
        uri="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.">
    <Index a="PARAM" n="P00" uri="*DEL*" furi=""/>
    <User a="PARAM" n="P01" uri="Username" furi=""/>
    <Ip a="PARAM" n="P02" uri="WANIPConnection.%d.X" furi=""/>
    <Name a="PARAM" n="P03" uri="" furi=""/>
    <Gone a="PARAM" n="P04" furi=""/>
  </Conn>
  <Device a="EF" n="6f39" ml="64" wf="0" t="dynamic" index="P00"
          uri="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d."/>
</c>
)";

TEST_F(Instances, APppConnectionGetsItsPathsAndIpParametersNone) {
    load_document(kPpp);
    IXML_Node *conn = sal::find_file_node(0x6F08);  // 2.PPP.1 on the card
    ASSERT_EQ(0, sal::build_uri_for_node(conn, 0x6F08));
    const std::string path =
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANPPPConnection.1.";
    EXPECT_EQ(path, attr(conn, "uri"));
    EXPECT_EQ("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.",
              attr(conn, "furi"));
    EXPECT_EQ(path + "Username", attr(child(conn, "User"), "uri"));
    EXPECT_EQ(attr(conn, "furi") + "Username", attr(child(conn, "User"), "furi"));
    EXPECT_EQ(path + "Name", attr(child(conn, "Name"), "uri"));
    EXPECT_EQ("WANIPConnection.%d.X", attr(child(conn, "Ip"), "uri"));
    EXPECT_EQ("", attr(child(conn, "Ip"), "furi"));
    EXPECT_EQ("*DEL*", attr(child(conn, "Index"), "uri"));

    capture();
    EXPECT_EQ(-1, sal::build_uri_for_node(sal::find_file_node(0x6F39), 0x6F39));  // P00 "2"
    EXPECT_EQ(-1, sal::build_uri_for_node(nullptr, 0x6F39));
    EXPECT_EQ(
        "uri has wan but index has't wan index\n"
        "[sal] buildUriForNode: Argument node is null\n",
        captured());
}

}  // namespace
}  // namespace simcard
