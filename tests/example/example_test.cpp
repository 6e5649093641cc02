// The example gateway program as a developer runs it without a card: built
// against libsimcard alone, started with libsimcard-virtual.so preloaded and
// the card image, sandbox and trace named in the environment.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/tshark.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace {

namespace fs = std::filesystem;
using simcard::testing::file_text;
using simcard::testing::Process;
using simcard::testing::ProcessResult;
using simcard::testing::SimFrame;

constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";
const std::string kDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";

// Whether `lines` appear in `text` as whole lines, in this order, whatever
// the library printed between them.
::testing::AssertionResult in_order(const std::string &text,
                                    const std::vector<std::string> &lines) {
    size_t at = 0;
    for (const std::string &line : lines) {
        const size_t found = ("\n" + text).find("\n" + line + "\n", at);
        if (found == std::string::npos) {
            return ::testing::AssertionFailure() << "no line \"" << line << "\" (in order) in:\n"
                                                 << text;
        }
        at = found + line.size() + 1;
    }
    return ::testing::AssertionSuccess();
}

class Agent : public ::testing::Test {
protected:
    Agent() : image_(sandbox_.path("card.img")) {
        fs::copy_file(SIMCARD_SAMPLE_DIR "/card.img", image_);
    }

    // The preload and its variables; `extra` is applied last.
    std::vector<std::string> env(const std::vector<std::string> &extra = {}) const {
        const std::string config = SIMCARD_SAMPLE_DIR "/simcardconfig.xml";
        std::vector<std::string> e = {"LD_PRELOAD=" SIMCARD_PRELOAD,
                                      "SIMCARD_VIRTUAL_IMAGE=" + image_,
                                      "SIMCARD_VIRTUAL_CONFIG=" + config,
                                      "SIMCARD_VIRTUAL_SANDBOX",
                                      "SIMCARD_VIRTUAL_TRACE",
                                      "SIMCARD_VIRTUAL_PCAP"};
        e.insert(e.end(), extra.begin(), extra.end());
        return e;
    }

    ProcessResult agent(const std::string &requests, const std::vector<std::string> &extra = {}) {
        return simcard::testing::run({GATEWAY_AGENT}, env(extra), requests);
    }

    simcard::vcard::VirtualCard card() const {
        simcard::vcard::VirtualCard c;
        c.load_image_file(image_);
        return c;
    }

    // Files of the saved card whose text holds `text`.
    int files_holding(const std::string &text) const {
        const simcard::vcard::VirtualCard c = card();
        int n = 0;
        for (const auto *f : c.files()) {
            n += c.text(f->id).find(text) != std::string::npos;
        }
        return n;
    }

    simcard::vcard::ScopedSandbox sandbox_;
    std::string image_;
};

TEST_F(Agent, AnswersASessionAndTheNextProcessFindsItOnTheCard) {
    const std::string user = kDevices + "5.WANPPPConnection.1.Username";
    ProcessResult r =
        agent(std::string("get ") + kUrl + "\nset " + kUrl +
              " http://acs.example/ path\nadd-wan 5 ppp\nset " + user + " joe@isp\nsync\n");
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(
        in_order(r.out, {std::string(kUrl) + "=http://itms.example.net:9090/ACS",
                         std::string("set ") + kUrl, "added " + kDevices + "5.WANPPPConnection.1.",
                         "set " + user, "[sal] simcard_syncData2Sim: enter", "synced"}));
    EXPECT_NE(std::string::npos,
              r.err.find("libsimcard-virtual: card image " + fs::canonical(image_).string() +
                         ", sandbox " + image_ + ".d\n"));
    EXPECT_NE(std::string::npos, card().text(0x6F05).find("P00=\"http://acs.example/ path\""));
    EXPECT_EQ(3, files_holding("P00=\"5.PPP.1\""));  // the device's three files
    EXPECT_EQ(1, files_holding("\"joe@isp\""));
    EXPECT_NE(std::string::npos, file_text(image_ + ".d/logs/simcard_log").find("load succeed"));

    r = agent(std::string("get ") + kUrl + "\nget " + user + "\n");
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(
        in_order(r.out, {std::string(kUrl) + "=http://acs.example/ path", user + "=joe@isp"}));
}

