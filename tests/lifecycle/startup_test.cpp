// The model that start-up builds from the sample document and card image.
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "sal/instance/templates.h"
#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

using testing::SampleTest;
namespace ins = vcard::ins;
namespace xml = sal::xml;

constexpr const char *kDevice = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";

class Startup : public SampleTest {
protected:
    std::string uri(int file) const { return attr(findFileNode(file), "uri"); }
    std::string uri(int file, const char *tag) const {
        return attr(child(findFileNode(file), tag), "uri");
    }
};

TEST_F(Startup, InstancesStandInAscendingOrderBeforeTheirTemplates) {
    ASSERT_EQ(0, simcard_init());
    std::vector<std::string> layout;
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        layout.push_back(std::string(xml::tag(file)) + " " + attr(file, "n") + " " +
                         attr(file, "a"));
    }
    const std::vector<std::string> expected = {
        "DeviceInfo 6F04 EF",
        "ManagementServer 6F05 EF",
        "LANHostConfig 6F06 EF",
        "Wanconnection 6F07 EF",
        "Wanconnection 6f08 EF",
        "Wanconnection 6f09 EF",
        "Wanconnection 0 TL",
        "WAN_IPV4 6F17 EF",
        "WAN_IPV4 6f18 EF",
        "WAN_IPV4 6f19 EF",
        "WAN_IPV4 0 TL",
        "WLANConfiguration 6F2B EF",
        "WLANConfiguration 0 TL",
        "Qos-Global 6F37 EF",
        "Qos-APP 6F38 EF",
        "Qos-APP 6f39 EF",
        "Qos-APP 0 TL",
        "Qos-Classification 6F40 EF",
        "Qos-Classification 6f41 EF",
        "Qos-Classification 0 TL",
        "Qos-type 6F48 EF",
        "Qos-type 6f49 EF",
        "Qos-type 6f4a EF",
        "Qos-type 6f4b EF",
        "Qos-type 0 TL",
        "Qos-PriorityQueue 6F54 EF",
        "Qos-PriorityQueue 6f55 EF",
        "Qos-PriorityQueue 6f56 EF",
        "Qos-PriorityQueue 0 TL",
        "VoiceLine 6F5C EF",
        "VoiceLine 6f5d EF",
        "VoiceLine 0 TL",
        "PortMapping 6F64 EF",
        "PortMapping 6f65 EF",
        "PortMapping 6f66 EF",
        "PortMapping 6f67 EF",
        "PortMapping 0 TL",
        "VlanBind 6F90 EF",
        "IPTV 6F91 EF",
        "WAN_IPV6 6F96 EF",
        "WAN_IPV6 6f97 EF",
        "WAN_IPV6 6f98 EF",
        "WAN_IPV6 0 TL",
    };
    EXPECT_EQ(expected, layout);

    // Every template is the one in its slot; 6F63's slot stays empty.
    for (const instance::Group &group : instance::kGroups) {
        IXML_Node *tmpl = templateNodeTable[group.slot];
        EXPECT_TRUE(xml::attr_is(tmpl, "a", "TL")) << std::hex << group.demo;
        EXPECT_EQ(xml::tag(findFileNode(group.demo)), xml::tag(tmpl));
    }
    EXPECT_EQ(nullptr, templateNodeTable[9]);
}

TEST_F(Startup, FreeUnsetUnheldAndWlanInstanceFilesAreLeftOut) {
    ASSERT_EQ(0, simcard_init());
    for (int file :
         {0x6F0A, 0x6F0B, 0x6F0C, 0x6F1A, 0x6F1B, 0x6F1C, 0x6F2C, 0x6F99, 0x6F9A, 0x6F9B}) {
        EXPECT_EQ(nullptr, findFileNode(file)) << std::hex << file;
    }
    const std::string text = log();
    for (const char *line :
         {"Index is invalid,file_id=0x6f0a\n", "Index is invalid,file_id=0x6f0b\n",
          "Index is invalid,file_id=0x6f9a\n", "can not find template node 0x6f2b\n"}) {
        EXPECT_NE(std::string::npos, text.find(std::string("[InsertMulInstanceNode-N]  ") + line))
            << line;
    }
}

