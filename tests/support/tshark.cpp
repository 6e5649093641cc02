#include "tests/support/tshark.h"

#include <cctype>
#include <sstream>
#include <stdexcept>

#include "tests/support/process.h"

namespace simcard::testing {
namespace {

// tshark's standard output; it is looked for on PATH.
std::string tshark(const std::string &pcap, const std::vector<std::string> &args) {
    std::vector<std::string> argv = {"/bin/sh", "-c", "exec tshark \"$@\"", "tshark", "-r", pcap};
    argv.insert(argv.end(), args.begin(), args.end());
    const ProcessResult r = run(argv);
    if (r.status != 0) {
        throw std::runtime_error("tshark -r " + pcap + ": " + r.err);
    }
    return r.out;
}

std::string bytes_of_hex(const std::string &hex) {
    std::string bytes;
    std::string pair;
    for (const char c : hex) {
        if (std::isxdigit(static_cast<unsigned char>(c)) == 0) {
            continue;  // a separator
        }
        pair += c;
        if (pair.size() == 2) {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}

}  // namespace

std::vector<SimFrame> sim_frames(const std::string &pcap) {
    const std::string out =
        tshark(pcap, {"-T", "fields", "-E", "separator=/t", "-E", "occurrence=f", "-e",
                      "frame.time_epoch", "-e", "gsm_sim.apdu.ins", "-e", "gsm_sim.file_id", "-e",
                      "gsm_sim.apdu.sw", "-e", "gsm_sim.apdu.data"});
    std::vector<SimFrame> frames;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> f;
        std::istringstream parts(line);
        for (std::string p; std::getline(parts, p, '\t');) {
            f.push_back(p);
        }
        f.resize(5);
        frames.push_back({std::stod(f[0]), f[1], f[2], f[3], bytes_of_hex(f[4])});
    }
    return frames;
}

std::string tshark_errors(const std::string &pcap) {
    return tshark(pcap, {"-Y", "_ws.malformed || _ws.expert.severity >= error"});
}

}  // namespace simcard::testing
