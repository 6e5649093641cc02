#include "vcard/pcap.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace simcard::vcard {
namespace {

constexpr uint32_t kPcapMagic = 0xA1B2C3D4;  // microsecond time stamps
constexpr uint32_t kLinkEthernet = 1;
constexpr uint32_t kSnapLength = 65535;
constexpr uint8_t kGsmtapVersion = 2;
constexpr uint8_t kGsmtapHeaderWords = 4;  // 16 bytes
constexpr uint8_t kGsmtapTypeSim = 4;
constexpr uint8_t kProtocolUdp = 17;
constexpr size_t kIpHeader = 20;
constexpr size_t kUdpHeader = 8;

void put16(std::vector<uint8_t> &out, uint16_t v) {
    out.push_back(static_cast<uint8_t>(v >> 8));
    out.push_back(static_cast<uint8_t>(v));
}

uint16_t ip_checksum(const uint8_t *header, size_t n) {
    uint32_t sum = 0;
    for (size_t i = 0; i + 1 < n; i += 2) {
        sum += static_cast<uint32_t>(header[i] << 8 | header[i + 1]);
    }
    while (sum >> 16) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<uint16_t>(~sum);
}

// The pcap file's own fields are in the writer's byte order, which the magic
// number tells the reader.
template <typename T>
bool put_native(FILE *f, T v) {
    return std::fwrite(&v, sizeof v, 1, f) == 1;
}

}  // namespace

std::vector<uint8_t> gsmtap_sim_payload(const TraceEntry &entry) {
    if (entry.failed || (entry.request != Request::Read && entry.request != Request::Write)) {
        return {};
    }
    std::vector<uint8_t> payload(entry.header.begin(), entry.header.end());
    payload.insert(payload.end(), entry.data.begin(), entry.data.end());
    payload.insert(payload.end(), entry.response.begin(), entry.response.end());
    payload.push_back(entry.sw1);
    payload.push_back(entry.sw2);
    return payload;
}

std::vector<uint8_t> gsmtap_frame(const std::vector<uint8_t> &payload) {
    const uint8_t gsmtap[16] = {kGsmtapVersion, kGsmtapHeaderWords, kGsmtapTypeSim};
    const size_t udp_length = kUdpHeader + sizeof gsmtap + payload.size();
    std::vector<uint8_t> frame(12, 0);  // destination and source MAC
    put16(frame, 0x0800);               // IPv4
    const size_t ip = frame.size();
    frame.insert(frame.end(), {0x45, 0x00});
    put16(frame, static_cast<uint16_t>(kIpHeader + udp_length));
    frame.insert(frame.end(), {0, 0, 0, 0, 64, kProtocolUdp, 0, 0});
    frame.insert(frame.end(), {127, 0, 0, 1, 127, 0, 0, 1});
    const uint16_t sum = ip_checksum(frame.data() + ip, kIpHeader);
    frame[ip + 10] = static_cast<uint8_t>(sum >> 8);
    frame[ip + 11] = static_cast<uint8_t>(sum);
    put16(frame, kGsmtapPort);
    put16(frame, kGsmtapPort);
    put16(frame, static_cast<uint16_t>(udp_length));
    put16(frame, 0);  // no UDP checksum
    frame.insert(frame.end(), std::begin(gsmtap), std::end(gsmtap));
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

PcapWriter::PcapWriter(const std::string &path) : file_(std::fopen(path.c_str(), "wb")) {
    if (file_ == nullptr) {
        throw std::runtime_error("cannot create " + path + ": " + std::strerror(errno));
    }
    const bool ok = put_native<uint32_t>(file_, kPcapMagic) && put_native<uint16_t>(file_, 2) &&
                    put_native<uint16_t>(file_, 4) && put_native<int32_t>(file_, 0) &&
                    put_native<uint32_t>(file_, 0) && put_native<uint32_t>(file_, kSnapLength) &&
                    put_native<uint32_t>(file_, kLinkEthernet) && std::fflush(file_) == 0;
    if (!ok) {
        std::fclose(file_);
        throw std::runtime_error("cannot write " + path);
    }
}

PcapWriter::~PcapWriter() { std::fclose(file_); }

bool PcapWriter::write(const TraceEntry &entry, const struct timeval &when) {
    const std::vector<uint8_t> payload = gsmtap_sim_payload(entry);
    if (payload.empty() || !ok_) {
        return ok_;
    }
    const std::vector<uint8_t> frame = gsmtap_frame(payload);
    const auto length = static_cast<uint32_t>(frame.size());
    ok_ = put_native<uint32_t>(file_, static_cast<uint32_t>(when.tv_sec)) &&
          put_native<uint32_t>(file_, static_cast<uint32_t>(when.tv_usec)) &&
          put_native<uint32_t>(file_, length) && put_native<uint32_t>(file_, length) &&
          std::fwrite(frame.data(), 1, frame.size(), file_) == frame.size() &&
          std::fflush(file_) == 0;
    if (ok_) {
        ++frames_;
    }
    return ok_;
}

}  // namespace simcard::vcard
