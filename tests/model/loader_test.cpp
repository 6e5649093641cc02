#include "sal/loader.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include "hal/hal.h"
#include "sal/config.h"
#include "sal/instance/paths.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

constexpr std::string_view kDocument = R"(<?xml version="1.0"?>
<c>
  <Lan a="EF" n="6F04" ml="128" wf="0">
    <Same a="PARAM" n="P00" ml="8" simv2dbv=""/>
    <Listed a="param" n="P01" ml="1" simv2dbv="0=off;1=on"/>
    <NoRule a="PARAM" n="P02" ml="4"/>
    <Unset a="PARAM" n="P04" ml="2" simv2dbv=""/>
    <Absent a="PARAM" n="P05" ml="2" simv="old" dbv="older"/>
    <Short a="PARAM" n="P06" ml="2" simv2dbv=""/>
  </Lan>
  <Conn a="EF" n="6f08" ml="512" wf="0" t="dynamic" index="P00"
        uri="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.">
    <Index a="PARAM" n="P00" uri="*DEL*" furi=""/>
    <User a="PARAM" n="P01" uri="Username" furi=""/>
    <Ip a="PARAM" n="P02" uri="WANIPConnection.%d.X" furi=""/>
    <Name a="PARAM" n="P03" uri="" furi=""/>
  </Conn>
</c>
)";

class Loader : public testing::SampleTest {
protected:
    void SetUp() override { load_document(kDocument); }
    static IXML_Node *lan() { return sal::find_file_node(0x6F04); }
    static std::string value(const char *tag) {
        return attr(child(lan(), tag), "simv") + "|" + attr(child(lan(), tag), "dbv");
    }
    InstanceIndexInfo index(int file, std::string_view list, int expected_rc = 0) {
        InstanceIndexInfo info{};
        EXPECT_EQ(expected_rc, sal::read_instance_index(file, list, &info)) << list;
        return info;
    }
};

TEST_F(Loader, EveryParameterTakesItsRecordAndConvertsByItsRule) {
    ASSERT_EQ(1, synFileDataFromSimToMem(lan(),
                                         R"(<P00="abc" P01="1" P02="7" P04=Fx P06="abcdefghij">)"));
    EXPECT_EQ("abc|abc", value("Same"));  // an empty rule: dbv is simv
    EXPECT_EQ("1|on", value("Listed"));
    EXPECT_EQ("7|", value("NoRule"));  // no rule, no data-model value
    EXPECT_EQ("FF|FF", value("Unset"));
    EXPECT_EQ("old|older", value("Absent"));
    EXPECT_EQ("abcde|abcde", value("Short"));  // cut to the ml + 4 byte buffer
    EXPECT_EQ(-1, synFileDataFromSimToMem(lan(), nullptr));
}

TEST_F(Loader, TheSessionCopyRefusesHeldTextAndMarksTheFileLoaded) {
    capture();
    sim_session.file_id = 0x6F04;
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(lan(), 0x6FDB, 16));
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(lan(), 0x6F04, 0));
    sim_session.content = static_cast<char *>(calloc(8, 1));
    EXPECT_EQ(-1, syncCurrentSesionDataToMem(lan(), 0x6F04, 16));
    EXPECT_EQ("0", attr(lan(), "wf"));
    hal::drop_session_content();
    EXPECT_EQ(0, syncCurrentSesionDataToMem(lan(), 0x6F04, 16));
    EXPECT_EQ("1", attr(lan(), "wf"));
}

TEST_F(Loader, InstanceNumbersStayWithinTheirBuffers) {
    open_device();
    card.add_file(0x6F70, 200, R"(<P00="12.PPPOE.3" P02="0" P03="4" P04="5" P05="6" P08="9">)");
    const InstanceIndexInfo info = index(0x6F70, "P00");
    EXPECT_EQ(12, info.wanIndex);
    EXPECT_EQ("PPPO", instance::conn_type(info));  // four characters, no terminator
    EXPECT_EQ(3, info.connIndex);
    index(0x6F70, "P02", -1);  // instance 0
    // 31 characters of the list are read: it ends with P05 ("6"); P08 is not read.
    EXPECT_EQ(6, index(0x6F70, "P03,P04,P05,P03,P04,P03,P04,P05,P08").instIndex);
    // Type entries are numbered among those of their classification.
    EXPECT_EQ(1, index(0x6F49, "P00").subIndex);
    EXPECT_EQ(2, index(0x6F4A, "P00").subIndex);
}

TEST_F(Loader, APppConnectionGetsItsPathsAndIpParametersNone) {
    open_device();  // 6F08 holds 2.PPP.1
    IXML_Node *conn = sal::find_file_node(0x6F08);
    ASSERT_EQ(0, sal::build_uri_for_node(conn, 0x6F08));
    const std::string path =
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANPPPConnection.1.";
    EXPECT_EQ(path, attr(conn, "uri"));
    EXPECT_EQ(path + "Username", attr(child(conn, "User"), "uri"));
    EXPECT_EQ(attr(conn, "furi") + "Username", attr(child(conn, "User"), "furi"));
    EXPECT_EQ(path + "Name", attr(child(conn, "Name"), "uri"));  // an empty tail: the tag
    EXPECT_EQ("WANIPConnection.%d.X", attr(child(conn, "Ip"), "uri"));
    EXPECT_EQ("*DEL*", attr(child(conn, "Index"), "uri"));
}

}  // namespace
}  // namespace simcard
