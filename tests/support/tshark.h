// Card exchanges in a pcap file as Wireshark's own decoder reads them.
#ifndef SIMCARD_TESTS_SUPPORT_TSHARK_H
#define SIMCARD_TESTS_SUPPORT_TSHARK_H

#include <string>
#include <vector>

namespace simcard::testing {

// One GSMTAP (SIM) frame as tshark decodes it; fields the frame lacks are
// empty.
struct SimFrame {
    double time = 0;      // seconds since the epoch
    std::string ins;      // "0xa4"
    std::string file_id;  // "0x6f05" for a SELECT
    std::string sw;       // "0x9000"
    std::string data;     // the command's or the response's data, as bytes
};

// Every frame of the file, in order; throws std::runtime_error when tshark
// cannot read it.
std::vector<SimFrame> sim_frames(const std::string &pcap);

// tshark's summary lines of the frames it finds malformed or in error; empty
// when none.
std::string tshark_errors(const std::string &pcap);

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_SUPPORT_TSHARK_H
