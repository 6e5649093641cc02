// The model as a gateway's management process sees it: the sample document
// and card, through the shared object's C interface alone.
#include <ixml.h>

#include <array>
#include <fstream>
#include <sstream>
#include <string>

#include "simcard.h"
#include "tests/outside/rig.h"

namespace simcard {
namespace {

using rig::isolated;
using rig::Rig;
using rig::stdout_of;

constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";

std::string file_text(const char *path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The gateway image's document and a card in service.
void boot(Rig &r) {
    r.sandbox.write_file("/etc/simcardconfig.xml",
                         file_text(SIMCARD_SAMPLE_DIR "/simcardconfig.xml"));
    r.sandbox.make_dirs("/logs");
    r.card.load_image_file(SIMCARD_SAMPLE_DIR "/card.img");
    stdout_of([] { ASSERT_EQ(0, simcard_init()); });
}

std::string attr(IXML_Node *node, const char *name) {
    const char *v = ixmlElement_getAttribute(reinterpret_cast<IXML_Element *>(node), name);
    return v != nullptr ? v : "(none)";
}

TEST(OutsideModel, StartUpAuthenticatesAndBuildsTheInstances) {
    isolated([](Rig &r) {
        boot(r);
        EXPECT_EQ(1, isSimCardInitSuccessed());
        ASSERT_EQ(1u, r.platform.led_requests().size());
        EXPECT_EQ((std::array<int, 3>{49, 0, 19}), r.platform.led_requests()[0]);
        EXPECT_EQ("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.",
                  attr(findFileNode(0x6F08), "uri"));
        EXPECT_EQ(nullptr, findFileNode(0x6F0A));  // its P00 is empty: not in use
        EXPECT_EQ("TL", attr(templateNodeTable[0], "a"));
    });
}

TEST(OutsideModel, GetSetAndSyncReachTheCard) {
    isolated([](Rig &r) {
        boot(r);
        EXPECT_STREQ("http://itms.example.net:9090/ACS", simcard_getParamValueByUri(kUrl));
        EXPECT_EQ(nullptr,
                  simcard_getParamValueByUri("InternetGatewayDevice.ManagementServer.URL."));
        EXPECT_EQ(0, simcard_setParamValueByUri(kUrl, "http://acs.rig/"));
        EXPECT_STREQ("http://acs.rig/", simcard_getParamValueByUri(kUrl));
        EXPECT_EQ("2", attr(findFileNode(0x6F05), "wf"));
        r.card.clear_trace();
        const std::string out = stdout_of([] { EXPECT_EQ(0, simcard_syncData2Sim()); });
        EXPECT_EQ(0u, out.find("[sal] simcard_syncData2Sim: enter\n"
                               "[sal] simcard_syncData2Sim: file id 0x6f05 is dirty\n"))
            << out;
        EXPECT_NE(std::string::npos, r.card.text(0x6F05).find("P00=\"http://acs.rig/\""));
        EXPECT_EQ("1", attr(findFileNode(0x6F05), "wf"));
    });
}

TEST(OutsideModel, AWanConnectionIsWrittenToTheCardAtOnce) {
    isolated([](Rig &r) {
        boot(r);
        const std::string devices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
        stdout_of([&] {
            EXPECT_EQ(1, simcard_addMulInstanceByUri(devices.c_str(), 5));
            EXPECT_EQ(1, simcard_addMulInstanceByUri((devices + "5.WANPPPConnection.").c_str(), 1));
        });
        int holding = 0;
        for (const auto *f : r.card.files()) {
            holding += r.card.text(f->id).find("P00=\"5.PPP.1\"") != std::string::npos;
        }
        EXPECT_EQ(3, holding);  // the device's three files
        EXPECT_EQ(nullptr,
                  simcard_getParamValueByUri((devices + "5.WANIPConnection.1.Name").c_str()));
    });
}

}  // namespace
}  // namespace simcard