TEST_F(Startup, PathsCarryTheInstanceNumbersOfEachFile) {
    ASSERT_EQ(0, simcard_init());
    const std::string dev(kDevice);
    // The TR-069 WAN in the demo files, and the templates' patterns.
    EXPECT_EQ(dev + "1.", uri(0x6F07));
    EXPECT_EQ(dev + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
    IXML_Node *tmpl = templateNodeTable[0];
    EXPECT_EQ(dev + "%d.", attr(tmpl, "uri"));
    EXPECT_EQ("%s.%d.Name", attr(child(tmpl, "ConnectionName"), "uri"));
    EXPECT_EQ(dev + "%d.%s.%d.Name", attr(child(tmpl, "ConnectionName"), "furi"));

    // PPP device 2: its IP parameters keep no path, and the other way round.
    EXPECT_EQ(dev + "2.", uri(0x6F08));
    EXPECT_EQ(dev + "2.WANPPPConnection.1.Username", uri(0x6F08, "PPPUsername"));
    EXPECT_EQ(dev + "2.WANPPPConnection.1.X_CT-COM_LanInterface", uri(0x6F08, "LanInterface"));
    EXPECT_EQ(dev + "2.X_CT-COM_WANEponLinkConfig.VLANIDMark", uri(0x6F08, "ConnectVlanID"));
    EXPECT_EQ("WANIPConnection.%d.ExternalIPAddress", uri(0x6F08, "ExternalIPAddress"));
    EXPECT_EQ(dev + "3.WANIPConnection.1.AddressingType", uri(0x6F09, "AddressingType"));
    EXPECT_EQ("WANPPPConnection.%d.Username", uri(0x6F09, "PPPUsername"));
    EXPECT_EQ(dev + "2.WANPPPConnection.1.PPPLCPEcho", uri(0x6F18, "PPPLCPEcho"));
    EXPECT_EQ(dev + "3.WANIPConnection.1.X_CT-COM_IPv6IPAddress", uri(0x6F98, "IPv6Address"));
    EXPECT_EQ("*DEL*", uri(0x6F08, "ConnIndex"));

    const std::string qos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";
    EXPECT_EQ(qos + "App.2.AppName", uri(0x6F39, "AppName"));
    EXPECT_EQ(qos + "Classification.2.", uri(0x6F41));
    EXPECT_EQ(qos + "Classification.2.type.1.", uri(0x6F49));
    EXPECT_EQ(qos + "Classification.2.type.2.Max", uri(0x6F4A, "Max"));
    EXPECT_EQ(qos + "Classification.1.type.2.", uri(0x6F4B));
    EXPECT_EQ(qos + "PriorityQueue.3.Weight", uri(0x6F56, "Weight"));
    EXPECT_EQ("InternetGatewayDevice.Services.VoiceService.1.VoiceProfile.1.Line.2.", uri(0x6F5D));

    EXPECT_EQ(dev + "2.WANPPPConnection.1.PortMapping.2.ExternalPort", uri(0x6F66, "ExternalPort"));
    EXPECT_EQ(dev + "3.WANIPConnection.1.PortMapping.1.", uri(0x6F67));
    EXPECT_EQ("*DEL*", uri(0x6F67, "WANIndex"));
    EXPECT_EQ(getMulInstanceUriType(uri(0x6F67).c_str()), 3);

    // Values reach the tree only when asked for.
    EXPECT_EQ("(none)", attr(child(findFileNode(0x6F08), "PPPUsername"), "simv"));
}

TEST_F(Startup, TheCardIsReadExactlyForWhatStartUpNeeds) {
    ASSERT_EQ(0, simcard_init());
    std::vector<int> selected;
    for (const vcard::TraceEntry *select : card.commands(ins::kSelect)) {
        selected.push_back(select->data.at(0) << 8 | select->data.at(1));
    }
    const std::vector<int> expected = {
        0x7F80,
        0x6F07,
        0x6F17,
        0x6F96,  // the WAN demos' paths
        0x6F08,
        0x6F09,
        0x6F0A,
        0x6F0B,  // each held instance file's P00
        0x6F18,
        0x6F19,
        0x6F1A,
        0x6F1B,
        0x6F39,
        0x6F41,
        0x6F49,
        0x6F48,  // type entries count the
                 // earlier ones
        0x6F4A,
        0x6F48,
        0x6F49,
        0x6F4B,
        0x6F48,
        0x6F49,
        0x6F4A,
        0x6F55,
        0x6F56,
        0x6F5D,
        0x6F65,
        0x6F66,
        0x6F67,
        0x6F97,
        0x6F98,
        0x6F99,
        0x6F9A,
    };
    EXPECT_EQ(expected, selected);

    // Each selection reads its whole file once, in chunks of 200 bytes.
    size_t chunks = 0;
    for (size_t i = 1; i < expected.size(); ++i) {
        chunks += (card.file(static_cast<uint16_t>(expected[i]))->contents.size() + 199) / 200;
    }
    EXPECT_EQ(chunks, card.count(ins::kReadBinary));
    EXPECT_EQ(expected.size() - 1 + 2, card.count(ins::kGetResponse));  // files, E2, E1
    EXPECT_EQ(1u, card.count(ins::kUpdateStatus));
    EXPECT_EQ(1u, card.count(ins::kAuthChallenge));
    EXPECT_EQ(1u, card.count(ins::kAuthAnswer));
    EXPECT_EQ(0u, card.count(ins::kUpdateBinary));
    EXPECT_EQ(0u, card.count(ins::kFactoryReset));
}

TEST_F(Startup, ACardHoldingNoFilesGivesNoInstances) {
    for (const vcard::ElementaryFile *file : card.files()) {
        card.file(file->id)->updated = false;
    }
    ASSERT_EQ(0, simcard_init());
    EXPECT_EQ(nullptr, findFileNode(0x6F08));
    EXPECT_EQ("1.", uri(0x6F07).substr(uri(0x6F07).size() - 2));  // the demos still get paths
}

// The sample pair is what gateways and tests start from: every card value
// must fit the ml of its parameter, and every record must have one.
TEST_F(Startup, EveryCardValueFitsItsParameter) {
    ASSERT_EQ(0, loadSimcardConfigxml());
    static const std::regex record(R"re((P\d\d)=(?:"([^"]*)"|FF))re");
    for (const vcard::ElementaryFile *ef : card.files()) {
        IXML_Node *file = findFileNode(ef->id);
        for (const instance::Group &group : instance::kGroups) {
            if (file == nullptr && ef->id > group.demo && ef->id <= group.last) {
                file = findFileNode(group.demo);
            }
        }
        ASSERT_NE(nullptr, file) << std::hex << ef->id;
        EXPECT_EQ(std::to_string(ef->contents.size()), attr(file, "ml")) << std::hex << ef->id;
        std::map<std::string, IXML_Node *> params;
        for (IXML_Node *param : xml::child_elements(file)) {
            params[attr(param, "n")] = param;
        }
        const std::string text = card.text(ef->id);
        for (std::sregex_iterator it(text.begin(), text.end(), record), end; it != end; ++it) {
            IXML_Node *param = params[(*it)[1]];
            ASSERT_NE(nullptr, param) << std::hex << ef->id << " " << (*it)[1];
            EXPECT_LE((*it)[2].length(), std::stoul(attr(param, "ml")))
                << std::hex << ef->id << " " << (*it)[1];
        }
    }
}

}  // namespace
}  // namespace simcard
