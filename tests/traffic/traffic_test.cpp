// Every row of the card-traffic table sends exactly the card commands that
// its operation requires, no more: the expected requests are built here from
// the card layer's rules (selection kept in the session, a record file read
// once into the session, commits of the session text in 200-byte chunks with
// a 10 ms pause after each) applied to what the card and the tree hold.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "bench/card_traffic.h"
#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard::testing {
namespace {

namespace xml = sal::xml;

constexpr size_t kChunk = 200;
constexpr uint64_t kPauseUsec = 10000;
constexpr const char *kWanDevices = "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
constexpr const char *kQos = "InternetGatewayDevice.X_CT-COM_UplinkQoS.";

std::string hex4(unsigned id) {
    char text[8];
    std::snprintf(text, sizeof text, "%04X", id);
    return text;
}

// The record text with one entry set, as the record writer rewrites it:
// the entry's value replaced (also an unset "FF" one) or a new entry
// appended, and the text cut after its closing ">".
std::string with_entry(const std::string &text, const std::string &name, const std::string &value) {
    const std::string entry = name + "=\"" + value + "\"";
    if (text.empty()) {
        return "<" + entry + ">";
    }
    const size_t open = text.find('<');
    const size_t at = text.find(name);
    std::string result;
    if (at == std::string::npos) {
        result = text.substr(open, text.find('>') - open) + " " + entry + ">";
    } else if (text.compare(at + 4, 2, "FF") == 0) {
        result = text.substr(open, at - open) + entry + text.substr(at + 6);
    } else {
        result = text.substr(open, at - open) + entry + text.substr(text.find('"', at + 5) + 1);
    }
    return result.substr(0, result.find('>') + 1);
}

// The requests the card layer makes, modelled from its rules: the session's
// selected file and text, and the card's file contents as they change.
class Expected {
public:
    explicit Expected(const vcard::VirtualCard &card)
        : file_(sim_session.file_id),
          card_file_(sim_session.file_id),
          loaded_(sim_session.loaded != 0) {
        for (const vcard::ElementaryFile *ef : card.files()) {
            contents_[ef->id] = std::string(ef->contents.begin(), ef->contents.end());
        }
    }

    void request(const std::string &line) { lines_.push_back(line); }
    void online() { request("ONLINE"); }

    // SELECT and its GET RESPONSE unless the file is the session's; a new
    // file drops the session's text.
    void select(uint16_t id) {
        if (id == file_) {
            return;
        }
        request("SELECT " + hex4(id));
        request("GET RESPONSE");
        file_ = card_file_ = id;
        loaded_ = false;
    }

    // A whole card file read into a caller's buffer of `length` bytes.
    void read_file(uint16_t id, size_t length) {
        select(id);
        chunks("READ BINARY", std::min(length, size(id)));
    }

    // One record read: the file comes into the session once.
    void read_record(uint16_t id) {
        online();
        select(id);
        load(id);
    }

    // One record rewritten in the session ("FF" leaves everything as it is).
    void write_record(uint16_t id, const std::string &name, const std::string &value) {
        online();
        if (value == "FF") {
            return;
        }
        select(id);
        load(id);
        text_ = with_entry(text_, name, value);
    }

    // What the session holds when the operation starts, where earlier steps
    // of the row leave it as the layer's rules do.
    void start_with(uint16_t file, bool loaded) {
        file_ = file;
        loaded_ = loaded;
    }

    // The session's text committed to the file the card has selected; the
    // session forgets which file that is. The card refuses a chunk past the
    // end of its file, and a failed commit drops the session's text.
    void save() {
        file_ = 0;
        std::string &contents = contents_[card_file_];
        for (size_t offset = 0; offset < text_.size(); offset += kChunk) {
            const size_t n = std::min(kChunk, text_.size() - offset);
            request("UPDATE BINARY off=" + std::to_string(offset) + " len=" + std::to_string(n));
            if (offset + n > contents.size()) {
                loaded_ = false;
                return;
            }
            contents.replace(offset, n, text_, offset, n);
            ++chunks_;
        }
    }

