// convertUriToFormatUri and getSimvFromMem.
#include <cstring>
#include <string>

#include "tests/access/fixture.h"

namespace simcard {
namespace {

using testing::SampleTest;
using testing::Started;

std::string pattern_of(const char *uri) {
    char out[256] = {};
    EXPECT_EQ(0, convertUriToFormatUri(uri, out));
    return out;
}

class FormatUri : public SampleTest {};

TEST_F(FormatUri, InstanceNumbersBecomePatterns) {
    EXPECT_EQ(
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.",
        pattern_of("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANPPPConnection.1."));
    EXPECT_EQ("InternetGatewayDevice.X_CT-COM_UplinkQoS.App.%d.",
              pattern_of("InternetGatewayDevice.X_CT-COM_UplinkQoS.App.3."));
    EXPECT_EQ(
        "[convertUriToFormatUri-N]  formatUri = "
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.\n"
        "[convertUriToFormatUri-N]  formatUri = InternetGatewayDevice.X_CT-COM_UplinkQoS.App.%d.\n",
        log());
}

TEST_F(FormatUri, TheResultEndsWithADot) {
    EXPECT_EQ("InternetGatewayDevice.X_CT-COM_UplinkQoS.App.%d.",
              pattern_of("InternetGatewayDevice.X_CT-COM_UplinkQoS.App.3"));
    EXPECT_EQ("InternetGatewayDevice.X_CT-COM_UplinkQoS.Classification.%d.type.%d.",
              pattern_of("InternetGatewayDevice.X_CT-COM_UplinkQoS.Classification.2.type.1"));
    // The part up to the marker and its dot is copied as it stands.
    EXPECT_EQ("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.",
              pattern_of("InternetGatewayDevice.WANDevice.1.WANConnectionDevice."));
    // A marker at the very end has no dot to copy, and nothing follows it.
    EXPECT_EQ("InternetGatewayDevice.WANDevice.1.WANConnectionDevice",
              pattern_of("InternetGatewayDevice.WANDevice.1.WANConnectionDevice"));
}

TEST_F(FormatUri, PiecesAreSplitAtDots) {
    EXPECT_EQ("A.%d.B.", pattern_of("A..1...B"));  // empty pieces vanish
    EXPECT_EQ("A.%d.B.", pattern_of("A.-1.B"));    // digits and "-"
    EXPECT_EQ("A.1a.%d.", pattern_of("A.1a.12"));
    EXPECT_EQ("", pattern_of(""));
    EXPECT_EQ("", pattern_of("..."));
    // Only the first marker is kept as it stands.
    EXPECT_EQ("X.WANConnectionDevice.%d.WANConnectionDevice.%d.",
              pattern_of("X.WANConnectionDevice.1.WANConnectionDevice.2"));
}

TEST_F(FormatUri, LongPathsAreCutToTheBuffer) {
    std::string uri;
    for (int i = 0; i < 200; ++i) uri += "1.";
    char out[300];
    std::memset(out, 'Z', sizeof out);
    std::memset(out, 0, 256);
    ASSERT_EQ(0, convertUriToFormatUri(uri.c_str(), out));
    EXPECT_EQ(255u, std::strlen(out));
    EXPECT_EQ(0, std::strncmp(out, "%d.%d.%d.", 9));
    EXPECT_EQ('Z', out[256]);
}

TEST_F(FormatUri, NullArgumentsFail) {
    char out[256] = {};
    EXPECT_EQ(-1, convertUriToFormatUri(nullptr, out));
    EXPECT_EQ(-1, convertUriToFormatUri("A.1.", nullptr));
    EXPECT_EQ("", log());
}

class SimvFromMem : public Started {};

TEST_F(SimvFromMem, CopiesTheCardValueOfARecordByItsFirstThreeCharacters) {
    ASSERT_NE(nullptr,
              simcard_getParamValueByUri("InternetGatewayDevice.DeviceInfo.ProvisioningCode"));
    IXML_Node *device_info = findFileNode(0x6F04);
    char out[64] = {};
    EXPECT_EQ(1, getSimvFromMem(device_info, "p02", out));
    EXPECT_STREQ("1", out);
    EXPECT_EQ(1, getSimvFromMem(device_info, "P00xyz", out));
    EXPECT_STREQ("HGU_DEFAULT", out);
    EXPECT_EQ(-1, getSimvFromMem(device_info, "P09", out));
    EXPECT_EQ(-1, getSimvFromMem(device_info, "P0", out));
    EXPECT_EQ(-1, getSimvFromMem(nullptr, "P00", out));
    EXPECT_EQ(-1, getSimvFromMem(device_info, nullptr, out));
    EXPECT_EQ(-1, getSimvFromMem(device_info, "P00", nullptr));
    // A record never loaded has no card value: it copies as empty.
    std::strcpy(out, "keep");
    EXPECT_EQ(1, getSimvFromMem(findFileNode(0x6F05), "P00", out));
    EXPECT_STREQ("", out);
}

}  // namespace
}  // namespace simcard
