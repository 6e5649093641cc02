// Path patterns, instance kinds, the template table and instance paths.
#include <climits>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "sal/config.h"
#include "sal/instance/paths.h"
#include "sal/instance/templates.h"
#include "sal/pattern.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

const std::string kDev = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
const std::string kQos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";

// snprintf with a pattern made here, for comparison.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <typename T>
std::string printed(const std::string &pattern, T arg, size_t capacity) {
    std::vector<char> buf(capacity + 1, '#');
    std::snprintf(buf.data(), capacity, pattern.c_str(), arg);
    return buf.data();
}
#pragma GCC diagnostic pop

TEST(Patterns, EveryConversionWithItsArgumentKindIsFilledAsSnprintfFillsIt) {
    const char *flags[] = {"", "-", "+", " ", "#", "0", "-0", "+0", "#0", "- ", "+ ", "-#0+ "};
    const char *widths[] = {"", "1", "5", "12"};
    const char *precisions[] = {"", ".", ".0", ".1", ".4", ".10"};
    const int numbers[] = {0, 1, 7, -1, -42, 65, 255, INT_MAX, INT_MIN};
    const char *texts[] = {"", "a", "abc", "abcdefghijklmnop"};
    for (const char *flag : flags) {
        for (const char *width : widths) {
            for (const char *precision : precisions) {
                const std::string spec = std::string("<%") + flag + width + precision;
                for (const char conversion : std::string_view("diuoxXc")) {
                    const std::string pattern = spec + conversion + ">";
                    for (const int n : numbers) {
                        for (const size_t capacity : {64, 6}) {
                            ASSERT_EQ(printed(pattern, n, capacity),
                                      sal::fill_pattern(pattern, {n}, capacity))
                                << pattern << " " << n << " " << capacity;
                        }
                    }
                }
                for (const char *text : texts) {
                    const std::string pattern = spec + "s>";
                    ASSERT_EQ(printed(pattern, text, 64), sal::fill_pattern(pattern, {text}, 64))
                        << pattern << " " << text;
                }
            }
        }
    }
}

TEST(Patterns, AnythingElseIsCopiedAsWrittenAndCutToTheBuffer) {
    using sal::fill_pattern;
    EXPECT_EQ("A.2.WANPPPConnection.1.B.7",
              fill_pattern("A.%d.%s.%d.B.%d", {2, "WANPPPConnection", 1, 7, 9}, 512));
    // Each "%" sequence takes its argument, filled or not, as printf would.
    EXPECT_EQ("%n.%p.%ld.%*d.%hx.5", fill_pattern("%n.%p.%ld.%*d.%hx.%d", {1, 2, 3, 4, 5, 5}, 512));
    EXPECT_EQ("% %d 50%", fill_pattern("% %d 50%", {1}, 512));  // "% %" is no "%%"
    const std::string_view lone = "a %5";                       // ends inside a "%" sequence
    const std::vector<char> unterminated(lone.begin(), lone.end());
    EXPECT_EQ("a %5", fill_pattern({unterminated.data(), unterminated.size()}, {1}, 512));
    EXPECT_EQ("-3.100%", fill_pattern("%d.100%%", {-3}, 512));
    EXPECT_EQ("1.%s.%d.%s", fill_pattern("%d.%s.%d.%s", {1}, 512));  // more than the arguments
    EXPECT_EQ("%d.2", fill_pattern("%d.%d", {"text", 2}, 512));      // the other kind: used up
    EXPECT_EQ("a%d%s%nb", fill_pattern("a%sb", {"%d%s%n"}, 512));    // texts are no patterns
    EXPECT_EQ("a", fill_pattern("a%cb%d", {0, 3}, 512));             // "%c" of 0 ends the text
    EXPECT_EQ("a12", fill_pattern("a%d", {12345}, 4));
    EXPECT_EQ("", fill_pattern("abc", {}, 0));
    EXPECT_EQ(std::string(400, 'x') + std::string(111, 'y'),
              fill_pattern(std::string(400, 'x') + "%s%d", {std::string(1000, 'y'), 1}, 512));
    // Widths and precisions up to the range of int only cost the buffer.
    EXPECT_EQ(std::string(511, ' '), fill_pattern("%2147483647d", {1}, 512));
    EXPECT_EQ(std::string(511, '0'), fill_pattern("%.2147483647d", {1}, 512));
    EXPECT_EQ("%2147483648d", fill_pattern("%2147483648d", {1}, 512));

    // A four-letter connection type has no terminator: it must not run on.
    const InstanceIndexInfo info{1, 1, {'I', 'P', 'V', '4'}, 2, 0, 0};
    EXPECT_EQ("1.WANPPPConnection.2", instance::fill_instance_pattern("%d.%s.%d", info, 512));
}

