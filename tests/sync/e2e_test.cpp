// A gateway's life on one card: start-up, the agent's gets and sets, new
// instances, synchronisation, a restart, and a local restore.
#include <string>

#include "tests/sync/fixture.h"

namespace simcard::testing {
namespace {

const std::string kDevice4 = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.4.";
const std::string kConn = kDevice4 + "WANIPConnection.1.";

using Gateway = Started;

TEST_F(Gateway, KeepsWhatTheAgentChangedAcrossARestart) {
    EXPECT_EQ("http://itms.example.net:9090/ACS", get(kUrl));
    EXPECT_EQ("true", get(kDhcp));

    ASSERT_EQ(0, simcard_setParamValueByUri(kUrl, "http://acs.operator.test:7547/"));
    ASSERT_EQ(0, simcard_setParamValueByUri(kDhcp, "false"));
    ASSERT_EQ(0, simcard_setParamValueByUri(kMinAddress, "192.168.1.64"));

    ASSERT_EQ(1, simcard_addMulInstanceByUri(
                     "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.", 4));
    ASSERT_EQ(1, simcard_addMulInstanceByUri((kDevice4 + "WANIPConnection.").c_str(), 1));
    ASSERT_EQ(0, simcard_setParamValueByUri((kConn + "Name").c_str(), "4_INTERNET_R_VID_48"));
    ASSERT_EQ(0, simcard_setParamValueByUri((kConn + "NATEnabled").c_str(), "true"));
    // The first port mapping fills the object's demo file, the second a file of its own.
    ASSERT_EQ(1, simcard_addMulInstanceByUri((kConn + "PortMapping.").c_str(), 1));
    ASSERT_EQ(1, simcard_addMulInstanceByUri((kConn + "PortMapping.").c_str(), 2));
    ASSERT_EQ(0, simcard_setParamValueByUri(
                     (kConn + "PortMapping.2.PortMappingDescription").c_str(), "camera"));
    ASSERT_EQ(0, simcard_syncData2Sim());

    restart();
    EXPECT_EQ("http://acs.operator.test:7547/", get(kUrl));
    EXPECT_EQ("false", get(kDhcp));
    EXPECT_EQ("192.168.1.64", get(kMinAddress));
    EXPECT_EQ("4_INTERNET_R_VID_48", get(kConn + "Name"));
    EXPECT_EQ("true", get(kConn + "NATEnabled"));
    EXPECT_EQ("camera", get(kConn + "PortMapping.2.PortMappingDescription"));
    // The instances added are back: the device and the port mapping in a file of its own.
    EXPECT_EQ(1, ifduplateInstanceadd(kDevice4.c_str(), "Wanconnection"));
    EXPECT_EQ(1, ifduplateInstanceadd((kConn + "PortMapping.2.").c_str(), "PortMapping"));
    // Values nobody touched are as they were.
    EXPECT_EQ("HGU_DEFAULT", get("InternetGatewayDevice.DeviceInfo.ProvisioningCode"));

    // The restore brings the marked files back to their factory contents.
    ASSERT_EQ(0, simcard_local_restore());
    restart();
    EXPECT_EQ("http://acs.example.net:9090/ACS", get(kUrl));
    EXPECT_EQ("192.168.1.2", get(kMinAddress));
    EXPECT_EQ("4_INTERNET_R_VID_48", get(kConn + "Name"));  // not marked: kept
}

}  // namespace
}  // namespace simcard::testing
