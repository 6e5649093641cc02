#include "bench/card_traffic.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "sal/lifecycle/state.h"
#include "sal/xml.h"
#include "simcard.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::bench {
namespace {

constexpr const char *kWanDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";
constexpr const char *kQos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";
constexpr const char *kMulticastVlan = "InternetGatewayDevice.X_CT-COM_IPTV.MulticastVlan";
constexpr const char *kLanVlan =
    "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.2.X_CT-COM_VLAN";

std::string sample(const char *name) { return std::string(SIMCARD_SAMPLE_DIR) + "/" + name; }

std::string wan(const std::string &tail) { return kWanDevices + tail; }
std::string qos(const std::string &tail) { return kQos + tail; }

void get(const std::string &path) { simcard_getParamValueByUri(path.c_str()); }
void add(const std::string &path, int instance) {
    simcard_addMulInstanceByUri(path.c_str(), instance);
}
void del(const std::string &path, int instance) {
    simcard_delMulInstanceByUri(path.c_str(), instance);
}

// A path that a set takes and a get answers from the tree: readable,
// writable, concrete, and not one of the VLAN binding values.
bool plain_path(IXML_Node *param) {
    const char *rw = sal::xml::attr_cstr(param, "rw");
    const auto uri = sal::xml::attr(param, "uri");
    return rw != nullptr && std::strchr(rw, 'R') != nullptr && std::strchr(rw, 'W') != nullptr &&
           uri && uri->rfind("InternetGatewayDevice.", 0) == 0 &&
           uri->find('%') == std::string_view::npos &&
           uri->find("X_CT-COM_VLAN") == std::string_view::npos &&
           uri->find("X_CT-COM_Mode") == std::string_view::npos;
}

// Loads the first `files` card files (document order) that have a plain
// path and sets one parameter of each to the value it holds: they are dirty.
void make_dirty(size_t files) {
    size_t done = 0;
    for (IXML_Node *file : sal::xml::child_elements(ct_simcfg_root)) {
        if (done == files) {
            return;
        }
        if (!sal::xml::attr_is(file, "a", "EF")) {
            continue;
        }
        for (IXML_Node *param : sal::xml::child_elements(file)) {
            if (plain_path(param)) {
                const std::string path(*sal::xml::attr(param, "uri"));
                const char *value = simcard_getParamValueByUri(path.c_str());
                simcard_setParamValueByUri(path.c_str(), value != nullptr ? value : "");
                ++done;
                break;
            }
        }
    }
    if (done != files) {
        throw std::runtime_error("the sample has too few files to make dirty");
    }
}

void sync() { simcard_syncData2Sim(); }

Scenario sync_of(size_t files) {
    return {"sync, " + std::to_string(files) + " dirty file" + (files > 1 ? "s" : ""), true,
            [files](vcard::VirtualCard &) { make_dirty(files); }, sync};
}

std::string describe_request(const vcard::TraceEntry &entry) {
    std::string text = vcard::describe(entry);
    text.erase(std::min(text.find(" -> "), text.size()));
    if (text.rfind("GET RESPONSE", 0) == 0) {
        text = "GET RESPONSE";
    }
    return text;
}

Run measure(const vcard::VirtualCard &card, const vcard::VirtualPlatform &platform) {
    Run run;
    for (const vcard::TraceEntry &entry : card.trace()) {
        run.requests.push_back(describe_request(entry));
        if (entry.request == vcard::Request::Online) {
            ++run.traffic.online;
        } else if (entry.request != vcard::Request::Invalid) {
            ++run.traffic.commands;
            run.traffic.bytes_to_card += entry.header.size() + entry.data.size();
            run.traffic.bytes_from_card += entry.response.size() + 2;
        }
    }
    run.traffic.pauses = platform.usleeps().size() + platform.sleeps().size();
    run.traffic.paused_usec = platform.slept_usec();
    return run;
}

// Standard output goes nowhere while it lives: the library's console lines
// are not what is measured.
class Quiet {
public:
    Quiet() {
        std::fflush(stdout);
        saved_ = ::dup(STDOUT_FILENO);
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, STDOUT_FILENO);
        ::close(null);
    }
    ~Quiet() {
        std::fflush(stdout);
        ::dup2(saved_, STDOUT_FILENO);
        ::close(saved_);
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;

private:
    int saved_;
};

// The library on a table, from its state at load, and back to both.
class Session {
public:
    Session(Install install, const simcard_platform *table) : install_(install) {
        lifecycle::reset_process_state();
        install_(table);
    }
    ~Session() {
        lifecycle::reset_process_state();
        install_(nullptr);
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

private:
    Install install_;
};

}  // namespace

std::vector<Scenario> traffic_scenarios() {
    std::vector<Scenario> rows = {
        {"start-up", false, {}, [] { simcard_init(); }},
        {"get, first of its file", true, {}, [] { get(kUrl); }},
        {"get, file loaded", true, [](vcard::VirtualCard &) { get(kUrl); },
         [] { get("InternetGatewayDevice.ManagementServer.Username"); }},
        {"set", true, {}, [] { simcard_setParamValueByUri(kUrl, "http://acs.example.net/ACS"); }},
    };
    for (size_t files : {1, 5, 20}) {
        rows.push_back(sync_of(files));
    }
    const std::vector<Scenario> more = {
        // The card refuses the commit once: the file stays dirty.
        {"sync, 1 dirty file after a failed commit", true,
         [](vcard::VirtualCard &card) {
             make_dirty(1);
             card.fail_status(vcard::ins::kUpdateBinary, 0x65, 0x81);
             sync();
         },
         sync},
        {"sync, a text longer than its file", true,
         [](vcard::VirtualCard &) {
             get(kMulticastVlan);
             simcard_setParamValueByUri(kMulticastVlan, std::string(60, '4').c_str());
         },
         sync},
        {"add WAN connection device", true, {}, [] { add(kWanDevices, 5); }},
        {"add WAN IP connection", true, [](vcard::VirtualCard &) { add(kWanDevices, 5); },
         [] { add(wan("5.WANIPConnection."), 1); }},
        {"add TR-069 WAN connection", true,
         [](vcard::VirtualCard &) {
             // Another process of the gateway leaves this marker.
             const std::filesystem::path marker = sys::resolve(SIMCARD_PATH_TR069_MARKER);
             std::filesystem::create_directories(marker.parent_path());
             std::ofstream touch(marker);
         },
         [] { add(wan("1.WANIPConnection."), 1); }},
        {"add port mapping", true, {}, [] { add(wan("3.WANIPConnection.1.PortMapping."), 2); }},
        {"add QoS app", true, {}, [] { add(qos("App."), 3); }},
        {"add QoS classification", true, {}, [] { add(qos("Classification."), 3); }},
        {"add QoS classification type", true, {}, [] { add(qos("Classification.2.type."), 3); }},
        {"add QoS priority queue", true, {}, [] { add(qos("PriorityQueue."), 4); }},
        {"add WLAN configuration",
         true,
         {},
         [] { add("InternetGatewayDevice.LANDevice.1.WLANConfiguration.", 2); }},
        {"delete WAN connection device", true, {}, [] { del(wan("2."), 2); }},
        {"delete WAN connection", true, {}, [] { del(wan("3.WANIPConnection.1."), 1); }},
        {"delete TR-069 WAN", true, {}, [] { del(wan("1."), 1); }},
        {"delete port mapping",
         true,
         {},
         [] { del(wan("2.WANPPPConnection.1.PortMapping.2."), 2); }},
        {"delete QoS app", true, {}, [] { del(qos("App.2."), 2); }},
        {"delete QoS classification and its types",
         true,
         {},
         [] { del(qos("Classification.2."), 2); }},
        {"delete WLAN configuration",
         true,
         {},
         [] { del("InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.", 1); }},
        {"local restore", true, {}, [] { simcard_local_restore(); }},
        {"VLAN get", true, {}, [] { get(kLanVlan); }},
        {"VLAN get after a local restore", true,
         [](vcard::VirtualCard &) {
             get(kLanVlan);
             simcard_local_restore();
         },
         [] { get(kLanVlan); }},
        {"VLAN set", true, {}, [] { simcard_setParamValueByUri(kLanVlan, "42"); }},
        {"first-online update", true, {}, [] { update6F07ForFirstOnline(); }},
    };
    rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

Run run_scenario(const Scenario &scenario, Install install, const Look &before) {
    const Quiet quiet;
    const vcard::ScopedSandbox sandbox;
    vcard::VirtualCard card;
    card.load_image_file(sample("card.img"));
    vcard::VirtualPlatform platform(card, sandbox.path());
    vcard::prepare_sandbox(sandbox.path(), sample("simcardconfig.xml"));
    const Session session(install, platform.table());
    if (scenario.started && simcard_init() != 0) {
        throw std::runtime_error("start-up failed");
    }
    if (scenario.prepare) {
        scenario.prepare(card);
    }
    if (before) {
        before(card);
    }
    card.clear_trace();
    platform.clear_sleeps();
    scenario.operation();
    return measure(card, platform);
}

bool print_traffic_table(FILE *out, Install install) {
    std::fprintf(out,
                 "| Operation (sample card) | Commands | Online queries | Bytes to card | "
                 "Bytes from card | Pauses | Paused |\n");
    std::fprintf(out, "|---|---:|---:|---:|---:|---:|---:|\n");
    for (const Scenario &scenario : traffic_scenarios()) {
        Run run;
        try {
            run = run_scenario(scenario, install);
        } catch (const std::exception &e) {
            std::fprintf(stderr, "%s: %s\n", scenario.name.c_str(), e.what());
            return false;
        }
        const Traffic &t = run.traffic;
        std::fprintf(out, "| %s | %zu | %zu | %zu | %zu | %zu | %.2f s |\n", scenario.name.c_str(),
                     t.commands, t.online, t.bytes_to_card, t.bytes_from_card, t.pauses,
                     static_cast<double>(t.paused_usec) / 1e6);
    }
    return true;
}

}  // namespace simcard::bench