TEST(InstancePaths, KindsTablesAndParents) {
    const std::pair<std::string, int> kinds[] = {
        {kDev + "1.WANIPConnection.1.PortMapping.", 3},  // under a WAN connection, still 3
        {kDev + "2.WANPPPConnection.", 0},
        {"InternetGatewayDevice.LANDevice.1.WLANConfiguration.2.", 1},
        {kQos + "App.", 2},
        {"InternetGatewayDevice.LANDevice.1.Hosts.", 4},
    };
    for (const auto &[uri, kind] : kinds) {
        EXPECT_EQ(kind, getMulInstanceUriType(uri.c_str())) << uri;
    }
    const std::pair<std::string, int> tables[] = {
        {kDev, 1}, {kQos + "App.", 3}, {kQos + "App.2.", 0}, {kQos + "Classification.1.type.", 6}};
    for (const auto &[uri, table] : tables) {
        EXPECT_EQ(table, checkMulInstanceUri(uri.c_str())) << uri;
    }
    const std::pair<std::string, std::string> parents[] = {
        {kDev + "2.WANIPConnection.", kDev}, {"A.B.", "A"}, {"", ""}};
    for (auto [path, parent] : parents) {
        getParentInstancePath(path.data());
        EXPECT_EQ(parent, path.c_str());
    }
    getParentInstancePath(nullptr);
}

constexpr std::string_view kDocument = R"(<?xml version="1.0"?>
<c>
  <Wanconnection a="EF" n="6f08" ml="128" wf="0"
                 uri="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.">
    <ConnIndex n="P00" uri="*DEL*" furi=""/>
    <Vlan n="P01" uri="X_CT-COM_WANEponLinkConfig.VLANIDMark" furi=""/>
    <Enable n="P03" uri="%s.%d.Enable"
            furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.%d.Enable"/>
    <User n="P05" uri="WANPPPConnection.%d.Username"
          furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.Username"/>
  </Wanconnection>
  <PortMapping a="EF" n="6f65" ml="64" wf="0" t="Dynamic"
      furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.%d.PortMapping.%d.">
    <Port n="P03" uri="ExternalPort"
        furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.%d.PortMapping.%d.ExternalPort"/>
    <IpOnly n="P04" uri="Tail"
        furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANIPConnection.%d.X"/>
  </PortMapping>
  <NoPattern a="EF" n="6f67" ml="8" wf="0" t="dynamic" furi=""/>
</c>
)";

class Paths : public testing::SampleTest {
protected:
    void SetUp() override { load_document(kDocument); }
    static std::string uri(int file, const char *tag) {
        return attr(child(sal::find_file_node(file), tag), "uri");
    }
};

TEST_F(Paths, TemplatesOf6F2BAreStoredButNeverFoundAndOf6F63Dropped) {
    IXML_Node *node = sal::find_file_node(0x6F08);
    for (int demo : {0x6F38, 0x6F2B, 0x6F63}) {
        EXPECT_EQ(0, saveMulInstanceTemplateNade(node, demo));
    }
    EXPECT_EQ(node, instance::find_template(0x6F38));
    EXPECT_EQ(node, templateNodeTable[3]);
    EXPECT_EQ(nullptr, instance::find_template(0x6F2B));
    EXPECT_EQ(nullptr, templateNodeTable[9]);
    EXPECT_EQ(nullptr, instance::find_template(0x6F63));
    EXPECT_EQ(1, saveMulInstanceTemplateNade(nullptr, 0x6F07));
}

TEST_F(Paths, AnIpReferenceIsWrittenToTheCardAndLeavesPppParametersUnpathed) {
    card.add_file(0x6F08, 128, R"(<P00="" P01="41">)");
    open_device();
    initNodeParamFuri(sal::find_file_node(0x6F08));  // empty patterns only: file path + tail
    updateMulInstanceParamUri(sal::find_file_node(0x6F08), 1, 1, "1.IP.1");
    EXPECT_EQ(R"(<P00="1.IP.1" P01="41">)", card.text(0x6F08));
    EXPECT_EQ("1.IP.1", attr(child(sal::find_file_node(0x6F08), "ConnIndex"), "simv"));
    EXPECT_EQ(kDev + "1.WANIPConnection.1.Enable", uri(0x6F08, "Enable"));
    EXPECT_EQ("WANPPPConnection.%d.Username", uri(0x6F08, "User"));
    EXPECT_EQ(kDev + "1.X_CT-COM_WANEponLinkConfig.VLANIDMark", uri(0x6F08, "Vlan"));
    EXPECT_EQ("*DEL*", uri(0x6F08, "ConnIndex"));
}

TEST_F(Paths, ADynamicElementInAnyCaseGetsItsPathsAndAnEmptyPatternNone) {
    const InstanceIndexInfo info{1, 2, {'p', 'p', 'p', '\0'}, 1, 3, 0};
    IXML_Node *mapping = sal::find_file_node(0x6F65);
    ASSERT_EQ(0, updateNodeUri(mapping, &info));
    const std::string path = kDev + "2.WANPPPConnection.1.PortMapping.3.";
    EXPECT_EQ(path, attr(mapping, "uri"));
    EXPECT_EQ(path + "ExternalPort", uri(0x6F65, "Port"));
    EXPECT_EQ("Tail", uri(0x6F65, "IpOnly"));
    EXPECT_EQ(-1, updateNodeUri(sal::find_file_node(0x6F67), &info));
    EXPECT_EQ(-1, updateNodeUri(nullptr, &info));
}

}  // namespace
}  // namespace simcard
