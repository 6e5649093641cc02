#include <cstring>
#include <string>
#include <string_view>

#include "sal/config.h"
#include "sal/instance/templates.h"
#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

using testing::SampleTest;

// ---- kinds, tables and parent paths ---------------------------------------

TEST(InstancePaths, KindsAndTableCodes) {
    const std::string dev = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
    const std::string qos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";
    // A port mapping lies under a WAN connection and still is one.
    EXPECT_EQ(3, getMulInstanceUriType((dev + "1.WANIPConnection.1.PortMapping.").c_str()));
    EXPECT_EQ(0, getMulInstanceUriType((dev + "2.WANPPPConnection.").c_str()));
    EXPECT_EQ(1, getMulInstanceUriType("InternetGatewayDevice.LANDevice.1.WLANConfiguration.2."));
    EXPECT_EQ(2, getMulInstanceUriType((qos + "App.").c_str()));
    EXPECT_EQ(4, getMulInstanceUriType("InternetGatewayDevice.LANDevice.1.Hosts."));

    EXPECT_EQ(1, checkMulInstanceUri(dev.c_str()));
    EXPECT_EQ(2, checkMulInstanceUri("InternetGatewayDevice.LANDevice.1.WLANConfiguration."));
    EXPECT_EQ(3, checkMulInstanceUri((qos + "App.").c_str()));
    EXPECT_EQ(0, checkMulInstanceUri((qos + "App.2.").c_str()));  // only the bare table
    EXPECT_EQ(4, checkMulInstanceUri((qos + "Classification.").c_str()));
    EXPECT_EQ(5, checkMulInstanceUri((qos + "PriorityQueue.").c_str()));
    EXPECT_EQ(6, checkMulInstanceUri((qos + "Classification.1.type.").c_str()));
    EXPECT_EQ(0, checkMulInstanceUri(nullptr));
}

TEST(InstancePaths, ParentPathCutsTwoDotsAndEndsAfterTheThird) {
    auto parent = [](std::string path) {
        getParentInstancePath(path.data());
        return std::string(path.c_str());
    };
    EXPECT_EQ("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.",
              parent("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANIPConnection."));
    EXPECT_EQ("A", parent("A.B."));
    EXPECT_EQ("A", parent("A."));
    EXPECT_EQ("none", parent("none"));
    EXPECT_EQ("", parent(""));
    getParentInstancePath(nullptr);
}

// ---- templates --------------------------------------------------------------

constexpr std::string_view kTemplates = R"(<?xml version="1.0"?>
<c><Demo a="EF" n="6F38" ml="8" wf="0"/><Other a="EF" n="6F39" ml="8" wf="0"/></c>
)";

class Templates : public SampleTest {
protected:
    void SetUp() override { load_document(kTemplates); }
    IXML_Node *node() const { return sal::find_file_node(0x6F38); }
};

TEST_F(Templates, EverySlotIsFilledAndFoundExceptTheTwoGaps) {
    for (const instance::Group &group : instance::kGroups) {
        EXPECT_EQ(0, saveMulInstanceTemplateNade(node(), group.demo));
        EXPECT_EQ(node(), templateNodeTable[group.slot]) << std::hex << group.demo;
        EXPECT_EQ(group.demo == 0x6F2B ? nullptr : node(), instance::find_template(group.demo))
            << std::hex << group.demo;
    }
    saveMulInstanceTemplateNade(node(), 0x6F63);
    saveMulInstanceTemplateNade(node(), 0x6F39);
    EXPECT_EQ(nullptr, templateNodeTable[9]);
    EXPECT_EQ(nullptr, instance::find_template(0x6F63));
    EXPECT_EQ(nullptr, instance::find_template(0x6F39));

    instance::reset_templates();
    EXPECT_EQ(1, saveMulInstanceTemplateNade(nullptr, 0x6F07));
    EXPECT_EQ(nullptr, templateNodeTable[0]);
    EXPECT_EQ("[saveMulInstanceTemplateNade-N]  node is NULL\n", log());
}

// ---- patterns of parameters -------------------------------------------------

