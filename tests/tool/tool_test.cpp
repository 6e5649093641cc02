// simcardctl as a firmware engineer runs it: a process, a card image, a
// configuration document, standard output, standard error and an exit status.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "simcard.h"
#include "tests/support/process.h"
#include "tests/support/tshark.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using simcard::testing::file_text;

const std::string kIgd = "InternetGatewayDevice.";
const std::string kServer = kIgd + "ManagementServer.";
const std::string kUrl = kServer + "URL";
const std::string kUser = kServer + "Username";
const std::string kDevices = kIgd + "WANDevice.1.WANConnectionDevice.";
const std::string kTry = "Try 'simcardctl --help' for more information.\n";

using Result = simcard::testing::ProcessResult;

bool has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

// A child process that does `hold` and then waits to be killed; it has
// done it when the constructor returns.
class Helper {
public:
    template <typename F>
    explicit Helper(F hold) {
        int ready[2];
        if (pipe(ready) != 0) throw std::runtime_error("pipe");
        pid_ = fork();
        if (pid_ == 0) {
            hold();
            (void)!write(ready[1], "x", 1);
            pause();
            _exit(0);
        }
        close(ready[1]);
        char c;
        (void)!read(ready[0], &c, 1);
        close(ready[0]);
    }
    ~Helper() { stop(); }
    void stop() {
        if (pid_ <= 0) return;
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
};

class Tool : public ::testing::Test {
protected:
    Tool() {
        image_ = sandbox_.path("card.img");
        config_ = std::string(SIMCARD_SAMPLE_DIR) + "/simcardconfig.xml";
        fs::copy_file(std::string(SIMCARD_SAMPLE_DIR) + "/card.img", image_);
    }

    // Runs simcardctl on the copy of the sample image with the sample document.
    std::vector<std::string> with_card(const std::vector<std::string> &args) const {
        std::vector<std::string> argv = {SIMCARDCTL, "--virtual", image_, "--config", config_};
        argv.insert(argv.end(), args.begin(), args.end());
        return argv;
    }
    Result run(const std::vector<std::string> &args, const std::vector<std::string> &env = {}) {
        return exec(with_card(args), env);
    }

    // env: "NAME=value" entries added to the tool's environment.
    static Result exec(const std::vector<std::string> &argv,
                       const std::vector<std::string> &env = {}) {
        return simcard::testing::run(argv, env);
    }

    simcard::vcard::VirtualCard card_after() const {
        simcard::vcard::VirtualCard card;
        card.load_image_file(image_);
        return card;
    }

    void fresh_image() const {
        fs::copy_file(std::string(SIMCARD_SAMPLE_DIR) + "/card.img", image_,
                      fs::copy_options::overwrite_existing);
    }

    // The image with one file's line (or another whole line) replaced.
    void edit_image(const std::string &line_start, const std::string &line) {
        const std::string text = file_text(image_);
        std::ofstream(image_, std::ios::trunc)
            << std::regex_replace(text, std::regex("\n" + line_start + "[^\n]*"), "\n" + line);
    }

