// A hostile card: every ioctl is answered by the fuzzer, within what a driver
// can return (status words, fewer bytes than due, garbage bytes, failed
// requests, any online value), or passed on to the sample card. Under it the
// gateway starts up, gets, sets, adds and deletes instances and synchronises.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support.h"
#include "simcard.h"

namespace {

using simcard::fuzz::Session;

// A command that hands over an answer without asking for a length (SELECT,
// the authentication challenge) gets at most this much: the room the
// interface promises for a select answer.
constexpr size_t kUnaskedAnswerMax = 128;

// How one request is answered. The honest card takes half of the choices, so
// that runs get deep before something goes wrong.
enum class Answer : uint8_t { kHonest, kFail, kStatus, kBytes, kForged };

struct Driver {
    FuzzedDataProvider &in;
    simcard::vcard::VirtualPlatform &platform;

    Answer next() {
        if (in.remaining_bytes() == 0) {
            return Answer::kHonest;
        }
        const auto choice = in.ConsumeIntegral<uint8_t>() % 8;
        return choice < 4 ? Answer::kHonest : static_cast<Answer>(choice - 3);
    }

    // Bytes into resp: at most P3 for a READ, at most the unasked room for a
    // WRITE that gives an answer buffer, none otherwise.
    void fill(unsigned long request, simio_request &req) {
        size_t room = 0;
        if (req.resp != nullptr) {
            room = request == SIMIO_IOCTL_READ ? req.header[4] : kUnaskedAnswerMax;
        }
        const std::vector<uint8_t> bytes =
            in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange<size_t>(0, room));
        std::copy(bytes.begin(), bytes.end(), req.resp);
    }

    int ioctl(int fd, unsigned long request, void *arg) {
        const Answer answer = next();
        if (answer == Answer::kFail) {
            errno = EIO;
            return -1;
        }
        if (request == SIMIO_IOCTL_ONLINE) {
            if (answer == Answer::kHonest) {
                return platform.ioctl(fd, request, arg);
            }
            *static_cast<int *>(arg) = in.ConsumeIntegral<int>();
            return 0;
        }
        auto &req = *static_cast<simio_request *>(arg);
        if (answer != Answer::kForged) {
            if (platform.ioctl(fd, request, arg) < 0) {
                return -1;
            }
            if (answer == Answer::kHonest) {
                return 0;
            }
        }
        if (answer != Answer::kBytes) {
            req.sw1 = in.ConsumeIntegral<uint8_t>();
            req.sw2 = in.ConsumeIntegral<uint8_t>();
        }
        if (answer != Answer::kStatus) {
            fill(request, req);
        }
        return 0;
    }
};

// The driver of the input under way; the table's ctx stays the platform's.
Driver *driver_in_use = nullptr;

int hostile_ioctl(void *, int fd, unsigned long request, void *arg) {
    return driver_in_use->ioctl(fd, request, arg);
}

const std::string kDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
const std::string kPpp2 = kDevices + "2.WANPPPConnection.1.";
const std::string kIp4 = kDevices + "4.WANIPConnection.1.";

const char *const kGets[] = {
    "InternetGatewayDevice.DeviceInfo.ProvisioningCode",
    "InternetGatewayDevice.ManagementServer.URL",
    "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable",
    "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.2.X_CT-COM_VLAN",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.X_CT-COM_Mode",
    "InternetGatewayDevice.X_CT-COM_UplinkQoS.App.1.AppName",
};

void session_of_a_gateway() {
    if (simcard_init() != 0 && simcard_init() != 0) {
        return;  // a second try, as a gateway's agent makes it
    }
    for (const char *path : kGets) {
        simcard_getParamValueByUri(path);
    }
    simcard_getParamValueByUri((kPpp2 + "Username").c_str());
    simcard_getParamValueByUri((kPpp2 + "X_CT-COM_LanInterface").c_str());
    simcard_setParamValueByUri("InternetGatewayDevice.ManagementServer.URL", "http://acs.test/");
    simcard_setParamValueByUri(
        "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.3.X_CT-COM_VLAN", "7;8");

    simcard_addMulInstanceByUri(kDevices.c_str(), 4);
    simcard_addMulInstanceByUri((kDevices + "4.WANIPConnection.").c_str(), 1);
    simcard_setParamValueByUri((kIp4 + "Name").c_str(), "4_INTERNET_R_VID_48");
    simcard_addMulInstanceByUri((kIp4 + "PortMapping.").c_str(), 1);
    simcard_addMulInstanceByUri("InternetGatewayDevice.X_CT-COM_UplinkQoS.App.", 3);
    simcard_delMulInstanceByUri((kPpp2 + "PortMapping.1.").c_str(), 1);
    simcard_delMulInstanceByUri((kDevices + "3.").c_str(), 1);
    simcard_syncData2Sim();
    update6F07ForFirstOnline();
    unsigned char status[27] = {};
    simcard_get_all_update_status(status);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(simcard::fuzz::bench().sample_card(), simcard::fuzz::bench().root());
    Driver driver{in, session.platform};
    driver_in_use = &driver;
    session.table.ioctl = hostile_ioctl;
    session.install();
    session_of_a_gateway();
    driver_in_use = nullptr;
    return 0;
}
