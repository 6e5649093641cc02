// simcardctl as a firmware engineer runs it: a process, a card image, a
// configuration document, standard output, standard error and an exit status.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace {

namespace fs = std::filesystem;

using Result = simcard::testing::ProcessResult;

std::string file_text(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

class Tool : public ::testing::Test {
protected:
    Tool() {
        image_ = sandbox_.path("card.img");
        config_ = std::string(SIMCARD_SAMPLE_DIR) + "/simcardconfig.xml";
        fs::copy_file(std::string(SIMCARD_SAMPLE_DIR) + "/card.img", image_);
    }

    // Runs simcardctl on the copy of the sample image with the sample document.
    Result run(std::vector<std::string> args, bool with_image = true) {
        std::vector<std::string> argv = {SIMCARDCTL};
        if (with_image) {
            argv.insert(argv.end(), {"--virtual", image_, "--config", config_});
        }
        argv.insert(argv.end(), args.begin(), args.end());
        return simcard::testing::run(argv);
    }

    simcard::vcard::VirtualCard card_after() const {
        simcard::vcard::VirtualCard card;
        card.load_image_file(image_);
        return card;
    }

    simcard::vcard::ScopedSandbox sandbox_;
    std::string image_;
    std::string config_;
};

TEST_F(Tool, GetPrintsValuesAndLeavesTheImageAlone) {
    const std::string before = file_text(image_);
    const Result r = run({"get", "InternetGatewayDevice.DeviceInfo.ProvisioningCode",
                          "InternetGatewayDevice.ManagementServer.PeriodicInformEnable"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(
        "InternetGatewayDevice.DeviceInfo.ProvisioningCode = HGU_DEFAULT\n"
        "InternetGatewayDevice.ManagementServer.PeriodicInformEnable = true\n",
        r.out);
    EXPECT_EQ(before, file_text(image_));
    // The library's own messages stay on standard error.
    EXPECT_NE(std::string::npos, r.err.find("simcardctl: sandbox "));
}

TEST_F(Tool, ASetSurvivesIntoTheNextInvocationAfterSync) {
    const std::string url = "http://acs.test:7547/";
    Result r = run({"set", "InternetGatewayDevice.ManagementServer.URL", url, "--", "sync"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, card_after().text(0x6F05).find("P00=\"" + url + "\""));
    r = run({"get", "InternetGatewayDevice.ManagementServer.URL"});
    EXPECT_EQ("InternetGatewayDevice.ManagementServer.URL = " + url + "\n", r.out);
}

// Commands separated by "--" share one library session, as a TR-069 agent's
// adds do: the device exists in memory until its connection is written.
TEST_F(Tool, AddingAndDeletingAWanConnectionChangesTheCard) {
    const std::string devices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
    Result r = run({"add", devices, "5", "--", "add", devices + "5.WANIPConnection.", "1"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("added " + devices + "5.\nadded " + devices + "5.WANIPConnection.1.\n", r.out);
    auto holding = [&](const std::string &ref) {
        std::vector<uint16_t> ids;
        const auto card = card_after();
        for (const auto *f : card.files()) {
            if (card.text(f->id).find("P00=\"" + ref + "\"") != std::string::npos) {
                ids.push_back(f->id);
            }
        }
        return ids;
    };
    EXPECT_EQ(3u, holding("5.IP.1").size());  // the device's three files

    r = run({"del", devices + "5.", "1"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(holding("5.IP.1").empty());
}

TEST_F(Tool, ErrorsExitNonZeroAndChangeNothing) {
    const std::string before = file_text(image_);
    Result r = run({"get", "InternetGatewayDevice.DeviceInfo.NoSuchThing"});
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos, r.err.find("simcardctl: no readable parameter "
                                            "InternetGatewayDevice.DeviceInfo.NoSuchThing"));

    // A value for a read-only parameter, and a later failing command, leave
    // the image as it was even after a sync earlier in the same run.
    r = run({"set", "InternetGatewayDevice.DeviceInfo.ProvisioningCode", "X"});
    EXPECT_EQ(1, r.status);
    r = run({"set", "InternetGatewayDevice.ManagementServer.URL", "http://x/", "--", "sync", "--",
             "get", "InternetGatewayDevice.Nope"});
    EXPECT_EQ(1, r.status);
    EXPECT_EQ(before, file_text(image_));

    r = simcard::testing::run({SIMCARDCTL, "--virtual", sandbox_.path("missing.img"), "get", "X"});
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos, r.err.find("cannot read card image"));

    r = simcard::testing::run(
        {SIMCARDCTL, "--virtual", image_, "--config", sandbox_.path("none.xml"), "sync"});
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos, r.err.find("cannot read configuration document"));

    r = run({"frobnicate"});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("unknown command frobnicate"));
    r = run({"add", "InternetGatewayDevice.X_CT-COM_UplinkQoS.App.", "zero"});
    EXPECT_EQ(2, r.status);
    EXPECT_EQ(before, file_text(image_));
}

TEST_F(Tool, TraceShowsEveryCardCommand) {
    const Result r = run({"--trace", "card", "cat", "6F04"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("<P00=\"HGU_DEFAULT\" P01=\"V2.1\" P02=\"1\">\n", r.out);
    EXPECT_NE(std::string::npos, r.err.find("card: ONLINE -> 1"));
    EXPECT_NE(std::string::npos, r.err.find("card: SELECT 7F80 -> 9F"));
    EXPECT_NE(std::string::npos, r.err.find("card: SELECT 6F04 -> 9F 0F"));
    EXPECT_NE(std::string::npos, r.err.find("card: READ BINARY off=0 len=128 -> 90 00"));
}

TEST_F(Tool, CardCommandsListAndResetFiles) {
    Result r = run({"card", "ls"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("6F04    128  yes\n"));
    EXPECT_NE(std::string::npos, r.out.find("6F90"));

    r = run({"card", "reset", "6F05"});
    ASSERT_EQ(0, r.status) << r.err;
    const auto card = card_after();
    EXPECT_NE(std::string::npos, card.text(0x6F05).find("acs.example.net"));  // factory URL
    EXPECT_FALSE(card.file(0x6F05)->updated);
}

TEST_F(Tool, DumpAndTreeShowTheModel) {
    Result r = run({"dump"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, r.out.find("<?xml"));
    EXPECT_NE(std::string::npos, r.out.find("<SimCardConfig"));
    r = run({"tree"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("InternetGatewayDevice.DeviceInfo.ProvisioningCode"));
    EXPECT_NE(std::string::npos, r.out.find("HGU_DEFAULT"));
}

}  // namespace