constexpr std::string_view kWanDocument = R"(<?xml version="1.0"?>
<c>
  <Wanconnection a="EF" n="6f08" ml="128" wf="0" t="dynamic" index="P00"
                 uri="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.">
    <ConnIndex a="PARAM" n="P00" ml="16" uri="*DEL*" furi=""/>
    <ConnectVlanID a="PARAM" n="P01" ml="4" uri="X_CT-COM_WANEponLinkConfig.VLANIDMark" furi=""/>
    <VlanTransferMode a="PARAM" n="P02" ml="1"
        uri="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.X_CT-COM_WANEponLinkConfig.Mode"
        furi=""/>
    <Enable a="PARAM" n="P03" ml="1" uri="%s.%d.Enable"
            furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.%d.Enable"/>
    <Address a="PARAM" n="P04" ml="15" uri="WANIPConnection.%d.ExternalIPAddress"
             furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANIPConnection.%d.ExternalIPAddress"/>
    <User a="PARAM" n="P05" ml="32" uri="WANPPPConnection.%d.Username"
          furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANPPPConnection.%d.Username"/>
    <Plain a="PARAM" n="P06" ml="4" uri="Tail" furi="Fixed.%d.Path"/>
    <NoPattern a="PARAM" n="P07" ml="4" uri="Tail"/>
  </Wanconnection>
  <Bare a="EF" n="6f09" ml="8" wf="0"><Param a="PARAM" n="P00" uri="X" furi=""/></Bare>
</c>
)";

class ParamPaths : public SampleTest {
protected:
    void SetUp() override {
        load_document(kWanDocument);
        open_device();
    }
    IXML_Node *wan() const { return sal::find_file_node(0x6F08); }
    std::string uri(const char *tag) const { return attr(child(wan(), tag), "uri"); }
    std::string furi(const char *tag) const { return attr(child(wan(), tag), "furi"); }
};

TEST_F(ParamPaths, PatternsAndVlanPathsJoinTheFilePathAndTheTail) {
    const std::string device = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.";
    initNodeParamFuri(wan());
    EXPECT_EQ("", furi("ConnIndex"));
    EXPECT_EQ(device + "X_CT-COM_WANEponLinkConfig.VLANIDMark", furi("ConnectVlanID"));
    EXPECT_EQ("Fixed.%d.Path", furi("Plain"));  // a pattern of its own is kept
    EXPECT_EQ("(none)", furi("NoPattern"));     // no furi at all: left alone

    const std::string mode = uri("VlanTransferMode");
    setVlanUri(wan());
    EXPECT_EQ(device + "X_CT-COM_WANEponLinkConfig.VLANIDMark", uri("ConnectVlanID"));
    EXPECT_EQ(mode, uri("VlanTransferMode"));  // already a path
    EXPECT_EQ("Tail", uri("Plain"));
    capture();
    setVlanUri(nullptr);
    setVlanUri(sal::find_file_node(0x6F09));
    EXPECT_EQ("node is NULL\nnode uri is NULL\n", captured());
}

TEST_F(ParamPaths, AnIpReferenceIsWrittenAndLeavesPppParametersUnpathed) {
    card.add_file(0x6F08, 128, R"(<P00="" P01="41">)");
    card.clear_trace();
    updateMulInstanceParamUri(wan(), 2, 1, "2.IP.1");

    EXPECT_EQ(R"(<P00="2.IP.1" P01="41">)", card.text(0x6F08));
    EXPECT_EQ(1u, card.count(vcard::ins::kUpdateBinary));
    EXPECT_EQ("2.IP.1", attr(child(wan(), "ConnIndex"), "simv"));
    EXPECT_EQ("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANIPConnection.1.Enable",
              uri("Enable"));
    EXPECT_EQ(
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANIPConnection.1."
        "ExternalIPAddress",
        uri("Address"));
    EXPECT_EQ("WANPPPConnection.%d.Username", uri("User"));
    EXPECT_EQ("Fixed.%d.Path", uri("Plain"));  // no connection in it: copied as it stands
    EXPECT_EQ("Tail", uri("NoPattern"));
    EXPECT_EQ("*DEL*", uri("ConnIndex"));
}

