// Get and set by data-model path on the sample configuration;
// convertUriToFormatUri and getSimvFromMem.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "sal/lifecycle/state.h"
#include "sal/xml.h"
#include "tests/access/fixture.h"

namespace simcard {
namespace {

using ::testing::HasSubstr;
using testing::SampleTest;
using testing::Started;
namespace ins = vcard::ins;
namespace xml = sal::xml;

constexpr const char *kProvisioning = "InternetGatewayDevice.DeviceInfo.ProvisioningCode";
constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";
constexpr const char *kUsername = "InternetGatewayDevice.ManagementServer.Username";
constexpr const char *kInformEnable = "InternetGatewayDevice.ManagementServer.PeriodicInformEnable";
const std::string kWan = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
const std::string kLan = "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.";

class NotStarted : public SampleTest {};

TEST_F(NotStarted, GetGivesNullAndSetMinusOneWithNothingLogged) {
    for (bool failed_init : {false, true}) {
        if (failed_init) {  // nor after a start-up that failed
            card.set_has_operator_directory(false);
            capture();
            ASSERT_EQ(-1, simcard_init());
            captured();
            clear_log();
            card.clear_trace();
        }
        capture();
        EXPECT_EQ(nullptr, simcard_getParamValueByUri(kProvisioning));
        EXPECT_EQ(nullptr, simcard_getParamValueByUri(nullptr));
        EXPECT_EQ(-1, simcard_setParamValueByUri(kUrl, "http://x/"));
        EXPECT_EQ(-1, simcard_setParamValueByUri((kLan + "1.X_CT-COM_Mode").c_str(), "1"));
        EXPECT_EQ("", captured());
        EXPECT_EQ("", log());
        EXPECT_TRUE(card.trace().empty());
    }
}

class Access : public Started {};

TEST_F(Access, GetConvertsByTheDocumentsRules) {
    const std::map<std::string, std::string> expected = {
        {kProvisioning, "HGU_DEFAULT"},                                       // empty rule
        {"InternetGatewayDevice.DeviceInfo.X_CT-COM_ConfigCardVersion", ""},  // no rule
        {"InternetGatewayDevice.DeviceInfo.X_CT-COM_AccessType", "EPON"},     // list rules
        {kWan + "3.WANIPConnection.1.ConnectionType", "IP_Bridged"},
        {kWan + "2.WANPPPConnection.1.X_CT-COM_LanInterface",  // the LAN interface callback
         kLan + "1," + kLan + "2," + kLan + "3," + kLan + "4"},
        {kWan + "1.WANIPConnection.1.X_CT-COM_LanInterface", ""},
        {kWan + "1.WANIPConnection.1.ExternalIPAddress", "FF"},  // unset, empty rule
    };
    for (const auto &[path, value] : expected) {
        EXPECT_EQ(value, get(path)) << path;
    }
}

TEST_F(Access, AFileIsReadOnceThenGetsAndSetsUseMemory) {
    EXPECT_EQ("0", wf(0x6F05));
    capture();
    EXPECT_EQ("http://itms.example.net:9090/ACS", get(kUrl));
    EXPECT_EQ("", captured());
    EXPECT_EQ("1", wf(0x6F05));
    EXPECT_EQ("0", wf(0x6F04));  // other files stay as they were
    EXPECT_EQ("cpe", get(kUsername));
    EXPECT_EQ("true", get(kInformEnable));
    EXPECT_EQ("43200", get("InternetGatewayDevice.ManagementServer.PeriodicInformInterval"));
    EXPECT_EQ(2u, card.count(ins::kReadBinary));  // one read: 256 bytes in chunks of 200
    EXPECT_EQ("1", attr(param(kInformEnable), "simv"));
    EXPECT_EQ(xml::attr_cstr(param(kUrl), "dbv"), simcard_getParamValueByUri(kUrl));

    // A set changes memory only; the loaded values stay.
    card.clear_trace();
    clear_log();
    EXPECT_EQ(0, set(kInformEnable, "false"));
    EXPECT_THAT(log(), HasSubstr("[setParamVal-N]  [fileid = 6f05 pramid = P03 paramv = false,"
                                 "simv2dbv=0=false;1=true,simv=0]\n"));
    EXPECT_EQ("false", get(kInformEnable));
    EXPECT_EQ("cpe", get(kUsername));
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_TRUE(card.trace().empty());
}

TEST_F(Access, SetConvertsByTheRuleAndMarksTheFileWithoutReadingIt) {
    struct Row {
        std::string path;
        const char *value;
        const char *simv;
    };
    const Row rows[] = {
        {kUrl, "http://a/", "http://a/"},                                          // empty rule
        {kInformEnable, "TRUE", "1"},                                              // any case
        {kWan + "1.WANIPConnection.1.X_CT-COM_IPv6IPAddress", "2001:db8::1", ""},  // no rule
        {kWan + "2.WANPPPConnection.1.X_CT-COM_LanInterface",
         "InternetGatewayDevice.LANDevice.1.WLANConfiguration.2", "32"},  // the callback
    };
    for (const Row &row : rows) {
        EXPECT_EQ(0, set(row.path, row.value)) << row.path;
        EXPECT_EQ(row.simv, attr(param(row.path), "simv")) << row.path;
        EXPECT_EQ(row.value, get(row.path));
    }
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ("2", wf(0x6F08));
    EXPECT_EQ("(null)", get(kUsername));  // never read: no value at all
    EXPECT_TRUE(card.trace().empty());

    // A set may take the text a get handed out.
    EXPECT_EQ(0, simcard_setParamValueByUri(kUrl, simcard_getParamValueByUri(kUrl)));
    EXPECT_EQ(0, simcard_setParamValueByUri(kUsername, simcard_getParamValueByUri(kUrl)));
    EXPECT_EQ("http://a/", get(kUrl));
    EXPECT_EQ("http://a/", get(kUsername));
}

TEST_F(Access, Refusals) {
    capture();
    EXPECT_EQ("(null)", get("InternetGatewayDevice.ManagementServer.Password"));
    EXPECT_EQ(-1, set(kProvisioning, "X"));
    EXPECT_EQ(
        "Get Attribute rw failed or is not readable. rw=W\n"
        "Node [ProvisioningCode] Get attribute rw failed or is not writable. RW=R\n",
        captured());
    EXPECT_THAT(log(), HasSubstr("getParamVal failed,uri=InternetGatewayDevice.Manag"));
    EXPECT_THAT(log(), HasSubstr("setParamVal failed!uri=" + std::string(kProvisioning) + "\n"));
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("0", wf(0x6F05));
    EXPECT_EQ("(none)", attr(param(kProvisioning), "dbv"));

    // A failed card read is tried again by the next get.
    card.fail_ioctl(ins::kReadBinary);
    capture();
    EXPECT_EQ("(null)", get(kProvisioning));
    EXPECT_THAT(captured(), HasSubstr("simcard_ReadFile failed,file_id=0x6f04\n"));
    EXPECT_EQ("0", wf(0x6F04));
    EXPECT_EQ("HGU_DEFAULT", get(kProvisioning));
    EXPECT_EQ("1", wf(0x6F04));

    // Paths are exact text; a lookup that finds nothing says nothing.
    clear_log();
    card.clear_trace();
    for (const char *path : {"InternetGatewayDevice.DeviceInfo.ProvisioningCode.",
                             "internetgatewaydevice.DeviceInfo.ProvisioningCode", ""}) {
        EXPECT_EQ("(null)", get(path)) << path;
        EXPECT_EQ(-1, set(path, "x")) << path;
    }
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("", log());

    EXPECT_EQ(nullptr, simcard_getParamValueByUri(nullptr));
    EXPECT_EQ(-1, simcard_setParamValueByUri(kUrl, nullptr));
    EXPECT_EQ(nullptr, findParamNodeByUri(nullptr));
    EXPECT_EQ(-1, setParamVal(nullptr, "x"));
    EXPECT_EQ(
        "[simcard_getParamValueByUri-N]  uri invalid!\n"
        "[simcard_setParamValueByUri-N]  uri or val is invalid!\n"
        "[findParamNodeByUri-N]  uri is invalide\n"
        "[setParamVal-N]  param_node or param_val is null!\n",
        log());
}

TEST_F(Access, EveryReadableParameterInOneProcessGivesItsOwnValue) {
    // Every path a full GetParameterValues asks for: readable, concrete, first
    // in document order.
    std::vector<std::string> paths;
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        for (IXML_Node *p : xml::child_elements(file)) {
            const std::string uri = attr(p, "uri");
            if (xml::attr_is(file, "a", "EF") && uri.rfind("InternetGatewayDevice.", 0) == 0 &&
                uri.find('%') == std::string::npos &&
                attr(p, "rw").find('R') != std::string::npos &&
                std::find(paths.begin(), paths.end(), uri) == paths.end()) {
                paths.push_back(uri);
            }
        }
    }
    ASSERT_GE(paths.size(), 100u);
    auto restart = [this] {  // a new process, as far as the library can tell
        lifecycle::reset_process_state();
        std::istringstream image(testing::sample_text("card.img"));
        card.load_image(image);
        SetUp();
    };
    std::map<std::string, std::string> alone;  // as a process asking for nothing else sees it
    for (const std::string &path : paths) {
        restart();
        alone[path] = get(path);
        ASSERT_NE("(null)", alone[path]) << path;
    }
    for (bool reversed : {false, true}) {
        restart();
        if (reversed) std::reverse(paths.begin(), paths.end());
        for (const std::string &path : paths) {
            EXPECT_EQ(alone[path], get(path)) << path << (reversed ? " backwards" : "");
        }
        card.clear_trace();  // a second sweep is answered from memory
        for (const std::string &path : paths) {
            EXPECT_EQ(alone[path], get(path)) << path;
        }
        EXPECT_TRUE(card.trace().empty());
    }
}

TEST_F(Access, SimvFromMemMatchesTheFirstThreeCharactersOfARecordName) {
    ASSERT_EQ("HGU_DEFAULT", get(kProvisioning));
    char out[64] = {};
    EXPECT_EQ(1, getSimvFromMem(findFileNode(0x6F04), "p00xyz", out));
    EXPECT_STREQ("HGU_DEFAULT", out);
    EXPECT_EQ(-1, getSimvFromMem(findFileNode(0x6F04), "P0", out));
    EXPECT_EQ(1, getSimvFromMem(findFileNode(0x6F05), "P00", out));  // never loaded: empty
    EXPECT_STREQ("", out);
}

class FormatUri : public SampleTest {};

TEST_F(FormatUri, InstanceNumbersBecomePatternsEndingWithADot) {
    const std::string wan = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice";
    const std::string qos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";
    const std::pair<std::string, std::string> rows[] = {
        {wan + ".2.WANPPPConnection.1.", wan + ".%d.WANPPPConnection.%d."},
        {qos + "App.3.", qos + "App.%d."},
        {qos + "App.3", qos + "App.%d."},
        {qos + "Classification.2.type.1", qos + "Classification.%d.type.%d."},
        {wan, wan},                      // a marker at the very end: nothing follows it
        {"A..-1...B.1a", "A.%d.B.1a."},  // empty pieces vanish; "-" counts as a digit
    };
    for (const auto &[uri, pattern] : rows) {
        char out[256] = {};
        EXPECT_EQ(0, convertUriToFormatUri(uri.c_str(), out));
        EXPECT_EQ(pattern, out) << uri;
    }
    EXPECT_THAT(log(), HasSubstr("[convertUriToFormatUri-N]  formatUri = " + qos + "App.%d.\n"));
    // Cut to the buffer; null arguments fail.
    std::string uri;
    for (int i = 0; i < 200; ++i) uri += "1.";
    char out[300];
    std::memset(out, 'Z', sizeof out);
    ASSERT_EQ(0, convertUriToFormatUri(uri.c_str(), out));
    EXPECT_EQ(255u, std::strlen(out));
    EXPECT_EQ('Z', out[256]);
    EXPECT_EQ(-1, convertUriToFormatUri(nullptr, out));
    EXPECT_EQ(-1, convertUriToFormatUri("A.1.", nullptr));
}

}  // namespace
}  // namespace simcard