    // A record written and committed, as the instance handlers do.
    void write_and_save(uint16_t id, const std::string &name, const std::string &value) {
        write_record(id, name, value);
        save();
    }

    // The value of a record as the card holds it ("FF" when unset).
    std::string value(uint16_t id, const std::string &name) const {
        const std::string text = text_of(id);
        const size_t at = text.find(name + "=");
        if (at == std::string::npos || text[at + 4] != '"') {
            return "FF";
        }
        return text.substr(at + 5, text.find('"', at + 5) - at - 5);
    }

    const std::vector<std::string> &lines() const { return lines_; }
    size_t chunk_count() const { return chunks_; }

private:
    size_t size(uint16_t id) const { return contents_.at(id).size(); }
    std::string text_of(uint16_t id) const { return contents_.at(id).c_str(); }
    void load(uint16_t id) {
        if (!loaded_) {
            chunks("READ BINARY", size(id));
            text_ = text_of(id);
            loaded_ = true;
        }
    }
    void chunks(const char *command, size_t length) {
        for (size_t offset = 0; offset < length; offset += kChunk) {
            request(std::string(command) + " off=" + std::to_string(offset) +
                    " len=" + std::to_string(std::min(kChunk, length - offset)));
            ++chunks_;  // each followed by its pause
        }
    }

    uint16_t file_;       // the session's current file (0 after a commit)
    uint16_t card_file_;  // the file the card has selected
    bool loaded_;
    std::string text_;
    std::map<uint16_t, std::string> contents_;
    std::vector<std::string> lines_;
    size_t chunks_ = 0;
};

uint16_t id_of(IXML_Node *file) {
    return static_cast<uint16_t>(std::strtol(xml::attr_cstr(file, "n"), nullptr, 16));
}

// Start-up: device, directory, authentication, the index records of the
// three WAN demo files, the update status, then record P00 of every instance
// file whose update bit is set, and the index records of those that hold an
// instance (the classification types also read P00 of every type file
// before them).
void expect_start_up(Expected &e, const vcard::VirtualCard &card) {
    e.online();
    e.request("SELECT 7F80");
    e.request("AUTH CHALLENGE");
    e.request("GET RESPONSE");
    e.request("AUTH ANSWER");
    for (uint16_t demo : {0x6F07, 0x6F17, 0x6F96}) {
        e.read_record(demo);
    }
    e.online();
    e.request("UPDATE STATUS");
    e.request("GET RESPONSE");
    struct Group {
        uint16_t demo;
        uint16_t last;
        int index_records;  // as the document's "index" lists them
    };
    // Table order; 6F2B has no template to clone and is passed over.
    const Group groups[] = {{0x6F07, 0x6F16, 1}, {0x6F17, 0x6F26, 1}, {0x6F38, 0x6F3F, 1},
                            {0x6F40, 0x6F47, 1}, {0x6F48, 0x6F53, 1}, {0x6F54, 0x6F5B, 1},
                            {0x6F5C, 0x6F61, 1}, {0x6F64, 0x6F77, 2}, {0x6F96, 0x6FA5, 1}};
    for (const Group &g : groups) {
        for (unsigned f = g.demo + 1u; f <= g.last; ++f) {
            const auto id = static_cast<uint16_t>(f);
            const vcard::ElementaryFile *ef = card.file(id);
            if (ef == nullptr || !ef->updated) {
                continue;
            }
            e.read_record(id);
            const std::string p00 = e.value(id, "P00");
            if (p00.empty() || p00.rfind("FF", 0) == 0) {
                continue;
            }
            for (int i = 0; i < g.index_records; ++i) {
                e.read_record(id);
            }
            if (g.demo == 0x6F48) {
                for (unsigned before = 0x6F48; before < f; ++before) {
                    e.read_record(static_cast<uint16_t>(before));
                }
            }
        }
    }
}

// Synchronisation: every dirty file in document order, every parameter with
// a concrete path under "InternetGatewayDevice." and a card value written
// into the session, then the commit.
void expect_sync(Expected &e) {
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        if (!xml::attr_is(file, "wf", "2")) {
            continue;
        }
        for (IXML_Node *param : xml::child_elements(file)) {
            const auto uri = xml::attr(param, "uri");
            const char *simv = xml::attr_cstr(param, "simv");
            if (!uri || uri->rfind("InternetGatewayDevice.", 0) != 0 ||
                uri->find("%d") != std::string_view::npos ||
                uri->find("%s") != std::string_view::npos || simv == nullptr) {
                continue;
            }
            e.write_record(id_of(file), xml::attr_cstr(param, "n"), simv);
        }
        e.save();
    }
}