    simcard::vcard::ScopedSandbox sandbox_;
    std::string image_;
    std::string config_;
};

// ---- results are what happened ----------------------------------------------

TEST_F(Tool, GetPrintsValuesAndLeavesTheImageAlone) {
    const std::string before = file_text(image_);
    const Result r =
        run({"get", kIgd + "DeviceInfo.ProvisioningCode", kServer + "PeriodicInformEnable"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(kIgd + "DeviceInfo.ProvisioningCode = HGU_DEFAULT\n" + kServer +
                  "PeriodicInformEnable = true\n",
              r.out);
    EXPECT_EQ(before, file_text(image_));
    // The library's own messages stay on standard error.
    EXPECT_TRUE(has(r.err, "simcardctl: sandbox ")) << r.err;
    EXPECT_TRUE(has(r.err, "all update status")) << r.err;
}

// A set that no sync follows is written at the end of the line, and says so;
// the next invocation reads it.
TEST_F(Tool, ChangesAreSynchronisedByTheLineThatMadeThem) {
    Result r = run({"set", kUrl, "http://new.example/"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(kUrl + " := http://new.example/\n" +
                  "synchronised: 6F05 (automatically, at the end of the command line)\n",
              r.out);
    r = run({"get", kUrl});
    EXPECT_EQ(kUrl + " = http://new.example/\n", r.out);

    // A value may start with "-"; an explicit sync is reported as such.
    r = run({"set", kServer + "PeriodicInformInterval", "-5", "--", "sync"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(kServer + "PeriodicInformInterval := -5\nsynchronised: 6F05\n", r.out);
    EXPECT_TRUE(has(card_after().text(0x6F05), "P04=\"-5\""));

    r = run({"get", kUrl, "--", "sync"});
    EXPECT_TRUE(has(r.out, "synchronised: nothing to write\n")) << r.out;
}

TEST_F(Tool, AFailureAfterASyncKeepsWhatReachedTheCard) {
    const Result r = run({"set", kUrl, "http://x/", "--", "sync", "--", "get", kIgd + "Nope"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.out, "synchronised: 6F05\n"));
    EXPECT_TRUE(has(r.err, "cannot get InternetGatewayDevice.Nope: the document has no parameter"))
        << r.err;
    EXPECT_TRUE(has(r.err, "the card changed before the failure")) << r.err;
    EXPECT_TRUE(has(card_after().text(0x6F05), "P00=\"http://x/\""));
}

// ---- values are checked against the document ---------------------------------

TEST_F(Tool, ValuesTheRecordsCannotHoldNeverReachTheLibrary) {
    const std::string lan = kIgd + "LANDevice.1.LANEthernetInterfaceConfig.";
    const struct {
        std::string path;
        std::string value;
        std::string why;
    } cases[] = {
        {kUrl, std::string(300, 'x'), "has 300 characters; the record holds 128 (ml=\"128\")"},
        {kServer + "PeriodicInformEnable", "yes", "\"yes\" is not one of false, true"},
        {kUser, "a\"b", "it holds '\"'"},
        {kUser, "a>b", "it holds '>'"},
        {kUser, "FF", "\"FF\" means \"leave the record as it is\""},
        {kUser, "xP03x", "\"P03\", the name of another record"},
        {kIgd + "DeviceInfo.ProvisioningCode", "X", "it is not writable (rw=\"R\")"},
        {kDevices + "3.WANIPConnection.1.X_CT-COM_IPv6IPAddress", "2001:db8::1",
         "no conversion rule (simv2dbv)"},
        {kIgd + "DeviceInfo.Nope", "1", "the document has no parameter with this path"},
        {lan + "5.X_CT-COM_VLAN", "100", "the port number must be 0 to 4"},
        {lan + "1.X_CT-COM_VLAN", "10;20;30", "a third would be read as another port's"},
    };
    const std::string before = file_text(image_);
    for (const auto &c : cases) {
        const Result r = run({"set", c.path, c.value, "--", "sync"});
        EXPECT_EQ(1, r.status) << c.path;
        EXPECT_TRUE(has(r.err, "cannot set " + c.path)) << r.err;
        EXPECT_TRUE(has(r.err, c.why)) << r.err;
        EXPECT_TRUE(has(r.err, "(--force passes it on unchecked)")) << r.err;
        EXPECT_FALSE(has(r.out, "synchronised")) << r.out;
    }
    EXPECT_EQ(before, file_text(image_));

    // What the rules allow goes through: a list value in any case, a VLAN
    // list of one port, written straight to the card and read back.
    Result r = run({"set", kServer + "PeriodicInformEnable", "FALSE", "--", "set",
                    lan + "2.X_CT-COM_VLAN", "100;200"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(has(r.out, "X_CT-COM_VLAN := 100;200 (written to card file 6F90)\n")) << r.out;
    EXPECT_TRUE(has(card_after().text(0x6F05), "P03=\"0\""));
    EXPECT_TRUE(has(card_after().text(0x6F90), "P01=\"1/41;3/45;2/100;2/200\""))
        << card_after().text(0x6F90);
}

// Each value fits its record, together they overflow the card file.
TEST_F(Tool, RecordTextLongerThanItsCardFileIsRefused) {
    const std::string before = file_text(image_);
    const std::string longest(32, 'u');
    const Result r = run({"set", kUrl, std::string(128, 'h'), "--", "set", kUser, longest, "--",
                          "set", kServer + "Password", longest, "--", "sync"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "cannot set " + kServer + "Password")) << r.err;
    EXPECT_TRUE(has(r.err, "bytes of record text and holds 256: the card would keep a torn record"))
        << r.err;
    EXPECT_TRUE(
        has(r.err, "changes in memory that did not reach the card:\n  6F05 (ManagementServer)"))
        << r.err;
    EXPECT_EQ(before, file_text(image_));
}

// --force hands the value to the library; the card decides, and the tool
// reports the file the library left unwritten with the library's words. The
// card keeps the part it took: the next value for that file is refused until
// the file is reset.
TEST_F(Tool, ForcedValuesReachTheLibraryAndWhatItLeftIsNamed) {
    Result r = run({"--force", "set", kUrl, std::string(300, 'x'), "--", "sync"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "file 6F05 (ManagementServer) was not written to the card:")) << r.err;
    EXPECT_TRUE(has(r.err, "  [sal] simcard_syncData2Sim: file id 0x6f05 save to sim error"))
        << r.err;
    EXPECT_FALSE(has(r.out, "synchronised")) << r.out;
    EXPECT_EQ(std::string::npos, card_after().text(0x6F05).find('>')) << "a torn record";

    r = run({"set", kUser, "bob"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "the record text of card file 6F05 cannot be rewritten")) << r.err;
    r = run({"card", "reset", "6F05", "--", "set", kUser, "bob"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(has(card_after().text(0x6F05), "P01=\"bob\""));
}

// A record text the library cannot rewrite stops every synchronisation at
// its file; the check sees it first, and a forced line names every file left.
TEST_F(Tool, ATornRecordIsSeenBeforeASyncAndNamedAfterOne) {
    edit_image("file 6F05", "file 6F05 256 1 00 <P00=\"http://torn.exa");
    Result r = run({"set", kUser, "x"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "the record text of card file 6F05 cannot be rewritten")) << r.err;
    EXPECT_TRUE(has(r.err, "card repair 6F05 mends it")) << r.err;

    r = run({"--force", "set", kUser, "x", "--", "set",
             kIgd + "LANDevice.1.LANHostConfigManagement.MinAddress", "192.168.1.50", "--",
             "sync"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "the synchronisation failed (the library returned -1)")) << r.err;
    EXPECT_TRUE(has(r.err, "file 6F05 (ManagementServer) was not written to the card:\n")) << r.err;
    EXPECT_TRUE(has(r.err, "write param error")) << r.err;
    EXPECT_TRUE(has(r.err, "hint: its record text on the card may be torn")) << r.err;
    EXPECT_TRUE(has(r.err,
                    "file 6F06 (LANHostConfig) was not written to the card:\n"
                    "  the synchronisation stopped before it"))
        << r.err;
}

// ---- instances ----------------------------------------------------------------

// Commands separated by "--" share one library session, as a TR-069 agent's
// adds do: the device exists in memory until its connection is written.
TEST_F(Tool, AddingAndDeletingAWanConnectionChangesTheCard) {
    Result r = run({"add", kDevices, "5", "--", "add", kDevices + "5.WANIPConnection.", "1"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("added " + kDevices + "5.\nadded " + kDevices + "5.WANIPConnection.1.\n", r.out);
    auto holding = [&](const std::string &ref) {
        std::vector<uint16_t> ids;
        const auto card = card_after();
        for (const auto *f : card.files()) {
            if (has(card.text(f->id), "P00=\"" + ref + "\"")) ids.push_back(f->id);
        }
        return ids;
    };
    EXPECT_EQ(3u, holding("5.IP.1").size());  // the device's three files

    r = run({"del", kDevices + "5."});  // the number comes from the path
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("deleted " + kDevices + "5.\n", r.out);
    EXPECT_TRUE(holding("5.IP.1").empty());
}

TEST_F(Tool, AddAndDelReportWhatTheLibraryRefusedOrDidNotDo) {
    const std::string before = file_text(image_);
    const struct {
        std::vector<std::string> args;
        std::string why;
    } cases[] = {
        {{"del", kDevices + "7."}, "no instance " + kDevices + "7.: nothing in the model"},
        {{"add", kDevices, "2"},
         "the library refused to add instance 2 of " + kDevices +
             "\n  duplate add wan : " + kDevices + "2."},
        {{"add", kIgd + "LANDevice.1.Hosts.", "1"}, "the library added nothing for"},
    };
    for (const auto &c : cases) {
        const Result r = run(c.args);
        EXPECT_EQ(1, r.status) << c.args[1];
        EXPECT_TRUE(has(r.err, c.why)) << r.err;
        EXPECT_TRUE(r.out.empty()) << r.out;
    }
    EXPECT_EQ(before, file_text(image_));
}

// ---- start-up -----------------------------------------------------------------

TEST_F(Tool, AFailedStartUpShowsTheLibrarysLinesAndAHint) {
    Result r = exec({SIMCARDCTL, "--virtual", image_, "get", kUrl});  // no document yet
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "simcardctl: the library could not start\n")) << r.err;
    EXPECT_TRUE(has(r.err, "logs/simcard_log gained:\n  [loadSimcardConfigxml-")) << r.err;
    EXPECT_TRUE(has(r.err, "  [simcard_init-")) << r.err;
    EXPECT_TRUE(has(r.err, "hint: no configuration document at " + image_ +
                               ".d/etc/simcardconfig.xml: give one with --config FILE"))
        << r.err;

    // Quiet drops the library's lines, except in the explanation.
    edit_image("operator-directory", "operator-directory no");
    r = run({"--quiet", "get", kUrl});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "the library printed:\n")) << r.err;
    EXPECT_TRUE(has(r.err, "not CT sim card")) << r.err;
    EXPECT_TRUE(has(r.err, "hint: the card has no operator directory 7F80")) << r.err;
    r = run({"--quiet", "card", "ls"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "hint: the card has no operator directory 7F80")) << r.err;

    r = exec({SIMCARDCTL, "--virtual", sandbox_.path("none.img"), "get", kUrl});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "cannot read card image " + sandbox_.path("none.img"))) << r.err;
}

// ---- the command line ---------------------------------------------------------

TEST_F(Tool, TheCommandLineFollowsTheConventions) {
    Result r = exec({SIMCARDCTL, "--help"});
    EXPECT_EQ(0, r.status);
    EXPECT_EQ(0u, r.out.find("Usage: simcardctl [OPTION]..."));
    EXPECT_TRUE(r.err.empty());

    r = exec({SIMCARDCTL, "--version"});
    EXPECT_EQ(0, r.status);
    EXPECT_EQ(std::string("simcardctl ") + SIMCARD_VERSION_STRING + "\nlibsimcard " +
                  SIMCARD_VERSION_STRING + " (libsimcard.so." +
                  std::to_string(SIMCARD_VERSION_MAJOR) + ")\n",
              r.out);

    // "=" forms, short options, and options after the command's words.
    r = exec({SIMCARDCTL, "--virtual=" + image_, "-c", config_, "get", kUrl, "-q", "--json"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ("http://itms.example.net:9090/ACS", Json::parse(r.out)[kUrl]);
    EXPECT_TRUE(r.err.empty()) << r.err;

    const std::vector<std::vector<std::string>> wrong = {
        {"--frob", "sync"},
        {"get"},
        {"-x", "sync"},
        {"--trace=loud", "sync"},
        {"sync", "--"},
        {"get", "-v", "--json", kUrl},
        {"sync", "--hex"},
        {"add", kDevices + "4", "1"},
        {"del", kDevices + "x.", "0"},
        {"card", "cat", "7001"},
        {"card", "apdu", "A0A4"},
        {"card", "apdu", "A0A40000027F80", "--", "sync"},
        {"card", "repair"},
        {"card", "check", "6F05"},
        {"get", kUrl, "--", "card", "repair", "6F05"},
        {"--sandbox=x", "sync"},
        {"--virtual"},
    };
    for (const auto &args : wrong) {
        std::vector<std::string> argv = {SIMCARDCTL};
        argv.insert(argv.end(), args.begin(), args.end());
        r = exec(argv);
        EXPECT_EQ(2, r.status) << args[0];
        // One line and the pointer to --help.
        EXPECT_EQ(0u, r.err.find("simcardctl: ")) << r.err;
        EXPECT_EQ(r.err.find('\n') + 1, r.err.size() - kTry.size()) << r.err;
        EXPECT_TRUE(has(r.err, kTry)) << r.err;
        EXPECT_TRUE(r.out.empty());
    }
}

// ---- output for scripts ------------------------------------------------------

TEST_F(Tool, OutputForScripts) {
    Result r =
        run({"get", "-v", kIgd + "DeviceInfo.ProvisioningCode", kServer + "PeriodicInformEnable"});
    EXPECT_EQ("HGU_DEFAULT\ntrue\n", r.out);

    r = run({"get", "--json", kUrl, kServer + "Password"});  // write-only
    EXPECT_EQ(1, r.status);
    EXPECT_EQ(Json::parse(R"({")" + kUrl + R"(": "http://itms.example.net:9090/ACS", ")" + kServer +
                          R"(Password": null})"),
              Json::parse(r.out));
    EXPECT_TRUE(has(r.err, "cannot get " + kServer + "Password: it is not readable (rw=\"W\")"));

    r = run({"tree", "--json", "--", "card", "ls", "--json"});
    ASSERT_EQ(0, r.status) << r.err;
    std::istringstream docs(r.out);
    Json tree;
    Json files;
    docs >> tree >> files;
    EXPECT_EQ((Json{{"file", "6F04"},
                    {"name", "P00"},
                    {"rw", "R"},
                    {"path", kIgd + "DeviceInfo.ProvisioningCode"},
                    {"value", "HGU_DEFAULT"}}),
              tree[0]);
    EXPECT_EQ((Json{{"file", "6F04"}, {"size", 128}, {"updated", true}}), files[0]);
    EXPECT_EQ(nullptr, tree[9]["value"]) << tree[9];  // 6F05's write-only Password

    // Bytes from the card never reach the terminal raw.
    edit_image("file 6F04",
               "file 6F04 128 1 00 <P00=\"HGU\\x1B[2J\\xFF\\xC2\\x9B\\xC3\\xA9\\\\\" P01=\"V2.1\" "
               "P02=\"1\">");
    r = run({"get", "-v", kIgd + "DeviceInfo.ProvisioningCode", "--", "card", "cat", "6F04"});
    EXPECT_EQ(
        "HGU\\x1B[2J\\xFF\\xC2\\x9B\u00e9\\\\\n<P00=\"HGU\\x1B[2J\\xFF\\xC2\\x9B\u00e9\\\\\" "
        "P01=\"V2.1\" P02=\"1\">\n",
        r.out);
    r = run({"get", "--json", kIgd + "DeviceInfo.ProvisioningCode"});
    EXPECT_TRUE(has(r.out, R"("HGU\u001b[2J\\xFF)")) << r.out;  // JSON's escapes
    EXPECT_EQ("HGU\x1B[2J\\xFF\xC2\x9B\xC3\xA9\\",
              Json::parse(r.out)[kIgd + "DeviceInfo.ProvisioningCode"]);
}

// ---- card views ----------------------------------------------------------------

TEST_F(Tool, CardViewsForDebugging) {
    Result r = run({"card", "cat", "--hex", "6F04"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(
        0u, r.out.find(
                "0000  3C 50 30 30 3D 22 48 47  55 5F 44 45 46 41 55 4C  |<P00=\"HGU_DEFAUL|\n"
                "0010  54 22 20 50 30 31 3D 22  56 32 2E 31 22 20 50 30  |T\" P01=\"V2.1\" P0|\n"))
        << r.out;
    EXPECT_EQ(8, std::count(r.out.begin(), r.out.end(), '\n'));

    r = run({"--trace=hex", "card", "apdu", "A0A40000", "02", "7F80"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("status: 9F 16 (an answer waits: GET RESPONSE, A0 C0 00 00 with P3 = SW2)\n", r.out);
    EXPECT_TRUE(has(r.err,
                    "card: SELECT 7F80 -> 9F 16\ncard:   > A0 A4 00 00 02 7F 80\n"
                    "card:   < 9F 16\n"))
        << r.err;
    r = run({"card", "apdu", "A0B0000004"});  // no file selected
    EXPECT_EQ("response: 00 00 00 00\nstatus: 69 86\n", r.out);
}

TEST_F(Tool, TraceShowsEveryCardCommand) {
    const Result r = run({"--trace", "card", "cat", "6F04"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("<P00=\"HGU_DEFAULT\" P01=\"V2.1\" P02=\"1\">\n", r.out);
    EXPECT_TRUE(has(r.err, "card: ONLINE -> 1"));
    EXPECT_TRUE(has(r.err, "card: SELECT 7F80 -> 9F"));
    EXPECT_TRUE(has(r.err, "card: SELECT 6F04 -> 9F 0F"));
    EXPECT_TRUE(has(r.err, "card: READ BINARY off=0 len=128 -> 90 00"));
    EXPECT_FALSE(has(r.err, "card:   >"));
}

// Wireshark's own decoder reads the trace of a start-up and a sync: every
// card command with its file id and status word, nothing malformed.
TEST_F(Tool, APcapOfAStartUpAndASyncDecodesInTshark) {
    const std::string pcap = sandbox_.path("sync.pcap");
    const Result r = run({"--pcap=" + pcap, "set", kUrl, "http://pcap.example/", "--", "sync"});
    ASSERT_EQ(0, r.status) << r.err;
    const std::vector<simcard::testing::SimFrame> frames = simcard::testing::sim_frames(pcap);
    std::set<std::string> seen;
    std::string updated;
    for (const auto &f : frames) {
        EXPECT_LT(f.time, 1000.0) << "the virtual clock: " << f.ins;
        seen.insert(f.ins + " " + f.file_id + " " + f.sw);
        if (f.ins == "0xd6") updated += f.data;
    }
    EXPECT_TRUE(
        has(r.err, "simcardctl: " + std::to_string(frames.size()) + " card commands in " + pcap))
        << r.err;
    for (const char *exchange : {"0xa4 0x7f80 0x9f16", "0xa4 0x6f05 0x9f0f", "0xc0  0x9000",
                                 "0xb0  0x9000", "0xd6  0x9000", "0xe1  0x9f1b"}) {
        EXPECT_EQ(1u, seen.count(exchange)) << exchange;
    }
    EXPECT_TRUE(has(updated, "http://pcap.example/"));
    EXPECT_EQ("", simcard::testing::tshark_errors(pcap));
}

// ---- not beside a running program ------------------------------------------

TEST_F(Tool, ChangesAreRefusedWhileAnotherProcessHoldsTheDevice) {
    const std::string device = sandbox_.path("simcard");
    std::ofstream(device).put('\0');
    Helper agent([&] { open(device.c_str(), O_RDONLY); });
    const std::vector<std::string> env = {"SIMCARDCTL_TEST_DEVICE=" + device};
    const std::string before = file_text(image_);

    Result r = run({"set", kUrl, "http://x/", "--", "sync"}, env);
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, device + " is open in " + std::to_string(agent.pid()) + " (tool_test)"))
        << r.err;
    EXPECT_TRUE(has(r.err, "give --force")) << r.err;
    EXPECT_EQ(before, file_text(image_));

    r = run({"card", "repair", "6F05"}, env);
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "give --force")) << r.err;
    r = run({"get", kUrl, "--", "card", "check"}, env);  // looking is allowed
    EXPECT_EQ(0, r.status) << r.err;
    r = run({"--force", "set", kUrl, "http://x/"}, env);
    EXPECT_EQ(0, r.status) << r.err;

    agent.stop();
    r = run({"set", kUrl, "http://y/"}, env);
    EXPECT_EQ(0, r.status) << r.err;
}

// The other invocation holds the image's lock until this one says it waits;
// by then this one has printed no result.
TEST_F(Tool, InvocationsWaitForEachOther) {
    Helper other([&] { flock(open(image_.c_str(), O_RDONLY), LOCK_EX); });
    simcard::testing::Process tool(with_card({"get", kUrl}));
    ASSERT_TRUE(tool.read_err_until("simcardctl: waiting for another simcardctl"));
    EXPECT_TRUE(tool.so_far().out.empty()) << tool.so_far().out;
    other.stop();
    const Result r = tool.finish();
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(kUrl + " = http://itms.example.net:9090/ACS\n", r.out);
}

// ---- torn files ---------------------------------------------------------------

// A synchronisation that loses the card after its first chunk leaves 6F05
// torn. In the next process every synchronisation stops at it; card check
// names it, card repair keeps the records that survived and takes the others
// from the factory contents, and synchronisations go through again.
TEST_F(Tool, AFileTornByAPowerCutIsFoundMendedAndSynchronisedAgain) {
    Result r = run({"card", "check"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("checked 43 card files: all sound\n", r.out);

    // 204 bytes of record text: the cut falls in P05's value.
    const std::string url = "http://" + std::string(112, 'a') + ".example/";
    r = exec({TEAR_CARD, image_, image_ + ".d", "1", kUrl, url,
              kServer + "ConnectionRequestUsername", std::string(32, 'u')});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(has(r.out, "file id 0x6f05 save to sim error")) << r.out;
    EXPECT_EQ(200u, card_after().text(0x6F05).size()) << card_after().text(0x6F05);

    r = run({"--force", "set", kUser, "bob", "--", "sync"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err, "file id 0x6f05 P01 write param error")) << r.err;
    EXPECT_TRUE(has(r.err,
                    "hint: its record text on the card may be torn (card check); "
                    "card repair 6F05 mends it"))
        << r.err;

    r = run({"card", "check"});
    EXPECT_EQ(1, r.status);
    EXPECT_EQ(
        "6F05 (ManagementServer) is broken:\n"
        "  the value of P05 has no closing quote: the text ends after 200 bytes\n"
        "  no closing \">\": the text ends after 200 bytes\n"
        "  records missing: P06\n"
        "checked 43 card files: broken: 6F05\n",
        r.out);
    EXPECT_TRUE(has(r.err, "simcardctl: broken record text in 6F05 (card repair FILE... mends it)"))
        << r.err;
    r = run({"card", "check", "--json"});
    EXPECT_EQ(1, r.status);
    const Json report = Json::parse(r.out);
    EXPECT_EQ(false, report["sound"]);
    for (const Json &file : report["files"]) {
        EXPECT_EQ(file["file"] != "6F05", file["sound"]) << file;
    }

    r = run({"card", "repair", "6F05"});
    ASSERT_EQ(0, r.status) << r.err;
    const std::string mended = "<P00=\"" + url +
                               "\" P01=\"cpe\" P02=\"cpe123\" P03=\"1\" P04=\"43200\" "
                               "P05=FF P06=FF>";
    EXPECT_EQ("repaired 6F05 (ManagementServer): " + std::to_string(mended.size()) +
                  " bytes of record text written and read back\n"
                  "  P00  kept from the card\n"
                  "  P01  kept from the card\n"
                  "  P02  kept from the card\n"
                  "  P03  kept from the card\n"
                  "  P04  kept from the card\n"
                  "  P05  from the factory contents (cut short on the card)\n"
                  "  P06  from the factory contents (missing on the card)\n",
              r.out);
    const auto card = card_after();
    const std::vector<uint8_t> &bytes = card.file(0x6F05)->contents;
    EXPECT_EQ(mended + std::string(256 - mended.size(), '\0'),
              std::string(bytes.begin(), bytes.end()));

    r = run({"card", "check", "--", "set", kUser, "bob", "--", "sync"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("checked 43 card files: all sound\n" + kUser + " := bob\nsynchronised: 6F05\n",
              r.out);
    r = run({"get", kUrl, kUser});
    EXPECT_EQ(kUrl + " = " + url + "\n" + kUser + " = bob\n", r.out);
}

// card check reads the record text strictly, as the library writes it, and
// says where it breaks.
TEST_F(Tool, CheckSaysWhereARecordTextBreaks) {
    const struct {
        std::string text;
        std::string says;
    } cases[] = {
        {"P00=\"a\" P01=\"b\" P02=\"c\">", "no opening \"<\"\n  records missing: P00 P01 P02"},
        {"xx<P00=\"a\" P01=\"b\" P02=\"c\">", "2 bytes before the opening \"<\""},
        {"<P00=\"a\" P0", "record name cut short at byte 9: \"P0\""},
        {"<P00=\"a\" P01", "record P01 cut short after its name (byte 12)"},
        {"<P00=\"a\" P01:\"b\" P02=\"c\">", "record P01 has no \"=\" (byte 12)"},
        {"<P00=\"a\" P01=F", "record P01 cut short after \"=\" (byte 13)"},
        {"<P00=\"a\" P01=x P02=\"c\">", "record P01 has neither a quoted value nor FF (byte 13)"},
        {"<P00=\"a\" P01=\"b> P02=\"c\">",
         "the value of P01 has no closing quote before the \">\" (byte 15)"},
        {"<P00=\"a\",P01=\"b\" P02=\"c\">", "unexpected \",\" after record P00 (byte 8)"},
        {"<P00=\"a\" P01=\"b\" P00=\"c\" P02=FF>",
         "record P00 appears twice (again at byte 17): the library reads and rewrites the first "
         "only"},
        {"<P00=\"a\" P02=\"c\">", "records missing: P01"},
        {"<P00=\"a\" P01=\"b\" P02=\"c\"", "no closing \">\": the text ends after 24 bytes"},
        {"<P00=\"a\"\\x20", "the text ends after 9 bytes, where a record should start"},
        {"", "no record text; records missing: P00 P01 P02"},
    };
    for (const auto &c : cases) {
        edit_image("file 6F04", "file 6F04 128 1 00 " + c.text);
        const Result r = run({"card", "check"});
        EXPECT_EQ(1, r.status) << c.text;
        EXPECT_TRUE(has(r.out, "6F04 (DeviceInfo) is broken:\n  " + c.says + "\n")) << r.out;
    }
}

// What card repair takes from where, and when it refuses: then the card
// holds its former bytes again.
TEST_F(Tool, RepairKeepsWhatSurvivedAndRefusesWhatItCannotMend) {
    std::string unset_p03_to_p16;
    for (int n = 3; n <= 16; ++n)
        unset_p03_to_p16 += (n < 10 ? " P0" : " P1") + std::to_string(n % 10) + "=FF";
    const struct {
        std::vector<std::pair<std::string, std::string>> lines;
        int status;
        std::string says;
        std::string file;
        std::string text;  // after; empty: the image is as it was
    } cases[] = {
        {{}, 0, "6F05 (ManagementServer) is sound: nothing to repair\n", "6F05", ""},
        {{{"file 6F05", "file 6F05 256 1 00 <P00=\"http://a/\" P01=\"c"},
          {"factory 6F05", "factory 6F05 00 <P02=FF>"}},
         0,
         "  P00  kept from the card\n"
         "  P01  unset (FF): cut short on the card, and not in the factory contents\n"
         "  P02  from the factory contents (missing on the card)\n"
         "  P03  unset (FF): missing on the card, and not in the factory contents\n",
         "6F05",
         "<P00=\"http://a/\" P01=FF P02=FF P03=FF P04=FF P05=FF P06=FF>"},
        {{{"file 6F05", "file 6F05 256 1 00 <P00=\"http://a/\" P01"},
          {"factory 6F05", "factory 6F05 00 <P00=\"http://f/"}},
         1,
         "cannot repair 6F05 (ManagementServer): its factory contents are broken too (the "
         "value of P00 has no closing quote: the text ends after 15 bytes; no closing \">\": "
         "the text ends after 15 bytes): they cannot stand in for the records the card lost",
         "6F05",
         ""},
        {{{"file 6F05", "file 6F05 64 1 00 <P00=\"http://a/\" P01=\"c"},
          {"factory 6F05", "factory 6F05 00 <P01=\"" + std::string(50, 'y') + "\">"}},
         1,
         "cannot repair 6F05 (ManagementServer): the mended record text needs 109 bytes and the "
         "file holds 64",
         "6F05",
         ""},
        {{{"file 6F0C",
           "file 6F0C 512 0 00 <P00=\"4.IP.1\" P01=\"4\n"
           "factory 6F0C 00 <P01=\"47\" P02=\"1\">"}},
         0,
         "repaired 6F0C (instance file of Wanconnection, outside the tree): 129 bytes of record "
         "text written and read back\n"
         "  P00  kept from the card\n"
         "  P01  from the factory contents (cut short on the card)\n"
         "  P02  from the factory contents (missing on the card)\n"
         "  P03  unset (FF): missing on the card, and not in the factory contents\n",
         "6F0C",
         "<P00=\"4.IP.1\" P01=\"47\" P02=\"1\"" + unset_p03_to_p16 + ">"},
    };
    for (const auto &c : cases) {
        fresh_image();
        for (const auto &[start, line] : c.lines) edit_image(start, line);
        const std::string before = file_text(image_);
        const Result r = run({"card", "repair", c.file});
        EXPECT_EQ(c.status, r.status) << r.err;
        EXPECT_TRUE(has(c.status == 0 ? r.out : r.err, c.says)) << r.out << r.err;
        EXPECT_EQ(c.file == "6F0C",
                  has(r.out,
                      "  the card marks it updated now: start-up takes it into the model "
                      "when its index record names an instance\n"))
            << r.out;
        if (c.text.empty()) {
            EXPECT_EQ(before, file_text(image_)) << c.file;
            EXPECT_TRUE(c.status == 0 || has(r.err, "holds its former bytes again")) << r.err;
        } else {
            EXPECT_EQ(c.text,
                      card_after().text(static_cast<uint16_t>(std::stoi(c.file, nullptr, 16))));
            EXPECT_EQ(0, run({"card", "check"}).status) << c.file;
        }
    }
}

// A record name that no record text can hold (a document naming "P 3") would
// leave the mended text as broken as the card's: nothing is written.
TEST_F(Tool, RepairRefusesATextItsDocumentWouldBreakAgain) {
    config_ = sandbox_.path("simcardconfig.xml");
    std::ofstream(config_) << std::regex_replace(
        file_text(std::string(SIMCARD_SAMPLE_DIR) + "/simcardconfig.xml"),
        std::regex("<PeriodicInformEnable n=\"P03\""), "<PeriodicInformEnable n=\"P 3\"");
    edit_image("file 6F05", "file 6F05 256 1 00 <P00=\"http://a/\" P01=\"c");
    const std::string before = file_text(image_);
    const Result r = run({"card", "repair", "6F05"});
    EXPECT_EQ(1, r.status);
    EXPECT_TRUE(has(r.err,
                    "cannot repair 6F05 (ManagementServer): the mended text would be "
                    "broken too ("))
        << r.err;
    EXPECT_TRUE(has(r.err, "holds its former bytes again")) << r.err;
    EXPECT_EQ(before, file_text(image_));
}

// ---- the other commands ------------------------------------------------------

TEST_F(Tool, CardCommandsListAndResetFilesAndRestoreNamesWhatItReset) {
    Result r = run({"card", "ls"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_TRUE(has(r.out, "6F04    128  yes\n"));
    EXPECT_TRUE(has(r.out, "6F90"));
    EXPECT_FALSE(has(r.err, "select file error")) << "probes are quiet";

    r = run({"card", "reset", "6F05"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("reset to factory contents: 6F05\n", r.out);
    EXPECT_TRUE(has(card_after().text(0x6F05), "acs.example.net"));  // factory URL
    EXPECT_FALSE(card_after().file(0x6F05)->updated);

    r = run({"restore"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("restored to factory contents: 6F05 6F06\n", r.out);
    EXPECT_TRUE(has(card_after().text(0x6F06), "P01=\"192.168.1.2\""));
}

TEST_F(Tool, DumpTreeAndPathsShowTheModel) {
    Result r = run({"dump", "--", "tree", "--", "paths"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, r.out.find("<?xml"));
    EXPECT_TRUE(has(r.out, "<SimCardConfig"));
    EXPECT_TRUE(has(r.out, "6F04  P00   R    " + kIgd + "DeviceInfo.ProvisioningCode"));
    EXPECT_TRUE(has(r.out, "\n" + kUrl + "\n")) << "paths";
}

// The completion asks simcardctl itself for the paths of the card on the line.
TEST_F(Tool, BashCompletesCommandsOptionsFilesAndPaths) {
    run({"get", kUrl});  // the sandbox gets its document
    auto complete = [&](const std::vector<std::string> &words) {
        std::string line = std::string("source '") + SIMCARDCTL_COMPLETION + "'; COMP_WORDS=(";
        for (const auto &w : words) line += " '" + w + "'";
        line += "); COMP_CWORD=" + std::to_string(words.size() - 1) +
                "; _simcardctl 2>/dev/null; for w in \"${COMPREPLY[@]}\"; do echo \"$w\"; done";
        return exec({"/bin/bash", "-c", line}).out;
    };
    const std::string tool = SIMCARDCTL;
    EXPECT_EQ("card\n", complete({tool, "--virtual", image_, "ca"}));
    EXPECT_EQ("cat\ncheck\n", complete({tool, "card", "c"}));
    EXPECT_EQ("--version\n", complete({tool, "--vers"}));
    EXPECT_EQ(kServer + "\n", complete({tool, "--virtual", "=", image_, "get", kIgd + "Manag"}));
    EXPECT_EQ(kUrl + "\n" + kUser + "\n",
              complete({tool, "--virtual", image_, "sync", "--", "set", kServer + "U"}));
    EXPECT_EQ("", complete({tool, "--virtual", image_, "set", kUrl, "h"})) << "a value";
    EXPECT_TRUE(has(complete({tool, "--virtual", image_, "card", "cat", "6F0"}), "6F04\n6F05\n"));
    EXPECT_EQ("repair\nreset\n", complete({tool, "card", "re"}));
    EXPECT_TRUE(has(complete({tool, "--virtual", image_, "card", "repair", "6F0"}), "6F05\n"));
}

}  // namespace