TEST_F(Agent, FailedRequestsAreReportedAndSetTheExitStatus) {
    const std::string before = file_text(image_);
    const ProcessResult r =
        agent(std::string("get ") + kUrl + ".\nadd-wan 0 ppp\nfrobnicate\nget " + kUrl + "\n");
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos,
              r.err.find("gateway_agent: " + std::string(kUrl) + ".: no readable parameter\n"));
    EXPECT_NE(std::string::npos, r.err.find("gateway_agent: add-wan: needs a device number"));
    EXPECT_NE(std::string::npos, r.err.find("gateway_agent: frobnicate: unknown request\n"));
    EXPECT_TRUE(in_order(r.out, {std::string(kUrl) + "=http://itms.example.net:9090/ACS"}));
    EXPECT_EQ(before, file_text(image_));  // nothing changed the card
}

// The image follows the card command by command: a killed program leaves
// what it wrote to the card, and only that.
TEST_F(Agent, AKilledProgramLeavesTheCardAsItsLastCommandLeftIt) {
    const std::string pcap = sandbox_.path("card.pcap");
    Process p({GATEWAY_AGENT}, env({"SIMCARD_VIRTUAL_PCAP=" + pcap}));
    p.write(std::string("set ") + kUrl + " http://synced/\nsync\n");
    ASSERT_TRUE(p.read_until("\nsynced\n"));
    p.write(std::string("set ") + kUrl + " http://never-synced/\n");
    ASSERT_TRUE(p.read_until(std::string("\nset ") + kUrl + "\n"));
    p.kill(SIGKILL);
    EXPECT_EQ(-1, p.finish().status);
    EXPECT_NE(std::string::npos, card().text(0x6F05).find("P00=\"http://synced/\""));
    EXPECT_FALSE(fs::exists(image_ + ".new"));
    // Each frame is written whole (tshark refuses a file cut short in one).
    const std::vector<SimFrame> frames = simcard::testing::sim_frames(pcap);
    EXPECT_TRUE(std::any_of(frames.begin(), frames.end(), [](const SimFrame &f) {
        return f.ins == "0xd6" && f.data.find("http://synced/") != std::string::npos;
    }));
}

