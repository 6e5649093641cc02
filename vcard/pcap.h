// Card exchanges as a pcap file that Wireshark and tshark read: each command
// is one GSMTAP frame of type SIM in a made-up Ethernet/IPv4/UDP packet to the
// GSMTAP port, its payload laid out as SIM tracers do (command header, command
// data, response data, SW1 SW2).
#ifndef SIMCARD_VCARD_PCAP_H
#define SIMCARD_VCARD_PCAP_H

#include <sys/time.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "vcard/virtual_card.h"

namespace simcard::vcard {

constexpr uint16_t kGsmtapPort = 4729;

// The GSMTAP payload of one exchange; empty for what is no card command (an
// ONLINE request, or a request the driver failed, which has no status word).
std::vector<uint8_t> gsmtap_sim_payload(const TraceEntry &entry);

// The whole link-layer frame (Ethernet, IPv4, UDP, GSMTAP header, payload).
std::vector<uint8_t> gsmtap_frame(const std::vector<uint8_t> &payload);

class PcapWriter {
public:
    // Creates (truncates) the file and writes the pcap header; throws
    // std::runtime_error naming the file when that fails.
    explicit PcapWriter(const std::string &path);
    ~PcapWriter();
    PcapWriter(const PcapWriter &) = delete;
    PcapWriter &operator=(const PcapWriter &) = delete;

    // Appends the exchange, flushed, so that a file cut short by a crash still
    // reads. Entries without a payload are left out. False after a write error.
    bool write(const TraceEntry &entry, const struct timeval &when);
    size_t frames() const { return frames_; }

private:
    FILE *file_;
    size_t frames_ = 0;
    bool ok_ = true;
};

}  // namespace simcard::vcard

#endif  // SIMCARD_VCARD_PCAP_H
