// The model that start-up builds from the sample document and card image.
#include <cstdio>
#include <regex>
#include <string>

#include "sal/instance/templates.h"
#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

namespace ins = vcard::ins;

class Startup : public testing::SampleTest {
protected:
    void SetUp() override { ASSERT_EQ(0, simcard_init()); }
    static std::string uri(int file, const char *tag = nullptr) {
        IXML_Node *node = findFileNode(file);
        return attr(tag != nullptr ? child(node, tag) : node, "uri");
    }
};

TEST_F(Startup, HeldInstancesStandInAscendingOrderBeforeTheirTemplatesWithTheirPaths) {
    // Grouped by tag; templates are "0TL". Left out: 6F0A (P00 empty), 6F0B
    // (P00 unset), 6F0C (update bit clear) and any WLAN instance.
    std::string layout, tag;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        const std::string a = attr(file, "a");
        layout += (tag != sal::xml::tag(file) ? "|" + std::string(sal::xml::tag(file)) : "") + " " +
                  attr(file, "n") + (a == "EF" ? "" : a);
        tag = sal::xml::tag(file);
    }
    EXPECT_EQ(
        "|DeviceInfo 6F04|ManagementServer 6F05|LANHostConfig 6F06|Wanconnection 6F07 6f08 6f09 "
        "0TL|WAN_IPV4 6F17 6f18 6f19 0TL|WLANConfiguration 6F2B 0TL|Qos-Global 6F37|Qos-APP 6F38 "
        "6f39 0TL|Qos-Classification 6F40 6f41 0TL|Qos-type 6F48 6f49 6f4a 6f4b 0TL|"
        "Qos-PriorityQueue 6F54 6f55 6f56 0TL|VoiceLine 6F5C 6f5d 0TL|PortMapping 6F64 6f65 6f66 "
        "6f67 0TL|VlanBind 6F90|IPTV 6F91|WAN_IPV6 6F96 6f97 6f98 0TL",
        layout);
    const std::string text = log();
    EXPECT_NE(std::string::npos,
              text.find("[InsertMulInstanceNode-N]  Index is invalid,file_id=0x6f0a\n"));
    EXPECT_NE(std::string::npos,
              text.find("[InsertMulInstanceNode-N]  can not find template node 0x6f2b\n"));

    const std::string dev = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
    EXPECT_EQ(dev + "1.", uri(0x6F07));  // the demo's own device
    EXPECT_EQ(dev + "1.WANIPConnection.1.Name", uri(0x6F07, "ConnectionName"));
    EXPECT_EQ(dev + "%d.%s.%d.Name", attr(child(templateNodeTable[0], "ConnectionName"), "furi"));
    EXPECT_EQ(dev + "2.WANPPPConnection.1.Username", uri(0x6F08, "PPPUsername"));
    EXPECT_EQ("WANIPConnection.%d.ExternalIPAddress", uri(0x6F08, "ExternalIPAddress"));
    EXPECT_EQ(dev + "3.WANIPConnection.1.AddressingType", uri(0x6F09, "AddressingType"));
    EXPECT_EQ("WANPPPConnection.%d.Username", uri(0x6F09, "PPPUsername"));
    EXPECT_EQ("*DEL*", uri(0x6F08, "ConnIndex"));
    const std::string qos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.Classification.";
    EXPECT_EQ(qos + "2.type.1.", uri(0x6F49));
    EXPECT_EQ(qos + "2.type.2.Max", uri(0x6F4A, "Max"));
    EXPECT_EQ(qos + "1.type.2.", uri(0x6F4B));
    EXPECT_EQ(dev + "3.WANIPConnection.1.PortMapping.1.", uri(0x6F67));
    EXPECT_EQ("(none)", attr(child(findFileNode(0x6F08), "PPPUsername"), "simv"));
}

TEST_F(Startup, TheCardIsReadExactlyForWhatStartUpNeeds) {
    std::string selected;
    size_t chunks = 0;  // each file is read whole once, in chunks of 200 bytes
    for (const vcard::TraceEntry *select : card.commands(ins::kSelect)) {
        const int id = select->data.at(0) << 8 | select->data.at(1);
        char hex[8];
        std::snprintf(hex, sizeof hex, "%s%04X", selected.empty() ? "" : " ", id);
        selected += hex;
        if (id != 0x7F80) {
            chunks += (card.file(static_cast<uint16_t>(id))->contents.size() + 199) / 200;
        }
    }
    // The WAN demos' paths, each held instance file's P00; type entries count the earlier ones.
    EXPECT_EQ(
        "7F80 6F07 6F17 6F96 6F08 6F09 6F0A 6F0B 6F18 6F19 6F1A 6F1B 6F39 6F41 6F49 6F48 6F4A "
        "6F48 6F49 6F4B 6F48 6F49 6F4A 6F55 6F56 6F5D 6F65 6F66 6F67 6F97 6F98 6F99 6F9A",
        selected);
    const size_t files = card.count(ins::kSelect) - 1;
    EXPECT_EQ(chunks, card.count(ins::kReadBinary));
    EXPECT_EQ(files + 2, card.count(ins::kGetResponse));  // the files, E2 and E1
    EXPECT_EQ(1u, card.count(ins::kUpdateStatus));
    EXPECT_EQ(1u, card.count(ins::kAuthChallenge));
    EXPECT_EQ(1u, card.count(ins::kAuthAnswer));
    EXPECT_EQ(0u, card.count(ins::kUpdateBinary));
}

// The sample pair is what gateways and tests start from: every card file has
// its element of the same size, and every record a parameter that it fits.
TEST_F(Startup, EveryCardValueFitsItsParameter) {
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
        const std::string text = card.text(ef->id);
        for (std::sregex_iterator it(text.begin(), text.end(), record), end; it != end; ++it) {
            IXML_Node *param = nullptr;
            for (IXML_Node *candidate : sal::xml::child_elements(file)) {
                param = attr(candidate, "n") == (*it)[1] ? candidate : param;
            }
            ASSERT_NE(nullptr, param) << std::hex << ef->id << " " << (*it)[1];
            EXPECT_LE((*it)[2].length(), std::stoul(attr(param, "ml"))) << std::hex << ef->id;
        }
    }
}

}  // namespace
}  // namespace simcard