TEST_F(Agent, TheSandboxAndTheTraceGoWhereTheEnvironmentSays) {
    const std::string sandbox = sandbox_.path("root");
    const std::string trace = sandbox_.path("card.trace");
    ProcessResult r =
        agent(std::string("set ") + kUrl + " http://traced/\nsync\n",
              {"SIMCARD_VIRTUAL_SANDBOX=" + sandbox, "SIMCARD_VIRTUAL_TRACE=" + trace});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(fs::exists(sandbox + "/etc/simcardconfig.xml"));
    EXPECT_TRUE(fs::exists(sandbox + "/logs/simcard_log"));
    EXPECT_FALSE(fs::exists(image_ + ".d"));
    const std::string lines = file_text(trace);
    EXPECT_EQ(0u, lines.find("card: ONLINE -> 1\ncard: SELECT 7F80 -> 9F")) << lines;
    const size_t select = lines.find("card: SELECT 6F05 -> 9F");
    ASSERT_NE(std::string::npos, select) << lines;
    EXPECT_NE(std::string::npos, lines.find("card: UPDATE BINARY off=0 len=", select));

    r = agent(std::string("get ") + kUrl + "\n", {"SIMCARD_VIRTUAL_TRACE=-"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("card: READ BINARY off=0 len=200 -> 90 00\n"));
}

// Wireshark's own decoder reads the pcap of a session: one frame for each card
// command of the trace, stamped by the virtual clock, nothing malformed.
TEST_F(Agent, APcapOfTheSessionDecodesInTshark) {
    const std::string pcap = sandbox_.path("card.pcap");
    const std::string trace = sandbox_.path("card.trace");
    const ProcessResult r =
        agent(std::string("get ") + kUrl + "\nset " + kUrl + " http://pcap.example/\nsync\n",
              {"SIMCARD_VIRTUAL_PCAP=" + pcap, "SIMCARD_VIRTUAL_TRACE=" + trace});
    ASSERT_EQ(0, r.status) << r.err;
    const std::vector<SimFrame> frames = simcard::testing::sim_frames(pcap);
    ASSERT_FALSE(frames.empty());

    size_t commands = 0;  // the trace's lines but the ONLINE requests
    std::istringstream lines(file_text(trace));
    for (std::string line; std::getline(lines, line);) {
        commands += line.rfind("card: ONLINE", 0) != 0;
    }
    EXPECT_EQ(commands, frames.size());
    EXPECT_EQ("0xa4 0x7f80 0x9f16", frames[0].ins + " " + frames[0].file_id + " " + frames[0].sw);
    EXPECT_GT(frames.back().time, frames.front().time) << "the library's waits";
    EXPECT_LT(frames.back().time, 1000.0) << "the virtual clock, from 0";

    std::string updated;
    bool selected = false;
    bool read = false;
    for (const SimFrame &f : frames) {
        selected = selected || (f.ins == "0xa4" && f.file_id == "0x6f05" && f.sw == "0x9f0f");
        read = read || (f.ins == "0xb0" && f.sw == "0x9000" && !f.data.empty());
        if (f.ins == "0xd6" && f.sw == "0x9000") {
            updated += f.data;
        }
    }
    EXPECT_TRUE(selected);
    EXPECT_TRUE(read);
    EXPECT_NE(std::string::npos, updated.find("P00=\"http://pcap.example/\"")) << updated;
    EXPECT_EQ("", simcard::testing::tshark_errors(pcap));
    EXPECT_NE(std::string::npos, card().text(0x6F05).find("P00=\"http://pcap.example/\""));
}

// Without its card the program stops before the library touches anything;
// without the preload it runs on the system's own device and paths.
TEST_F(Agent, NoCardNoStart) {
    fs::path bad = sandbox_.path("bad.img");
    std::ofstream(bad) << "file 6F04 zero 1 00 <>\n";
    const struct {
        std::vector<std::string> env;
        std::string message;
    } cases[] = {
        {{"SIMCARD_VIRTUAL_IMAGE"},
         "libsimcard-virtual: SIMCARD_VIRTUAL_IMAGE names no card image\n"},
        {{"SIMCARD_VIRTUAL_IMAGE=" + sandbox_.path("none.img")}, "none.img: cannot open\n"},
        {{"SIMCARD_VIRTUAL_IMAGE=" + bad.string()}, "line 1"},
        {{"SIMCARD_VIRTUAL_CONFIG=" + sandbox_.path("none.xml")},
         "libsimcard-virtual: cannot read configuration document"},
        {{"SIMCARD_VIRTUAL_TRACE=" + sandbox_.path("no/such/dir/trace")},
         "libsimcard-virtual: cannot open trace file"},
        {{"SIMCARD_VIRTUAL_PCAP=" + sandbox_.path("no/such/dir/card.pcap")},
         "libsimcard-virtual: cannot create " + sandbox_.path("no/such/dir/card.pcap")},
    };
    const std::string before = file_text(image_);
    for (const auto &c : cases) {
        const ProcessResult r = agent(std::string("get ") + kUrl + "\n", c.env);
        EXPECT_EQ(1, r.status) << c.message;
        EXPECT_EQ("", r.out) << c.message;
        EXPECT_NE(std::string::npos, r.err.find(c.message)) << r.err;
    }
    EXPECT_EQ(before, file_text(image_));

    // A process that never calls the library never reads the variables.
    ProcessResult r =
        simcard::testing::run({GATEWAY_AGENT, "--help"}, env({"SIMCARD_VIRTUAL_IMAGE"}));
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, r.out.find("usage: gateway_agent\n"));

    r = simcard::testing::run({GATEWAY_AGENT}, {"LD_PRELOAD"}, std::string("get ") + kUrl + "\n");
    EXPECT_EQ(1, r.status);
    EXPECT_EQ("gateway_agent: the card did not start; see /logs/simcard_log\n", r.err);
}

}  // namespace
