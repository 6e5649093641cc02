#include "bench/generated.h"

#include <cstdio>

namespace simcard::bench {
namespace {

constexpr int kFileSize = 512;
constexpr int kVlanFile = 0x6F90;

// Ids a file element can have, less the demo files of multi-instance objects
// (start-up would make templates of them) and the VLAN binding file.
std::vector<int> file_ids() {
    const std::vector<int> reserved = {0x6F07, 0x6F17, 0x6F2B, 0x6F38, 0x6F40, 0x6F48,
                                       0x6F54, 0x6F5C, 0x6F63, 0x6F64, 0x6F96, kVlanFile};
    std::vector<int> ids;
    for (int id = 0x6F04; id <= 0x6FDA && static_cast<int>(ids.size()) < kFiles; ++id) {
        bool skip = false;
        for (int r : reserved) skip = skip || r == id;
        if (!skip) ids.push_back(id);
    }
    return ids;
}

std::string hex(int id) {
    char text[8];
    std::snprintf(text, sizeof text, "%04X", id);
    return text;
}

std::string record_name(int j) {
    char text[8];
    std::snprintf(text, sizeof text, "P%02d", j);
    return text;
}

std::string path_of(int file, int param) {
    return "InternetGatewayDevice.Bench.File." + std::to_string(file + 1) + ".Param" +
           std::to_string(param);
}

}  // namespace

Generated generate(vcard::VirtualCard &card) {
    Generated out;
    std::string &doc = out.document;
    doc = "<?xml version=\"1.0\"?>\n<SimCardConfig>\n";
    const std::vector<int> ids = file_ids();
    for (int f = 0; f < kFiles; ++f) {
        std::string record = "<";
        doc += "<File" + std::to_string(f) + " n=\"" + hex(ids[f]) + "\" a=\"EF\" ml=\"" +
               std::to_string(kFileSize) + "\" wf=\"0\">\n";
        for (int j = 0; j < kParamsPerFile; ++j) {
            const std::string path = path_of(f, j);
            out.paths.push_back(path);
            std::string rule;
            std::string value;
            switch (j % 5) {
                case 0:
                    rule = " simv2dbv=\"0=false;1=true\"";
                    value = "1";
                    break;
                case 1:
                    value = "x";
                    break;  // no rule: the value stays empty
                default:
                    rule = " simv2dbv=\"\"";
                    value = "v" + std::to_string(f) + "_" + std::to_string(j);
            }
            doc += "  <Param" + std::to_string(j) + " n=\"" + record_name(j) +
                   "\" a=\"PARAM\" ml=\"16\" rw=\"RW\" uri=\"" + path + "\"" + rule + "/>\n";
            record += (j > 0 ? " " : "") + record_name(j) + "=\"" + value + "\"";
        }
        doc += "</File" + std::to_string(f) + ">\n";
        record += ">";
        card.add_file(static_cast<uint16_t>(ids[f]), kFileSize, record, {}, true);
    }
    doc += "<VlanBind n=\"6F90\" a=\"EF\" ml=\"160\" wf=\"0\">\n";
    for (int j = 0; j < 4; ++j) {
        doc += "  <V" + std::to_string(j) + " n=\"" + record_name(j) +
               "\" a=\"PARAM\" ml=\"64\" rw=\"RW\" uri=\"*DEL*\"/>\n";
    }
    doc += "</VlanBind>\n</SimCardConfig>\n";
    card.add_file(kVlanFile, 160, R"(<P00="1" P01="1/41;2/41" P02="1" P03="1/41">)", {}, true);
    return out;
}

}  // namespace simcard::bench
