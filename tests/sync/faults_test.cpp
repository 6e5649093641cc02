// What the card keeps when synchronisation, deletion and restore meet a
// failing card or an odd document.
#include <string>

#include "sal/xml.h"
#include "tests/sync/fixture.h"

namespace simcard::testing {
namespace {

namespace ins = vcard::ins;

const std::string kDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
const std::string kPpp2 = kDevices + "2.WANPPPConnection.1.";

class Faults : public Started {
protected:
    static int set(const std::string &path, const std::string &value) {
        return simcard_setParamValueByUri(path.c_str(), value.c_str());
    }
};

TEST_F(Faults, EveryKindOfFailedParameterWriteStopsAtOnceAndLosesNothing) {
    struct Fault {
        const char *what;
        void (*arm)(vcard::VirtualCard &);
    };
    // Each hits the first card access for 6F06, after 6F05 was committed.
    const Fault faults[] = {
        {"offline",
         [](vcard::VirtualCard &c) {
             c.set_online_schedule({1, 0});
         }},
        {"online ioctl",
         [](vcard::VirtualCard &c) { c.fail_ioctl(vcard::VirtualCard::kOnlineRequest, 1); }},
        {"select ioctl", [](vcard::VirtualCard &c) { c.fail_ioctl(ins::kSelect, 1); }},
        {"select status",
         [](vcard::VirtualCard &c) { c.fail_status(ins::kSelect, 0x94, 0x04, 1); }},
        {"get response",
         [](vcard::VirtualCard &c) { c.fail_status(ins::kGetResponse, 0x6F, 0x00, 1); }},
        {"read ioctl", [](vcard::VirtualCard &c) { c.fail_ioctl(ins::kReadBinary, 2); }},
    };
    for (const Fault &f : faults) {
        SCOPED_TRACE(f.what);
        const std::string url = std::string("http://") + f.what + "/";
        ASSERT_EQ(0, set(kUrl, url));
        ASSERT_EQ(0, set(kDhcp, "false"));
        ASSERT_EQ(0, set(kMinAddress, "192.168.1.7"));
        const std::string lan = card.text(0x6F06);
        f.arm(card);
        card.clear_trace();
        EXPECT_EQ(-1, simcard_syncData2Sim());
        card.clear_faults();
        card.set_online_schedule({});
        EXPECT_EQ("1", wf(0x6F05));
        EXPECT_EQ(url, record(0x6F05, "P00"));
        EXPECT_EQ("2", wf(0x6F06));
        EXPECT_EQ(lan, card.text(0x6F06));
        EXPECT_EQ(1u, card.count(ins::kUpdateBinary));

        EXPECT_EQ(0, simcard_syncData2Sim());
        EXPECT_EQ("1", wf(0x6F06));
        EXPECT_EQ("0", record(0x6F06, "P00"));
        EXPECT_EQ("192.168.1.7", record(0x6F06, "P01"));
        EXPECT_EQ("192.168.1.200", record(0x6F06, "P02"));
        ASSERT_EQ(0, set(kDhcp, "true"));
        ASSERT_EQ(0, simcard_syncData2Sim());
    }
}

// The first chunk of a long record lands, the second does not: what the card
// holds still ends in the old record's ">", and the next round rewrites that
// text as it finds it, with the steps' own commands only.
TEST_F(Faults, ACommitCutBetweenChunksIsRewrittenFromWhatTheCardTook) {
    const std::string user = kPpp2 + "Username";
    const std::string longer = "subscriber-" + std::string(30, '7') + "@isp.example";
    ASSERT_EQ("ad12345678@isp", get(user));
    ASSERT_EQ(0, set(user, longer));
    ASSERT_EQ(0, simcard_syncData2Sim());
    const std::string before = card.text(0x6F08);
    ASSERT_GT(before.size(), 200u);

    ASSERT_EQ(0, set(user, longer + ".net"));
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81, /*skip=*/1);
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_EQ("2", wf(0x6F08));
    const std::string torn = card.text(0x6F08);
    EXPECT_EQ(before.substr(200), torn.substr(200));
    EXPECT_NE(before.substr(0, 200), torn.substr(0, 200));