TEST_F(ParamPaths, AFailedCardWriteEndsTheWalk) {
    card.add_file(0x6F08, 128, R"(<P00="">)");
    card.set_online(false);
    capture();
    updateMulInstanceParamUri(wan(), 2, 1, "2.IP.1");
    EXPECT_NE(std::string::npos, captured().find("write simcard P00 to 2.IP.1 error\n"));
    EXPECT_EQ("2.IP.1", attr(child(wan(), "ConnIndex"), "simv"));
    EXPECT_EQ("%s.%d.Enable", uri("Enable"));
    EXPECT_EQ(R"(<P00="">)", card.text(0x6F08));

    clear_log();
    updateMulInstanceParamUri(wan(), 2, 0, "2.IP.0");
    updateMulInstanceParamUri(sal::find_file_node(0x6F09), 2, 1, "2.IP.1");
    EXPECT_EQ(
        "[updateMulInstanceParamUri-N]  update node param is failed\n"
        "[updateMulInstanceParamUri-N]  node  is NULL\n",
        log());
}

// ---- updateNodeUri ----------------------------------------------------------

constexpr std::string_view kNodeDocument = R"(<?xml version="1.0"?>
<c>
  <PortMapping a="EF" n="6f65" ml="64" wf="0" t="Dynamic"
      furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.%d.PortMapping.%d.">
    <WANIndex a="PARAM" n="P00" uri="*DEL*"/>
    <Port a="PARAM" n="P03" uri="ExternalPort"
        furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.%d.PortMapping.%d.ExternalPort"/>
    <IpOnly a="PARAM" n="P04" uri="Tail"
        furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.WANIPConnection.%d.X"/>
    <Empty a="PARAM" n="P05" uri="Tail" furi=""/>
  </PortMapping>
  <Static a="EF" n="6f66" ml="8" wf="0" t="static" furi="A.%d."/>
  <NoPattern a="EF" n="6f67" ml="8" wf="0" t="dynamic" furi=""/>
  <Wan a="EF" n="6f68" ml="8" wf="0" t="dynamic"
       furi="InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d."/>
</c>
)";

class NodeUri : public SampleTest {
protected:
    void SetUp() override { load_document(kNodeDocument); }
    static InstanceIndexInfo ppp() {
        InstanceIndexInfo info{};
        info.hasWan = 1;
        info.wanIndex = 2;
        std::memcpy(info.connType, "ppp", 4);
        info.connIndex = 1;
        info.instIndex = 3;
        return info;
    }
};

TEST_F(NodeUri, ADynamicElementInAnyCaseGetsItsPathsOthersAreRefused) {
    const InstanceIndexInfo info = ppp();
    IXML_Node *mapping = sal::find_file_node(0x6F65);
    ASSERT_EQ(0, updateNodeUri(mapping, &info));
    const std::string path =
        "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANPPPConnection.1.PortMapping.3.";
    EXPECT_EQ(path, attr(mapping, "uri"));
    EXPECT_EQ(path + "ExternalPort", attr(child(mapping, "Port"), "uri"));
    EXPECT_EQ("Tail", attr(child(mapping, "IpOnly"), "uri"));
    EXPECT_EQ("Tail", attr(child(mapping, "Empty"), "uri"));
    const std::string enter = "[updateNodeUri-N]  ==========updateNodeUri enter===============\n";
    EXPECT_EQ(enter + "[updateNodeUri-N]  updateNodeUri: uri=" + path + "\n" +
                  "[updateNodeUri-N]  updateNodeUri: para uri=" + path + "ExternalPort\n" +
                  "[updateNodeUri-N]  ==========updateNodeUri end===============\n",
              log());

    clear_log();
    InstanceIndexInfo no_wan{};
    no_wan.instIndex = 1;
    EXPECT_EQ(-1, updateNodeUri(nullptr, &info));
    EXPECT_EQ(-1, updateNodeUri(sal::find_file_node(0x6F66), &info));
    EXPECT_EQ(-1, updateNodeUri(sal::find_file_node(0x6F67), &info));  // empty furi: silent
    EXPECT_EQ(-1, updateNodeUri(sal::find_file_node(0x6F68), &no_wan));
    EXPECT_EQ(enter + "[updateNodeUri-N]  updateNodeUri: arguments is null\n" + enter +
                  "[updateNodeUri-N]  updateNodeUri: Static is not  dynamic\n" + enter + enter +
                  "[updateNodeUri-N]  uri has wan but index has't wan index\n",
              log());
}

}  // namespace
}  // namespace simcard