// Deletion: every instance file element at or under the path has its P00
// emptied and committed, in document order.
void expect_delete(Expected &e, const std::string &path) {
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        const auto uri = xml::attr(file, "uri");
        if (xml::is_file_element(file) && xml::attr_is(file, "t", "dynamic") && uri &&
            !uri->empty() && uri->rfind(path, 0) == 0) {
            e.write_and_save(id_of(file), "P00", "");
        }
    }
}

// Local restore: one factory reset of the files marked "rf", one bit each
// counted from 6F02, as many bitmap bytes as the highest bit needs.
void expect_restore(Expected &e) {
    std::vector<uint8_t> bitmap(32, 0);
    size_t used = 1;
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        if (xml::attr_is(file, "rf", "1")) {
            const int bit = id_of(file) - 0x6F02;
            bitmap[static_cast<size_t>(bit / 8)] |= static_cast<uint8_t>(0x80 >> (bit % 8));
            used = std::max(used, static_cast<size_t>(bit / 8 + 1));
        }
    }
    std::string line = "FACTORY RESET";
    for (size_t i = 0; i < used; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof byte, " %02X", bitmap[i]);
        line += byte;
    }
    e.request(line);
}

// The new connection's WAN reference in P00 of each of the device's three
// files, in document order.
void expect_connection(Expected &e, const std::string &device, const std::string &reference) {
    for (IXML_Node *file : xml::child_elements(ct_simcfg_root)) {
        const std::string tag(xml::tag(file));
        if (xml::attr_is(file, "uri", device) &&
            (tag == "Wanconnection" || tag == "WAN_IPV4" || tag == "WAN_IPV6")) {
            e.write_and_save(id_of(file), "P00", reference);
        }
    }
}

using Expectation = std::function<void(Expected &, const vcard::VirtualCard &)>;

void nothing(Expected &, const vcard::VirtualCard &) {}