    card.clear_trace();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_EQ("1", wf(0x6F08));
    EXPECT_EQ(1u, card.count(ins::kSelect));
    EXPECT_EQ(3u, card.count(ins::kReadBinary));  // 512 bytes, read once
    EXPECT_EQ(2u, card.count(ins::kUpdateBinary));
    EXPECT_NE(std::string::npos, card.text(0x6F08).find("P14=\"" + longer + ".net\""));
}

// The failed commit's text must not come back once the file was freed and
// taken by another instance.
TEST_F(Faults, AFileReusedAfterAFailedCommitKeepsItsNewInstance) {
    const std::string old_map = kPpp2 + "PortMapping.1.";
    ASSERT_EQ(0, set(old_map + "PortMappingDescription", "web2"));
    card.fail_ioctl(ins::kUpdateBinary);
    EXPECT_EQ(0, simcard_syncData2Sim());
    ASSERT_EQ("2", wf(0x6F65));
    ASSERT_EQ(1, simcard_delMulInstanceByUri(old_map.c_str(), 1));
    const std::string table = kDevices + "3.WANIPConnection.1.PortMapping.";
    ASSERT_EQ(1, simcard_addMulInstanceByUri(table.c_str(), 2));  // the demo 6F64
    ASSERT_EQ(1, simcard_addMulInstanceByUri(table.c_str(), 3));  // 6F65, freed
    ASSERT_EQ(0, set(table + "3.PortMappingDescription", "cam"));

    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_EQ("3.IP.1", record(0x6F65, "P00"));
    EXPECT_EQ("3", record(0x6F65, "P01"));
    restart();
    EXPECT_EQ("cam", get(table + "3.PortMappingDescription"));
    EXPECT_EQ("(null)", get(old_map + "PortMappingDescription"));
}

// No length check before the commit: the card refuses what passes its end
// and keeps the first chunk, a record without its ">", at which every later
// round stops.
TEST_F(Faults, AValueTooLongForItsFileIsSentAndTheCardKeepsWhatFits) {
    ASSERT_EQ(0, set(kUrl, "http://" + std::string(240, 'a') + "/"));
    ASSERT_EQ(0, set(kDhcp, "false"));
    card.clear_trace();
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_NE(std::string::npos,
              captured().find("[hal] __sim_card_write_ef: write ef error...result=0x6b00\n"
                              "[hal] sim_card_write_file write file error\n"
                              "[hal] hal_saveToSim write file 0x0000 error\n"
                              "[sal] simcard_syncData2Sim: file id 0x6f05 save to sim error\n"));
    EXPECT_EQ(3u, card.count(ins::kUpdateBinary));  // 6F05 twice, then 6F06
    EXPECT_EQ(3u, card.count(ins::kReadBinary));    // each file read once, none after
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ(200u, card.text(0x6F05).size());
    EXPECT_EQ("0", record(0x6F06, "P00"));

    ASSERT_EQ(0, set(kUrl, "http://short/"));
    EXPECT_EQ(-1, simcard_syncData2Sim());
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ(200u, card.text(0x6F05).size());
}

TEST_F(Faults, AFileIdThatNamesNoFileWritesNothing) {
    load_document(R"(<c>
      <Real n="6F05" a="EF" ml="256" wf="2">
        <URL n="P00" a="PARAM" uri="InternetGatewayDevice.ManagementServer.URL" simv="http://x/"/>
      </Real>
      <Bad n="zz" a="EF" ml="64" wf="2">
        <X n="P00" a="PARAM" uri="InternetGatewayDevice.X" simv="evil"/>
      </Bad>
      <Zero n="0" a="EF" ml="64" wf="2">
        <X n="P00" a="PARAM" uri="InternetGatewayDevice.Y" simv="evil"/>
      </Zero>
    </c>)");
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    const std::string out = captured();
    EXPECT_NE(std::string::npos,
              out.find("[sal] simcard_syncData2Sim: node Bad file id is null\n"));
    EXPECT_NE(std::string::npos,
              out.find("[sal] simcard_syncData2Sim: node Zero file id is null\n"));
    EXPECT_EQ("http://x/", record(0x6F05, "P00"));
    EXPECT_EQ(1u, card.count(ins::kUpdateBinary));
}

// A SELECT whose answer was lost leaves the card on another file than the
// session's text: no save may send that text until a SELECT succeeds again.
TEST_F(Faults, AFileWithNothingToWriteCommitsNoOtherFilesText) {
    load_document(R"(<c>
      <Cleared n="6F04" a="EF" ml="128" wf="1">
        <A n="P00" a="PARAM" uri="" simv="1"/>
      </Cleared>
      <Acs n="6F05" a="EF" ml="256" wf="2">
        <URL n="P00" a="PARAM" uri="InternetGatewayDevice.ManagementServer.URL" simv="http://x/"/>
      </Acs>
      <Lan n="6F06" a="EF" ml="192" wf="2">
        <D n="P00" a="PARAM" uri="InternetGatewayDevice.LANHost.DHCPServerEnable" simv="0"/>
      </Lan>
    </c>)");
    const std::string info = card.text(0x6F04);
    const std::string lan = card.text(0x6F06);
    card.fail_status(ins::kGetResponse, 0x6F, 0x00, /*skip=*/1);
    EXPECT_EQ(-1, simcard_syncData2Sim());
    ASSERT_EQ(0x6F06, card.current_file());
    // Its only path cleared after a set (a connection deleted, say).
    sal::xml::set_attr(findFileNode(0x6F04), "wf", "2");
    card.clear_trace();

    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_NE(std::string::npos, captured().find("[hal] hal_saveToSim write file 0x0000 error\n"
                                                 "[sal] simcard_syncData2Sim: file id 0x6f04 "
                                                 "save to sim error\n"));
    EXPECT_NE(std::string::npos,
              log().find("file id 0x6f04 not saved: the card may stand on another file\n"));
    EXPECT_EQ("2", wf(0x6F04));
    EXPECT_EQ(info, card.text(0x6F04));
    EXPECT_EQ("1", wf(0x6F06));
    std::string expected = lan;
    expected.replace(expected.find("P00=\"1\""), 7, "P00=\"0\"");
    EXPECT_EQ(expected, card.text(0x6F06));
    EXPECT_EQ(1u, card.count(ins::kUpdateBinary));
}

class RestoreFaults : public SampleTest {};

// The restore leaves the session as it was: a record written afterwards goes
// on from the session's copy of the file, made before the card reset it.
TEST_F(RestoreFaults, ARecordWrittenAfterARestoreGoesOnFromTheSessionsCopy) {
    std::string doc = sample_text("simcardconfig.xml");
    const std::string bind = "<VlanBind n=\"6F90\" a=\"EF\" ml=\"160\" wf=\"0\"";
    doc.replace(doc.find(bind), bind.size(), bind + " rf=\"1\"");
    write_document(doc);
    card.add_file(0x6F90, 160, R"(<P00="1" P01="1/41;2/41;3/45" P02="1" P03="1/41">)",
                  std::string_view(R"(<P00="0" P01="1/10" P02="0" P03="1/20">)"), true);
    ASSERT_EQ(0, simcard_init());
    const std::string lan = "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.";
    ASSERT_STREQ("41", simcard_getParamValueByUri((lan + "2.X_CT-COM_VLAN").c_str()));

    ASSERT_EQ(0, simcard_local_restore());
    const std::string wlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
    ASSERT_EQ(0, simcard_setParamValueByUri((wlan + "1.X_CT-COM_VLAN").c_str(), "30"));
    EXPECT_EQ(R"(<P00="1" P01="1/41;2/41;3/45" P02="1" P03="1/30">)", card.text(0x6F90));
}

}  // namespace
}  // namespace simcard::testing
