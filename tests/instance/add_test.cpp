// Adding instances as a TR-069 agent does, checked in the tree and on the card.
#include <string>

#include "tests/instance/fixture.h"

namespace simcard::testing {
namespace {

// ---- WAN connection devices and their connections ---------------------------

using WanAdd = Objects;

TEST_F(WanAdd, ADeviceTakesOneFileOfEachGroupAndItsConnectionIsWrittenAtOnce) {
    const std::string before = card.text(0x6F0A);
    ASSERT_EQ(1, add(kDevices, 4));
    // The lowest free ids, each right after its template.
    EXPECT_EQ(findFileNode(0x6F0A), after_template(0));
    EXPECT_EQ(findFileNode(0x6F1A), after_template(1));
    EXPECT_EQ(findFileNode(0x6F99), after_template(2));
    EXPECT_EQ("6f0a EF", attr(after_template(0), "n") + " " + attr(after_template(0), "a"));
    for (int file : {0x6F0A, 0x6F1A, 0x6F99}) {
        EXPECT_EQ(kDevices + "4.", uri(file)) << std::hex << file;
    }
    EXPECT_EQ(kDevices + "4.X_CT-COM_WANEponLinkConfig.VLANIDMark", uri(0x6F0A, "ConnectVlanID"));
    EXPECT_EQ("%s.%d.Name", uri(0x6F0A, "ConnectionName"));
    EXPECT_EQ(before, card.text(0x6F0A));  // a device alone writes nothing

    ASSERT_EQ(1, add(kDevices + "4.WANIPConnection.", 1));
    for (int file : {0x6F0A, 0x6F1A, 0x6F99}) {
        EXPECT_EQ("4.IP.1", record(file, "P00")) << std::hex << file;
    }
    EXPECT_EQ("43", record(0x6F0A, "P01"));  // the other records stay
    EXPECT_EQ(kDevices + "4.WANIPConnection.1.Name", uri(0x6F0A, "ConnectionName"));
    EXPECT_EQ("WANPPPConnection.%d.Username", uri(0x6F0A, "PPPUsername"));
    EXPECT_EQ("2.PPP.1", record(0x6F08, "P00"));  // other devices are not touched

    // The next device stands before the earlier one; under device 12 a
    // connection is written as device 1's.
    ASSERT_EQ(1, add(kDevices, 12));
    EXPECT_EQ(findFileNode(0x6F0B), after_template(0));
    EXPECT_EQ(kDevices + "12.", uri(0x6F0B));
    ASSERT_EQ(1, add(kDevices + "12.WANPPPConnection.", 1));
    EXPECT_EQ("1.PPP.1", record(0x6F0B, "P00"));
    EXPECT_EQ(kDevices + "1.WANPPPConnection.1.Username", uri(0x6F0B, "PPPUsername"));
}

TEST_F(WanAdd, DuplicatesFullGroupsAndBadArgumentsAreRefusedWithNothingCloned) {
    const size_t files = file_count();
    capture();
    EXPECT_EQ(0, add(kDevices, 2));
    EXPECT_EQ("duplate add wan : " + kDevices + "2.\n", captured());

    // Only the IPv6 group is full: no file is taken from the other two.
    for (int file = 0x6F99; file <= 0x6FA5; ++file) {
        ASSERT_NE(nullptr, addMulInstanceNode(file, 0x6F96));
    }
    clear_log();
    EXPECT_EQ(0, add(kDevices, 4));
    EXPECT_EQ(0, add(kDevices, 0));
    EXPECT_EQ(files + 13, file_count());
    EXPECT_EQ(nullptr, findFileNode(0x6F0A));
    EXPECT_EQ(
        "[simcard_addMulInstanceByUri-N]  unable get free fileid\n"
        "[simcard_addMulInstanceByUri-N]  add instance param is failed\n",
        log());
    // A WLAN has no template to copy.
    EXPECT_EQ(1, add("InternetGatewayDevice.LANDevice.1.WLANConfiguration.", 2));
    EXPECT_EQ(files + 13, file_count());
}

TEST_F(WanAdd, WithTheMarkerTheDemoFilesAreTheTr069Wan) {
    // The card's TR-069 WAN (device 1) goes first: fresh demos after their templates.
    ASSERT_EQ(1, del(kDevices + "1."));
    const int demos[] = {0x6F07, 0x6F17, 0x6F96};
    const char *names[] = {"6f07", "6f17", "6f96"};
    for (int slot = 0; slot < 3; ++slot) {
        EXPECT_EQ(findFileNode(demos[slot]), after_template(slot));
        EXPECT_EQ(names[slot], attr(after_template(slot), "n"));
        EXPECT_EQ(kDevices + "%d.", uri(demos[slot]));
        EXPECT_EQ("", record(demos[slot], "P00"));
    }

    EXPECT_EQ(0, check_if_create_tr069_wan());
    write_file("/tmp/sim_create_tr069wan", "");
    EXPECT_EQ(1, check_if_create_tr069_wan());
    const size_t files = file_count();
    capture();
    ASSERT_EQ(1, add(kDevices, 1));
    ASSERT_EQ(1, add(kDevices + "1.WANIPConnection.", 1));
    EXPECT_EQ(0u, captured().find("##########create tr069 wan to 6F07###########\n"));
    EXPECT_EQ(files, file_count());  // no file allocated
    for (int demo : demos) {
        EXPECT_EQ(kDevices + "1.", uri(demo));
        EXPECT_EQ("1.IP.1", record(demo, "P00"));
    }
    EXPECT_EQ(kDevices + "1.WANIPConnection.1.MaxMTUSize", uri(0x6F17, "MaxMTUSize"));
}

// ---- port mappings ----------------------------------------------------------

TEST_F(Objects, PortMappingsTakeTheDemoThenTheLowestFreeIdUntilTheRangeIsFull) {
    const std::string table = kDevices + "2.WANPPPConnection.1.PortMapping.";
    ASSERT_EQ(1, del(table + "1."));  // frees 6F65
    const size_t files = file_count();

    ASSERT_EQ(1, add(table, 3));
    EXPECT_EQ(table + "3.", uri(0x6F64));
    EXPECT_EQ(table + "3.ExternalPort", uri(0x6F64, "ExternalPort"));
    EXPECT_EQ("*DEL*", uri(0x6F64, "WANIndex"));
    EXPECT_EQ("2.PPP.1", record(0x6F64, "P00"));
    EXPECT_EQ("3", record(0x6F64, "P01"));
    EXPECT_EQ(files, file_count());

    ASSERT_EQ(1, add(table, 4));
    EXPECT_EQ(findFileNode(0x6F65), after_template(10));
    EXPECT_EQ(table + "4.RemoteHost", uri(0x6F65, "RemoteHost"));
    EXPECT_EQ("2.PPP.1", record(0x6F65, "P00"));
    EXPECT_EQ("4", record(0x6F65, "P01"));

    capture();
    EXPECT_EQ(0, add(table, 2));  // 6F66 holds it
    EXPECT_EQ("duplate add wan : " + table + "2.\n", captured());
    for (int file = 0x6F68; file <= 0x6F77; ++file) {
        ASSERT_NE(nullptr, addMulInstanceNode(file, 0x6F64));
    }
    const size_t full = file_count();
    EXPECT_EQ(0, add(table, 5));
    EXPECT_EQ(full, file_count());
}

// ---- uplink QoS ---------------------------------------------------------------

TEST_F(Objects, QosAppsClassificationsAndQueuesFillTheirDemoThenNewFiles) {
    const std::string app = card.text(0x6F38);
    ASSERT_EQ(1, add(kQos + "App.", 3));
    EXPECT_EQ(kQos + "App.3.AppName", uri(0x6F38, "AppName"));
    EXPECT_EQ("*DEL*", uri(0x6F38, "AppIndex"));
    ASSERT_EQ(1, add(kQos + "App.", 4));
    EXPECT_EQ(findFileNode(0x6F3A), after_template(4));
    EXPECT_EQ(kQos + "App.4.ClassQueue", uri(0x6F3A, "ClassQueue"));
    EXPECT_EQ(app, card.text(0x6F38));  // the values wait for the write-back
    EXPECT_EQ(0, add(kQos + "App.", 2));

    ASSERT_EQ(1, add(kQos + "Classification.", 3));
    EXPECT_EQ(kQos + "Classification.3.802-1_P_Value", uri(0x6F40, "Priority8021p"));
    ASSERT_EQ(1, add(kQos + "PriorityQueue.", 4));
    EXPECT_EQ(kQos + "PriorityQueue.4.Weight", uri(0x6F54, "Weight"));
    EXPECT_EQ(0, add(kQos + "Unknown.", 1));
}

TEST_F(Objects, QosTypesAreFoundByTheirPatternAndNumberedLikeStartUp) {
    // The demo holds classification 1's first type on the card, which made
    // 6F4B its second: type 1 fills the demo, type 2 is a duplicate.
    EXPECT_EQ(kQos + "Classification.1.type.2.", uri(0x6F4B));
    ASSERT_EQ(1, add(kQos + "Classification.1.type.", 1));
    EXPECT_EQ(kQos + "Classification.1.type.1.Max", uri(0x6F48, "Max"));
    EXPECT_EQ(0, add(kQos + "Classification.1.type.", 2));
    EXPECT_EQ(0, add(kQos + "Classification.2.type.", 1));

    ASSERT_EQ(1, add(kQos + "Classification.2.type.", 3));
    EXPECT_EQ(findFileNode(0x6F4C), after_template(6));
    EXPECT_EQ(kQos + "Classification.2.type.3.", uri(0x6F4C));
    const size_t files = file_count();
    EXPECT_EQ(1, add(kQos + "Classification.2.types.", 1));  // only the exact pattern
    EXPECT_EQ(files, file_count());
}

}  // namespace
}  // namespace simcard::testing
