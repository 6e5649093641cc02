// Get and set by data-model path, on the sample configuration.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "sal/lifecycle/state.h"
#include "tests/access/fixture.h"

namespace simcard {
namespace {

using testing::attr_text;
using ::testing::HasSubstr;
using testing::SampleTest;
using testing::Started;
namespace ins = vcard::ins;
namespace xml = sal::xml;

constexpr const char *kProvisioning = "InternetGatewayDevice.DeviceInfo.ProvisioningCode";
constexpr const char *kCardVersion = "InternetGatewayDevice.DeviceInfo.X_CT-COM_ConfigCardVersion";
constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";
constexpr const char *kUsername = "InternetGatewayDevice.ManagementServer.Username";
constexpr const char *kPassword = "InternetGatewayDevice.ManagementServer.Password";
constexpr const char *kInformEnable = "InternetGatewayDevice.ManagementServer.PeriodicInformEnable";
constexpr const char *kInformInterval =
    "InternetGatewayDevice.ManagementServer.PeriodicInformInterval";
constexpr const char *kRequestUsername =
    "InternetGatewayDevice.ManagementServer.ConnectionRequestUsername";
constexpr const char *kWan1 = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.";
constexpr const char *kWan2 = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.";
constexpr const char *kWan3 = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.3.";

std::string value_of(const char *value) { return value != nullptr ? value : "(null)"; }

std::string get(const std::string &path) {
    return value_of(simcard_getParamValueByUri(path.c_str()));
}

int set(const std::string &path, const char *value) {
    return simcard_setParamValueByUri(path.c_str(), value);
}

// SELECT commands of one file.
size_t selects_of(const vcard::VirtualCard &card, uint16_t id) {
    size_t n = 0;
    for (const vcard::TraceEntry *e : card.commands(ins::kSelect)) {
        n += e->data.size() == 2 && e->data[0] == (id >> 8) && e->data[1] == (id & 0xFF);
    }
    return n;
}

// ---- before start-up ---------------------------------------------------------

class NotStarted : public SampleTest {};

TEST_F(NotStarted, GetGivesNullAndSetMinusOneWithNothingLogged) {
    capture();
    EXPECT_EQ(nullptr, simcard_getParamValueByUri(kProvisioning));
    EXPECT_EQ(nullptr, simcard_getParamValueByUri(nullptr));
    EXPECT_EQ(nullptr, simcard_getParamValueByUri(
                           "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.X_CT-COM_VLAN"));
    EXPECT_EQ(-1, simcard_setParamValueByUri(kUrl, "http://x/"));
    EXPECT_EQ(-1, simcard_setParamValueByUri(nullptr, nullptr));
    EXPECT_EQ(-1, simcard_setParamValueByUri(
                      "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.X_CT-COM_Mode", "1"));
    EXPECT_EQ("", captured());
    EXPECT_EQ("", log());
    EXPECT_TRUE(card.trace().empty());

    // Nor after a start-up that failed.
    card.set_has_operator_directory(false);
    capture();
    ASSERT_EQ(-1, simcard_init());
    captured();
    clear_log();
    card.clear_trace();
    capture();
    EXPECT_EQ(nullptr, simcard_getParamValueByUri(kProvisioning));
    EXPECT_EQ(-1, simcard_setParamValueByUri(kUrl, "http://x/"));
    EXPECT_EQ("", captured());
    EXPECT_EQ("", log());
    EXPECT_TRUE(card.trace().empty());
}

// ---- get ------------------------------------------------------------------------

class Get : public Started {};

TEST_F(Get, ValuesAreConvertedByTheDocumentsRules) {
    const std::map<std::string, std::string> expected = {
        // empty rule: the card value itself; no rule: empty
        {kProvisioning, "HGU_DEFAULT"},
        {kCardVersion, ""},
        // list rules
        {"InternetGatewayDevice.DeviceInfo.X_CT-COM_AccessType", "EPON"},
        {kInformEnable, "true"},
        {std::string(kWan1) + "WANIPConnection.1.X_CT-COM_ServiceList", "TR069"},
        {std::string(kWan2) + "WANPPPConnection.1.X_CT-COM_ServiceList", "INTERNET"},
        {std::string(kWan3) + "WANIPConnection.1.ConnectionType", "IP_Bridged"},
        {std::string(kWan2) + "WANPPPConnection.1.ConnectionTrigger", "AlwaysOn"},
        {"InternetGatewayDevice.X_CT-COM_UplinkQoS.Classification.2.type.1.Type", "DPORT"},
        {"InternetGatewayDevice.Services.VoiceService.1.VoiceProfile.1.Line.2.Enable", "Disabled"},
        {"InternetGatewayDevice.X_CT-COM_IPTV.IGMPEnable", "Enable"},
        // the LAN interface callback
        {std::string(kWan2) + "WANPPPConnection.1.X_CT-COM_LanInterface",
         "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.1,"
         "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.2,"
         "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.3,"
         "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.4"},
        {std::string(kWan3) + "WANIPConnection.1.X_CT-COM_LanInterface",
         "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.4"},
        {std::string(kWan1) + "WANIPConnection.1.X_CT-COM_LanInterface", ""},
        // plain values, and an unset record under the empty rule
        {kUrl, "http://itms.example.net:9090/ACS"},
        {std::string(kWan3) + "WANIPConnection.1.DNSServers", "10.10.0.1,10.10.0.2"},
        {std::string(kWan1) + "WANIPConnection.1.ExternalIPAddress", "FF"},
        {std::string(kWan2) + "WANPPPConnection.1.PortMapping.2.ExternalPort", "2222"},
        {"InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.IPInterface.1."
         "IPInterfaceSubnetMask",
         "255.255.255.0"},
    };
    for (const auto &[path, value] : expected) {
        EXPECT_EQ(value, get(path)) << path;
    }
}

TEST_F(Get, TheFirstGetLoadsTheFileAndLaterOnesAnswerFromMemory) {
    EXPECT_EQ("0", wf(0x6F05));
    capture();
    EXPECT_EQ("http://itms.example.net:9090/ACS", get(kUrl));
    EXPECT_EQ("", captured());
    EXPECT_EQ("1", wf(0x6F05));
    EXPECT_EQ(1u, selects_of(card, 0x6F05));
    EXPECT_EQ(2u, commands(ins::kReadBinary));  // 256 bytes in chunks of 200

    EXPECT_EQ("cpe", get(kUsername));
    EXPECT_EQ("true", get(kInformEnable));
    EXPECT_EQ("43200", get(kInformInterval));
    EXPECT_EQ("itms", get(kRequestUsername));
    EXPECT_EQ("http://itms.example.net:9090/ACS", get(kUrl));
    EXPECT_EQ(1u, selects_of(card, 0x6F05));
    EXPECT_EQ(2u, commands(ins::kReadBinary));
    EXPECT_EQ("1", wf(0x6F05));
    EXPECT_EQ("0", wf(0x6F04));  // other files stay as they were

    // The parameter's whole state came from the card.
    EXPECT_EQ("1", attr_text(param(kInformEnable), "simv"));
    EXPECT_EQ("true", attr_text(param(kInformEnable), "dbv"));
    EXPECT_THAT(log(), HasSubstr("[findParamNodeByUri-N]  filed node name=URL\n"));
}

TEST_F(Get, TheAnswerIsTheTreesOwnText) {
    const char *value = simcard_getParamValueByUri(kUrl);
    EXPECT_EQ(xml::attr_cstr(param(kUrl), "dbv"), value);
    EXPECT_EQ(value, simcard_getParamValueByUri(kUrl));  // unchanged until set again
}

TEST_F(Get, AWriteOnlyParameterCannotBeRead) {
    capture();
    EXPECT_EQ("(null)", get(kPassword));
    EXPECT_EQ("Get Attribute rw failed or is not readable. rw=W\n", captured());
    EXPECT_EQ(
        "[findParamNodeByUri-N]  filed node name=Password\n"
        "[simcard_getParamValueByUri-N]  getParamVal failed,uri="
        "InternetGatewayDevice.ManagementServer.Password\n",
        log());
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("0", wf(0x6F05));
}

TEST_F(Get, AFailedCardReadIsTriedAgainByTheNextGet) {
    card.fail_ioctl(ins::kReadBinary);
    capture();
    EXPECT_EQ("(null)", get(kProvisioning));
    EXPECT_THAT(captured(), HasSubstr("simcard_ReadFile failed,file_id=0x6f04\n"));
    EXPECT_EQ("0", wf(0x6F04));
    EXPECT_THAT(log(), HasSubstr("getParamVal failed,uri=" + std::string(kProvisioning) + "\n"));

    EXPECT_EQ("HGU_DEFAULT", get(kProvisioning));
    EXPECT_EQ("1", wf(0x6F04));
}

TEST_F(Get, PathsAreExactText) {
    const char *variants[] = {
        "InternetGatewayDevice.DeviceInfo.ProvisioningCode.",
        "internetgatewaydevice.DeviceInfo.ProvisioningCode",
        "InternetGatewayDevice.DeviceInfo.provisioningCode",
        "InternetGatewayDevice.DeviceInfo.ProvisioningCod",
        " InternetGatewayDevice.DeviceInfo.ProvisioningCode",
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANIPConnection.%d.Enable",
        "",
    };
    for (const char *path : variants) {
        EXPECT_EQ("(null)", get(path)) << path;
        EXPECT_EQ(-1, set(path, "x")) << path;
    }
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("", log());  // a lookup that finds nothing says nothing
    EXPECT_EQ("HGU_DEFAULT", get(kProvisioning));
}

TEST_F(Get, NullArgumentsAreLogged) {
    EXPECT_EQ(nullptr, simcard_getParamValueByUri(nullptr));
    EXPECT_EQ(-1, simcard_setParamValueByUri(nullptr, "x"));
    EXPECT_EQ(-1, simcard_setParamValueByUri(kUrl, nullptr));
    EXPECT_EQ(nullptr, findParamNodeByUri(nullptr));
    EXPECT_EQ(-1, setParamVal(nullptr, "x"));
    EXPECT_EQ(-1, setParamVal(param(kUrl), nullptr));
    EXPECT_EQ(
        "[simcard_getParamValueByUri-N]  uri invalid!\n"
        "[simcard_setParamValueByUri-N]  uri or val is invalid!\n"
        "[simcard_setParamValueByUri-N]  uri or val is invalid!\n"
        "[findParamNodeByUri-N]  uri is invalide\n"
        "[setParamVal-N]  param_node or param_val is null!\n"
        "[setParamVal-N]  param_node or param_val is null!\n",
        log());
    capture();
    EXPECT_EQ(-1, getParamVal(nullptr));
    EXPECT_EQ("Get Attribute rw failed or is not readable. rw=NULL\n", captured());
}

// ---- set ------------------------------------------------------------------------

class Set : public Started {};

TEST_F(Set, ChangesMemoryOnlyAndMarksTheFile) {
    ASSERT_EQ("true", get(kInformEnable));
    card.clear_trace();
    clear_log();
    capture();
    EXPECT_EQ(0, set(kInformEnable, "false"));
    EXPECT_EQ("", captured());
    EXPECT_EQ("false", attr_text(param(kInformEnable), "dbv"));
    EXPECT_EQ("0", attr_text(param(kInformEnable), "simv"));
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ(
        "[findParamNodeByUri-N]  filed node name=PeriodicInformEnable\n"
        "[setParamVal-N]  [fileid = 6f05 pramid = P03 paramv = false,simv2dbv=0=false;1=true,"
        "simv=0]\n",
        log());

    // Answered from memory: the card is not touched, and the file stays changed.
    EXPECT_EQ("false", get(kInformEnable));
    EXPECT_EQ("cpe", get(kUsername));
    EXPECT_TRUE(card.trace().empty());
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_THAT(card.text(0x6F05), HasSubstr(R"(P03="1")"));
}

TEST_F(Set, ASetBeforeAnyGetDoesNotLoadTheFile) {
    EXPECT_EQ(0, set(kUrl, "http://acs.example.org/"));
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ("http://acs.example.org/", get(kUrl));
    // The file was never loaded: its other parameters hold what the document
    // gave them, here no value at all.
    EXPECT_EQ("(null)", get(kUsername));
    EXPECT_TRUE(card.trace().empty());
}

TEST_F(Set, CardValuesFollowTheRule) {
    // empty rule: the value itself
    EXPECT_EQ(0, set(kUrl, "http://a/"));
    EXPECT_EQ("http://a/", attr_text(param(kUrl), "simv"));
    // list rule: the whole value, ignoring case
    EXPECT_EQ(0, set(kInformEnable, "TRUE"));
    EXPECT_EQ("1", attr_text(param(kInformEnable), "simv"));
    EXPECT_EQ("TRUE", attr_text(param(kInformEnable), "dbv"));
    // no pair: stored as given, with an empty card value
    EXPECT_EQ(0, set(kInformEnable, "maybe"));
    EXPECT_EQ("maybe", attr_text(param(kInformEnable), "dbv"));
    EXPECT_EQ("", attr_text(param(kInformEnable), "simv"));
    EXPECT_EQ("maybe", get(kInformEnable));
    // no rule at all: an empty card value, unlike the empty rule
    const std::string ipv6 = std::string(kWan1) + "WANIPConnection.1.X_CT-COM_IPv6IPAddress";
    EXPECT_EQ(0, set(ipv6, "2001:db8::1"));
    EXPECT_EQ("", attr_text(param(ipv6.c_str()), "simv"));
    EXPECT_EQ("2001:db8::1", get(ipv6));
    // the LAN interface callback
    const std::string lan = std::string(kWan2) + "WANPPPConnection.1.X_CT-COM_LanInterface";
    EXPECT_EQ(0, set(lan, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.2"));
    EXPECT_EQ("32", attr_text(param(lan.c_str()), "simv"));
    EXPECT_EQ("2", wf(0x6F08));
}

TEST_F(Set, AReadOnlyParameterCannotBeSet) {
    capture();
    EXPECT_EQ(-1, set(kProvisioning, "X"));
    EXPECT_EQ("Node [ProvisioningCode] Get attribute rw failed or is not writable. RW=R\n",
              captured());
    EXPECT_EQ(
        "[findParamNodeByUri-N]  filed node name=ProvisioningCode\n"
        "[simcard_setParamValueByUri-N]  setParamVal failed!uri="
        "InternetGatewayDevice.DeviceInfo.ProvisioningCode\n",
        log());
    EXPECT_EQ("0", wf(0x6F04));
    EXPECT_EQ("(absent)", attr_text(param(kProvisioning), "dbv"));
}

TEST_F(Set, TakesTheTextAGetHandedOut) {
    const char *old_url = simcard_getParamValueByUri(kUrl);
    ASSERT_NE(nullptr, old_url);
    const std::string copy = old_url;
    EXPECT_EQ(0, simcard_setParamValueByUri(kUrl, old_url));
    EXPECT_EQ(copy, get(kUrl));
    EXPECT_EQ(copy, attr_text(param(kUrl), "simv"));
    // And another parameter's text, which the set does not touch.
    EXPECT_EQ(0, simcard_setParamValueByUri(kUsername, simcard_getParamValueByUri(kUrl)));
    EXPECT_EQ(copy, get(kUsername));
}

TEST_F(Set, ValuesAreNotCheckedAgainstTheirLength) {
    const std::string long_value(300, 'u');
    EXPECT_EQ(0, set(kUrl, long_value.c_str()));
    EXPECT_EQ(long_value, get(kUrl));
    EXPECT_EQ(long_value, attr_text(param(kUrl), "simv"));
}

// ---- a get of every readable parameter ---------------------------------------

class Sweep : public Started {
protected:
    // Every path a full GetParameterValues asks for: readable, concrete,
    // first element in document order.
    static std::vector<std::string> readable_paths() {
        std::vector<std::string> paths;
        std::set<std::string> seen;
        for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
            if (!xml::attr_is(file, "a", "EF")) continue;
            for (IXML_Node *p : xml::child_elements(file)) {
                const std::string uri = attr_text(p, "uri");
                const std::string rw = attr_text(p, "rw");
                if (uri.rfind("InternetGatewayDevice.", 0) != 0 ||
                    uri.find('%') != std::string::npos || rw.find('R') == std::string::npos ||
                    !seen.insert(uri).second) {
                    continue;
                }
                paths.push_back(uri);
            }
        }
        return paths;
    }

    // A new process, as far as the library can tell.
    void restart() {
        lifecycle::reset_process_state();
        std::istringstream image(testing::sample_text("card.img"));
        card.load_image(image);
        capture();
        ASSERT_EQ(0, simcard_init());
        captured();
        card.clear_trace();
        clear_log();
    }
};

TEST_F(Sweep, EveryReadableParameterInOneProcessGivesItsOwnValue) {
    const std::vector<std::string> paths = readable_paths();
    ASSERT_GE(paths.size(), 100u);

    // Each value as a process that asks for nothing else sees it.
    std::map<std::string, std::string> alone;
    for (const std::string &path : paths) {
        restart();
        alone[path] = get(path);
        ASSERT_NE("(null)", alone[path]) << path;
    }

    for (bool reversed : {false, true}) {
        SCOPED_TRACE(reversed ? "backwards" : "in document order");
        restart();
        std::vector<std::string> order = paths;
        if (reversed) std::reverse(order.begin(), order.end());
        for (const std::string &path : order) {
            EXPECT_EQ(alone[path], get(path)) << path;
        }
        // Each file read once: one SELECT and its chunks, and marked loaded.
        std::set<uint16_t> files;
        size_t chunks = 0;
        for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
            if (!xml::attr_is(file, "a", "EF") || !xml::attr_is(file, "wf", "1")) continue;
            const auto id = static_cast<uint16_t>(std::stoi(attr_text(file, "n"), nullptr, 16));
            files.insert(id);
            EXPECT_EQ(1u, selects_of(card, id)) << std::hex << id;
            const size_t size =
                std::min<size_t>(std::stoul(attr_text(file, "ml")), card.file(id)->contents.size());
            chunks += (size + 199) / 200;
        }
        EXPECT_GE(files.size(), 20u);
        EXPECT_EQ(chunks, commands(ins::kReadBinary));

        // A second sweep is answered from memory.
        card.clear_trace();
        for (const std::string &path : order) {
            EXPECT_EQ(alone[path], get(path)) << path;
        }
        EXPECT_TRUE(card.trace().empty());
    }
}

}  // namespace
}  // namespace simcard
