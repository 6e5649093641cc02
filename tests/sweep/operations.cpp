#include "tests/sweep/operations.h"

#include <cctype>
#include <cstring>
#include <stdexcept>

#include "sal/number.h"
#include "sal/xml.h"
#include "simcard.h"

namespace simcard::sweep {

const char *const kGetPath =
    "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANPPPConnection.1.Username";
const char *const kGetValue = "ad12345678@isp";
const char *const kDirtyUrl = "http://acs.sweep.test/";

namespace {

const std::string kDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
const std::string kQos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";
const std::string kPortMappings = kDevices + "2.WANPPPConnection.1.PortMapping.";
constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";
constexpr const char *kDhcp =
    "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable";

void require(bool ok, const std::string &step) {
    if (!ok) {
        throw std::runtime_error(step + " failed on a healthy card");
    }
}

int add(const std::string &path, int instance) {
    return simcard_addMulInstanceByUri(path.c_str(), instance);
}
int del(const std::string &path) { return simcard_delMulInstanceByUri(path.c_str(), 1); }
void set(const std::string &path, const std::string &value) {
    require(simcard_setParamValueByUri(path.c_str(), value.c_str()) == 0, "set " + path);
}

// Started, with 6F05 dirty.
void started(Bench &) {
    require(simcard_init() == 0, "start-up");
    set(kUrl, kDirtyUrl);
}

// Three dirty files; 6F05 and 6F08 take two chunks each.
void sync_setup(Bench &) {
    require(simcard_init() == 0, "start-up");
    require(simcard_getParamValueByUri(kGetPath) != nullptr, "get");  // every record of 6F08
    set(kUrl, "http://" + std::string(112, 'u') + ".example/");       // 128, its longest
    set(kGetPath, "subscriber-" + std::string(40, '7') + "@isp.example");
    set(kDhcp, "false");
}

Operation named(std::string name, Family family, std::function<void(Bench &)> setup,
                std::function<int()> run) {
    Operation op;
    op.name = std::move(name);
    op.family = family;
    op.setup = std::move(setup);
    op.run = std::move(run);
    return op;
}

IXML_Node *element_of(int file, const std::string &prefix) {
    for (IXML_Node *element : sal::xml::child_elements(ct_simcfg_root)) {
        const char *n = sal::xml::attr_cstr(element, "n");
        const auto uri = sal::xml::attr(element, "uri");
        if (n != nullptr && sal::to_int(n, 16) == file && uri &&
            uri->substr(0, prefix.size()) == prefix) {
            return element;
        }
    }
    return nullptr;
}

bool has_param_path(int file, const std::string &part) {
    IXML_Node *element = element_of(file, "");
    for (IXML_Node *param : sal::xml::child_elements(element)) {
        const auto uri = sal::xml::attr(param, "uri");
        if (uri && uri->find(part) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

std::string simv_of(int file, const char *tag) {
    for (IXML_Node *param : sal::xml::child_elements(element_of(file, ""))) {
        if (sal::xml::tag(param) == tag) {
            const char *simv = sal::xml::attr_cstr(param, "simv");
            return simv != nullptr ? simv : "(none)";
        }
    }
    return "(none)";
}

std::function<std::vector<Write>()> each(std::vector<uint16_t> files, std::string value) {
    return [files, value] {
        std::vector<Write> writes;
        for (uint16_t file : files) {
            writes.push_back({file, "P00", value});
        }
        return writes;
    };
}

Operation writing_nothing(std::string name, std::function<int()> run) {
    Operation op = named(std::move(name), Family::kWrites, started, std::move(run));
    op.writes = [] { return std::vector<Write>(); };
    return op;
}

Operation connection(std::string name, std::function<void(Bench &)> setup, int device,
                     std::vector<uint16_t> files) {
    const std::string ref = std::to_string(device) + ".IP.1";
    const std::string conn = std::to_string(device) + ".WANIPConnection.1.";
    Operation op = named(std::move(name), Family::kWrites, std::move(setup), [device] {
        return add(kDevices + std::to_string(device) + ".WANIPConnection.", 1);
    });
    op.writes = each(std::move(files), ref);
    op.write_failed = [ref](const Write &) { return "write simcard P00 to " + ref + " error"; };
    op.in_tree = [conn](const Write &w) { return has_param_path(w.file, conn); };
    return op;
}

Operation port_mapping(std::string name, std::function<void(Bench &)> setup, int instance,
                       uint16_t file) {
    Operation op = named(std::move(name), Family::kWrites, std::move(setup),
                         [instance] { return add(kPortMappings, instance); });
    op.writes = [file, instance] {
        return std::vector<Write>{{file, "P00", "2.PPP.1"},
                                  {file, "P01", std::to_string(instance)}};
    };
    op.write_failed = [](const Write &w) {
        return w.name == "P00" ? "write simcard P00  to empty error"
                               : "write simcard  P01 to empty error";
    };
    op.stops_at_failed_write = true;
    op.in_tree = [](const Write &w) {
        return simv_of(w.file, w.name == "P00" ? "WANIndex" : "PortIndex") == w.value;
    };
    return op;
}

Operation deletion(std::string name, std::string path, std::vector<uint16_t> files) {
    Operation op = named(std::move(name), Family::kWrites, started, [path] { return del(path); });
    op.writes = each(std::move(files), "");
    op.write_failed = [](const Write &) { return "write simcard P00 to empty error"; };
    op.in_tree = [path](const Write &w) { return element_of(w.file, path) == nullptr; };
    return op;
}

std::vector<Operation> make() {
    std::vector<Operation> ops;
    ops.push_back(named(
        "start-up", Family::kStartup, [](Bench &) {}, [] { return simcard_init(); }));
    ops.push_back(named("first get", Family::kGet, started, [] {
        const char *value = simcard_getParamValueByUri(kGetPath);
        return value == nullptr ? -1 : std::strcmp(value, kGetValue) == 0 ? 0 : -2;
    }));

    Operation sync =
        named("set and sync", Family::kWrites, sync_setup, [] { return simcard_syncData2Sim(); });
    sync.writes = sync_writes;
    sync.write_failed = [](const Write &w) {
        return format("[sal] simcard_syncData2Sim: file id 0x%04x %s write param error...value=%s",
                      w.file, w.name.c_str(), w.value.c_str());
    };
    sync.stops_at_failed_write = true;
    sync.reports_save = true;
    sync.rc = 0;
    sync.rc_stopped = -1;
    ops.push_back(sync);

    ops.push_back(writing_nothing("add WAN connection device", [] { return add(kDevices, 4); }));
    ops.push_back(connection("add connection",
                             [](Bench &b) {
                                 started(b);
                                 require(add(kDevices, 4) == 1, "add device");
                             },
                             4, {0x6F0A, 0x6F1A, 0x6F99}));
    ops.push_back(connection("add TR-069 WAN",
                             [](Bench &b) {
                                 started(b);
                                 require(del(kDevices + "1.") == 1, "delete the card's TR-069 WAN");
                                 b.place_marker();
                                 require(add(kDevices, 1) == 1, "add device");
                             },
                             1, {0x6F07, 0x6F17, 0x6F96}));
    ops.push_back(port_mapping("add port mapping in the demo file", started, 3, 0x6F64));
    ops.push_back(port_mapping(
        "add port mapping in a new file",
        [](Bench &b) {
            started(b);
            require(add(kPortMappings, 3) == 1, "add the first port mapping");
        },
        4, 0x6F68));
    ops.push_back(writing_nothing("add QoS app", [] { return add(kQos + "App.", 3); }));
    ops.push_back(
        writing_nothing("add QoS classification", [] { return add(kQos + "Classification.", 3); }));
    ops.push_back(writing_nothing("add QoS classification type",
                                  [] { return add(kQos + "Classification.2.type.", 3); }));
    ops.push_back(
        writing_nothing("add QoS priority queue", [] { return add(kQos + "PriorityQueue.", 4); }));
    ops.push_back(writing_nothing(
        "add WLAN", [] { return add("InternetGatewayDevice.LANDevice.1.WLANConfiguration.", 2); }));

    ops.push_back(deletion("delete WAN connection device", kDevices + "2.",
                           {0x6F08, 0x6F18, 0x6F65, 0x6F66, 0x6F97}));
    ops.push_back(deletion("delete connection", kDevices + "3.WANIPConnection.1.", {0x6F67}));
    ops.push_back(deletion("delete port mapping", kPortMappings + "1.", {0x6F65}));
    ops.push_back(deletion("delete QoS classification", kQos + "Classification.2.",
                           {0x6F41, 0x6F49, 0x6F4A}));
    ops.push_back(deletion("delete TR-069 WAN", kDevices + "1.", {0x6F07, 0x6F17, 0x6F96}));
    ops.push_back(named(
        "local restore", Family::kRestore, [](Bench &) {}, [] { return simcard_local_restore(); }));
    return ops;
}

}  // namespace

const std::vector<Operation> &operations() {
    static const std::vector<Operation> all = make();
    return all;
}

std::vector<std::string> operation_names(const std::function<bool(const Operation &)> &which) {
    std::vector<std::string> names;
    for (const Operation &op : operations()) {
        if (!which || which(op)) {
            names.push_back(op.name);
        }
    }
    return names;
}

std::string identifier(const std::string &name) {
    std::string id;
    for (char c : name) {
        id += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return id;
}

const Operation &operation(const std::string &name) {
    for (const Operation &op : operations()) {
        if (op.name == name) {
            return op;
        }
    }
    throw std::invalid_argument("no operation " + name);
}

}  // namespace simcard::sweep
