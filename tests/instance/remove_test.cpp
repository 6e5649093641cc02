// Deleting instances, and what a restart on the same card then finds.
#include <string>

#include "sal/lifecycle/state.h"
#include "tests/instance/fixture.h"

namespace simcard::testing {
namespace {

using Delete = Objects;

TEST_F(Delete, ADeviceLosesItsThreeFilesAndThePortMappingsUnderIt) {
    capture();
    ASSERT_EQ(1, del(kDevices + "2."));
    const std::string out = captured();
    EXPECT_EQ(0u, out.find("del node = " + kDevices + "2.\n")) << out;
    for (int file : {0x6F08, 0x6F18, 0x6F97, 0x6F65, 0x6F66}) {
        EXPECT_EQ(nullptr, findFileNode(file)) << std::hex << file;
        EXPECT_EQ("", record(file, "P00")) << std::hex << file;
    }
    EXPECT_EQ("41", record(0x6F08, "P01"));  // only P00 is emptied
    EXPECT_EQ(kDevices + "3.", uri(0x6F09));
    EXPECT_EQ("3.IP.1", record(0x6F67, "P00"));
    EXPECT_EQ(nullptr, findParamNodeByUri((kDevices + "2.WANPPPConnection.1.Username").c_str()));
}

TEST_F(Delete, AConnectionClearsTheDevicePathsButItsVlanAndCardOnlyRecords) {
    const std::string vlan = uri(0x6F08, "ConnectVlanID");
    ASSERT_EQ(1, del(kDevices + "2.WANPPPConnection.1."));
    EXPECT_EQ(nullptr, findFileNode(0x6F66));
    EXPECT_EQ(kDevices + "2.", uri(0x6F08));  // the device stays, on the card too
    EXPECT_EQ("2.PPP.1", record(0x6F08, "P00"));
    EXPECT_EQ("", uri(0x6F08, "PPPUsername"));
    EXPECT_EQ("", uri(0x6F08, "ConnectionName"));
    EXPECT_EQ("", uri(0x6F18, "PPPLCPEcho"));
    EXPECT_EQ(vlan, uri(0x6F08, "ConnectVlanID"));
    EXPECT_EQ(kDevices + "2.X_CT-COM_WANEponLinkConfig.Mode", uri(0x6F08, "VlanTransferMode"));
    EXPECT_EQ("*DEL*", uri(0x6F08, "ConnIndex"));
    EXPECT_EQ(kDevices + "3.WANIPConnection.1.Name", uri(0x6F09, "ConnectionName"));
}

TEST_F(Delete, BadRequestsAndFailedCardWritesChangeNothing) {
    EXPECT_EQ(1, del("InternetGatewayDevice.LANDevice.1.Hosts.1."));
    EXPECT_EQ(0, simcard_delMulInstanceByUri((kDevices + "2.").c_str(), 0));
    EXPECT_EQ(kDevices + "2.", uri(0x6F08));
    // A file the card does not hold: its element stays.
    card.remove_file(0x6F3A);
    IXML_Node *orphan = addMulInstanceNode(0x6F3A, 0x6F38);
    capture();
    EXPECT_EQ(0, delMulInstanceNode(orphan));
    EXPECT_NE(std::string::npos, captured().find("write simcard P00 to empty error\n"));
    EXPECT_EQ(orphan, findFileNode(0x6F3A));
}

// File 0 is whatever file the card has selected: after a sync that is the
// last file committed, which must not get another element's record.
TEST_F(Delete, AnElementNamingFileZeroIsNeverWrittenThrough) {
    IXML_Node *app = addMulInstanceNode(0x6F39, 0x6F38);
    ASSERT_NE(nullptr, app);
    sal::xml::set_attr(app, "n", "0");
    handleCommonAddInstance1(app, (kQos + "App.").c_str(), 5);
    ASSERT_EQ(kQos + "App.5.", attr(app, "uri"));
    ASSERT_EQ(1, add(kDevices, 5));
    IXML_Node *wan = nullptr;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        if (sal::xml::tag(file) == "Wanconnection" && attr(file, "uri") == kDevices + "5.") {
            wan = file;
        }
    }
    ASSERT_NE(nullptr, wan);
    const int wan_file = static_cast<int>(std::stoi(attr(wan, "n"), nullptr, 16));
    sal::xml::set_attr(wan, "n", "0");
    ASSERT_EQ(
        0, simcard_setParamValueByUri("InternetGatewayDevice.ManagementServer.URL", "http://x/"));
    ASSERT_EQ(0, simcard_syncData2Sim());
    const std::string acs = card.text(0x6F05);
    card.clear_trace();

    capture();
    EXPECT_EQ(1, del(kQos + "App.5."));
    EXPECT_NE(std::string::npos, captured().find("write simcard P00 to empty error\n"));
    EXPECT_EQ(ct_simcfg_root, ixmlNode_getParentNode(app));
    EXPECT_EQ(0u, card.trace().size());

    capture();
    EXPECT_EQ(1, add(kDevices + "5.WANIPConnection.", 1));
    EXPECT_NE(std::string::npos, captured().find("write simcard P00 to 5.IP.1 error\n"));
    EXPECT_EQ("", record(wan_file, "P00"));
    EXPECT_EQ(acs, card.text(0x6F05));
    for (const auto *select : card.commands(vcard::ins::kSelect)) {
        EXPECT_NE(0x6F05, select->data[0] << 8 | select->data[1]);
    }
}

TEST_F(Delete, ARestartSeesWhatWasAddedAndNotWhatWasDeleted) {
    const std::string pm = kDevices + "4.WANIPConnection.1.PortMapping.";
    ASSERT_EQ(1, del(kDevices + "2."));
    ASSERT_EQ(1, add(kDevices, 4));
    ASSERT_EQ(1, add(kDevices + "4.WANIPConnection.", 1));
    ASSERT_EQ(1, add(pm, 1));                       // the demo
    ASSERT_EQ(1, add(pm, 2));                       // 6F65
    ASSERT_EQ(1, del(kQos + "Classification.2."));  // and its types
    EXPECT_EQ(nullptr, findFileNode(0x6F49));
    EXPECT_EQ("", record(0x6F49, "P00"));

    lifecycle::reset_process_state();
    ASSERT_EQ(0, simcard_init());
    // Device 4 took the ids device 2 freed, lowest first.
    EXPECT_EQ(kDevices + "4.WANIPConnection.1.Name", uri(0x6F08, "ConnectionName"));
    EXPECT_EQ(kDevices + "4.WANIPConnection.1.MaxMTUSize", uri(0x6F18, "MaxMTUSize"));
    EXPECT_EQ(kDevices + "4.", uri(0x6F97));
    EXPECT_EQ(pm + "2.", uri(0x6F65));
    EXPECT_EQ(kDevices + "3.WANIPConnection.1.PortMapping.1.", uri(0x6F67));
    // The demo is never given a path at start-up, whatever it holds.
    EXPECT_EQ("4.IP.1", record(0x6F64, "P00"));
    EXPECT_EQ(kDevices + "%d.%s.%d.PortMapping.%d.", uri(0x6F64));
    for (int file : {0x6F66, 0x6F41, 0x6F49, 0x6F4A}) {
        EXPECT_EQ(nullptr, findFileNode(file)) << std::hex << file;
    }
    EXPECT_EQ(kQos + "Classification.1.type.2.", uri(0x6F4B));
}

}  // namespace
}  // namespace simcard::testing