// The expectation of every row, by its name in the table.
const std::map<std::string, Expectation> &expectations() {
    static const std::map<std::string, Expectation> table = {
        {"start-up", expect_start_up},
        // The file's size as the document gives it ("ml" 256).
        {"get, first of its file", [](Expected &e, auto &) { e.read_file(0x6F05, 256); }},
        {"get, file loaded", nothing},
        {"set", nothing},
        {"sync, 1 dirty file", [](Expected &e, auto &) { expect_sync(e); }},
        {"sync, 5 dirty files", [](Expected &e, auto &) { expect_sync(e); }},
        {"sync, 20 dirty files", [](Expected &e, auto &) { expect_sync(e); }},
        // The failed commit left no file selected and no text in the session.
        {"sync, 1 dirty file after a failed commit",
         [](Expected &e, auto &) {
             e.start_with(0, false);
             expect_sync(e);
         }},
        // Written as it is; the card refuses what runs past the file's end.
        {"sync, a text longer than its file", [](Expected &e, auto &) { expect_sync(e); }},
        {"add WAN connection device", nothing},
        {"add WAN IP connection",
         [](Expected &e, auto &) {
             expect_connection(e, kWanDevices + std::string("5."), "5.IP.1");
         }},
        {"add TR-069 WAN connection",
         [](Expected &e, auto &) {
             for (uint16_t demo : {0x6F07, 0x6F17, 0x6F96}) e.write_and_save(demo, "P00", "1.IP.1");
         }},
        // The demo file takes the first port mapping: its WAN reference, then
        // its number, each committed.
        {"add port mapping",
         [](Expected &e, auto &) {
             e.write_and_save(0x6F64, "P00", "3.IP.1");
             e.write_and_save(0x6F64, "P01", "2");
         }},
        {"add QoS app", nothing},
        {"add QoS classification", nothing},
        {"add QoS classification type", nothing},
        {"add QoS priority queue", nothing},
        {"add WLAN configuration", nothing},
        {"delete WAN connection device",
         [](Expected &e, auto &) { expect_delete(e, kWanDevices + std::string("2.")); }},
        {"delete WAN connection",
         [](Expected &e, auto &) {
             expect_delete(e, kWanDevices + std::string("3.WANIPConnection.1."));
         }},
        {"delete TR-069 WAN",
         [](Expected &e, auto &) { expect_delete(e, kWanDevices + std::string("1.")); }},
        {"delete port mapping",
         [](Expected &e, auto &) {
             expect_delete(e, kWanDevices + std::string("2.WANPPPConnection.1.PortMapping.2."));
         }},
        {"delete QoS app",
         [](Expected &e, auto &) { expect_delete(e, kQos + std::string("App.2.")); }},
        {"delete QoS classification and its types",
         [](Expected &e, auto &) { expect_delete(e, kQos + std::string("Classification.2.")); }},
        {"delete WLAN configuration", nothing},
        {"local restore", [](Expected &e, auto &) { expect_restore(e); }},
        {"VLAN get", [](Expected &e, auto &) { e.read_record(0x6F90); }},
        // The restore leaves the session as the VLAN get left it: file 6F90
        // selected, its text held.
        {"VLAN get after a local restore",
         [](Expected &e, auto &) {
             e.start_with(0x6F90, true);
             e.read_record(0x6F90);
         }},
        // Port 2's entry moves to the end: "1/41;2/41;3/45" becomes
        // "1/41;3/45;2/42".
        {"VLAN set",
         [](Expected &e, auto &) {
             e.read_record(0x6F90);
             e.write_and_save(0x6F90, "P01", "1/41;3/45;2/42");
         }},
        {"first-online update",
         [](Expected &e, auto &) {
             e.online();
             e.read_record(0x6F07);
         }},
    };
    return table;
}

}  // namespace
}  // namespace simcard::testing

namespace simcard::bench {
// A row shows as its name in the test's output.
void PrintTo(const Scenario &scenario, std::ostream *out) { *out << scenario.name; }
}  // namespace simcard::bench

namespace simcard::testing {
namespace {

class CardTraffic : public ::testing::TestWithParam<bench::Scenario> {};

TEST_P(CardTraffic, SendsOnlyTheCommandsItsOperationRequires) {
    const bench::Scenario &scenario = GetParam();
    const auto expectation = expectations().find(scenario.name);
    ASSERT_NE(expectations().end(), expectation) << "no expectation for " << scenario.name;
    std::unique_ptr<Expected> expected;
    const bench::Run run =
        bench::run_scenario(scenario, install, [&](const vcard::VirtualCard &card) {
            expected = std::make_unique<Expected>(card);
            expectation->second(*expected, card);
        });
    EXPECT_EQ(expected->lines(), run.requests);
    EXPECT_EQ(expected->chunk_count(), run.traffic.pauses) << "a pause after every chunk only";
    EXPECT_EQ(expected->chunk_count() * kPauseUsec, run.traffic.paused_usec);
}

std::string row_name(const ::testing::TestParamInfo<bench::Scenario> &info) {
    std::string name;
    for (char c : info.param.name) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Rows, CardTraffic, ::testing::ValuesIn(bench::traffic_scenarios()),
                         row_name);

}  // namespace
}  // namespace simcard::testing
