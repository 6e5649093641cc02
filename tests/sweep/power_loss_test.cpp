// A power cut after every chunk that a synchronisation, an add or a delete
// writes to the card. The card keeps what reached it; a gateway program
// started afresh on it (a new process) starts up, serves every file that was
// not being written with its values, and meets a torn file as the steps
// define: a synchronisation that must rewrite a record the cut left without
// its closing ">" stops there with -1.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <regex>
#include <set>

#include "simcard.h"
#include "tests/support/process.h"
#include "tests/sweep/operations.h"
#include "tests/sweep/served.h"

namespace simcard::sweep {
namespace {

constexpr const char *kUrl = "InternetGatewayDevice.ManagementServer.URL";

// What the new process is asked to change in a file, so that its
// synchronisation meets that file: a path, its value, and the record and
// card value it becomes.
struct Touch {
    std::string path;
    std::string value;
    std::string record;
    std::string card;
};
const std::map<uint16_t, Touch> kTouch = {
    {0x6F05, {kUrl, "http://after.cut/", "P00", "http://after.cut/"}},
    {0x6F06,
     {"InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable", "false", "P00",
      "0"}},
    {0x6F08, {kGetPath, "after-cut@isp", "P14", "after-cut@isp"}},
    {0x6F0A,
     {"InternetGatewayDevice.WANDevice.1.WANConnectionDevice.4.WANIPConnection.1.Name", "after-cut",
      "P04", "after-cut"}},
};

// The new process's report.
struct Restart {
    testing::ProcessResult process;  // the library's messages on standard output
    int init = -9;
    int sync = -9;
    std::map<std::string, int> sets;
    ServedMap served;
};

Restart restart(const vcard::ScopedSandbox &root,
                const std::vector<std::pair<std::string, std::string>> &sets) {
    std::vector<std::string> argv = {RESTART_PROBE, root.path("card.img"), root.path(),
                                     root.path("report")};
    for (const auto &[path, value] : sets) {
        argv.insert(argv.end(), {path, value});
    }
    Restart r;
    r.process = testing::run(argv);
    std::ifstream report(root.path("report"));
    for (std::string word; report >> word;) {
        if (word == "init" || word == "sync") {
            report >> (word == "init" ? r.init : r.sync);
        } else if (word == "set") {
            int rc = 0;
            std::string path;
            report >> rc >> path;
            r.sets[path] = rc;
        } else if (word == "value") {
            std::string file;
            std::string rest;
            report >> file;
            std::getline(report, rest);
            const size_t tab = rest.find('\t');
            r.served[rest.substr(1, tab - 1)] = {static_cast<int>(std::stol(file, nullptr, 16)),
                                                 rest.substr(tab + 1)};
        }
    }
    return r;
}

// A file's paths and values. Classification types are numbered by the
// entries of their classification before them, in files other than their own.
std::map<std::string, std::string> values_of(const ServedMap &all, int file) {
    static const std::regex type_number(R"(\.type\.[0-9]+\.)");
    std::map<std::string, std::string> values;
    for (const auto &[path, served] : of_file(all, file)) {
        values[std::regex_replace(path, type_number, ".type.#.")] = served.value;
    }
    return values;
}

// The operation's chunks on a healthy card, and what a new process serves
// on the card as it was before and after.
struct Plan {
    Trace trace{{}, CallKind::kWriteRecord, false};
    vcard::VirtualCard before;
    std::vector<size_t> chunks;  // the UPDATE BINARY entries, in order
    std::map<uint16_t, size_t> chunks_of;
    ServedMap served_before;
    ServedMap served_after;
};

class PowerLoss : public Bench, public ::testing::WithParamInterface<std::string> {
protected:
    // The sample card after a healthy synchronisation made 6F08's record
    // text longer than one chunk, so that its deletion can be torn too; and
    // with 6F0A, a free WAN file, holding a record just under one chunk, so
    // that the index a new connection writes there takes it past one.
    void SetUp() override {
        fresh(sample_);
        capture();
        EXPECT_EQ(0, simcard_init());
        const std::string user = "worn-" + std::string(50, 'w') + "@isp.example";
        EXPECT_EQ(0, simcard_setParamValueByUri(kGetPath, user.c_str()));
        EXPECT_EQ(0, simcard_syncData2Sim());
        captured();
        std::string text = card.text(0x6F0A);
        for (const auto &[from, to] :
             {std::pair<std::string, std::string>{"P10=FF", R"(P10="10.10.4.20")"},
              {"P11=FF", R"(P11="255.255.255.0")"},
              {"P13=FF", R"(P13="10.10.0.1,10.10.0.2")"}}) {
            text.replace(text.find(from), from.size(), to);
        }
        const std::string name = "4_VOIP_R_VID_43";
        text.replace(text.find(name), name.size(), name + std::string(197 - text.size(), '_'));
        card.add_file(0x6F0A, card.file(0x6F0A)->contents.size(), text, std::nullopt, true);
        base_ = card;
        vcard::prepare_sandbox(root_.path());
        root_.write_file(SIMCARD_PATH_CONFIG, testing::sample_text("simcardconfig.xml"));
    }

    // What a healthy start-up on `image` serves.
    ServedMap started_on(const vcard::VirtualCard &image) {
        fresh(image);
        capture();
        EXPECT_EQ(0, simcard_init());
        ServedMap all = served();
        captured();
        return all;
    }

    // The operation after its set-up, the power cut after `cut` chunks when
    // given; the card as set up in `before`.
    void run(const Operation &op, std::optional<size_t> cut, vcard::VirtualCard &before) {
        fresh(base_);
        capture();
        op.setup(*this);
        before = card;
        card.clear_trace();
        if (cut) {
            card.cut_power_after_updates(*cut);
        }
        op.run();
        captured();
        card.clear_faults();
    }

    Plan plan(const Operation &op) {
        Plan p;
        run(op, std::nullopt, p.before);
        p.trace = Trace(card.trace(), CallKind::kWriteRecord, false);
        const vcard::VirtualCard after = card;
        for (const Call &call : p.trace.calls) {
            for (size_t i = call.first; call.kind == CallKind::kSave && i < call.end; ++i) {
                p.chunks.push_back(i);
                ++p.chunks_of[call.file];
            }
        }
        p.served_before = started_on(p.before);
        p.served_after = started_on(after);
        return p;
    }

    // The card holds what reached it before the cut, nothing else; returns
    // how many chunks each file took.
    std::map<uint16_t, size_t> check_card(const Plan &p, size_t cut) {
        std::map<uint16_t, Contents> expected;
        for (const vcard::ElementaryFile *file : p.before.files()) {
            expected[file->id] = file->contents;
        }
        std::map<uint16_t, size_t> landed;
        for (size_t i = 0; i < cut; ++i) {
            const size_t at = p.chunks[i];
            const uint16_t file = p.trace.calls[p.trace.steps[at].call].file;
            const std::vector<uint8_t> &data = p.trace.entries[at].data;
            std::copy(data.begin(), data.end(),
                      expected[file].begin() + static_cast<std::ptrdiff_t>(p.trace.offset(at)));
            ++landed[file];
        }
        for (const auto &[file, contents] : expected) {
            EXPECT_EQ(text_of(contents), card.text(file)) << hex(file);
        }
        return landed;
    }

    // Every file the cut did not leave half-written serves its values, as
    // before the operation or as after it.
    static void check_values(const Plan &p, const Restart &r,
                             const std::function<bool(uint16_t)> &torn,
                             std::map<uint16_t, size_t> &landed) {
        std::set<int> files;
        for (const ServedMap *map : {&p.served_before, &p.served_after, &r.served}) {
            for (const auto &[path, served] : *map) {
                files.insert(served.file);
            }
        }
        for (int file : files) {
            const auto id = static_cast<uint16_t>(file);
            if (torn(id)) {
                continue;
            }
            const bool written = landed[id] != 0;
            EXPECT_EQ(values_of(written ? p.served_after : p.served_before, file),
                      values_of(r.served, file))
                << hex(file) << (written ? " as written" : " as it was");
        }
    }

    // The new process's synchronisation meets the touched files in document
    // order and stops at the first whose record the cut tore.
    void check_sync(const Restart &r) {
        vcard::VirtualCard synced;
        synced.load_image_file(root_.path("card.img"));
        int rc = 0;
        for (const auto &[file, touch] : kTouch) {
            const auto set = r.sets.find(touch.path);
            if (set == r.sets.end()) {
                continue;
            }
            EXPECT_EQ(r.served.count(touch.path) != 0 ? 0 : -1, set->second) << touch.path;
            if (rc != 0 || set->second != 0) {
                continue;
            }
            const std::string text = card.text(file);
            if (const auto lines = unrewritable(text); !lines.empty()) {
                rc = -1;
                EXPECT_EQ("", missing_blocks(lines_of(r.process.out), {lines})) << r.process.out;
                EXPECT_NE(
                    std::string::npos,
                    r.process.out.find(format("[sal] simcard_syncData2Sim: file id 0x%04x ", file)))
                    << "no write param error: " << r.process.out;
                EXPECT_EQ(text, synced.text(file)) << "the torn file is left as it is";
            } else {
                EXPECT_EQ(touch.card, records(synced.text(file))[touch.record])
                    << hex(file) << " committed";
            }
        }
        EXPECT_EQ(rc, r.sync) << r.process.out;
    }

    vcard::VirtualCard base_;
    vcard::ScopedSandbox root_;  // the new process's "/"
};

TEST_P(PowerLoss, ANewProcessOnTheCardACutLeftServesWhatItKeptAndStopsAtATornRecord) {
    const Operation &op = operation(GetParam());
    const Plan p = plan(op);
    ASSERT_FALSE(HasFailure());
    for (size_t cut = 0; cut <= p.chunks.size(); ++cut) {
        SCOPED_TRACE(GetParam() + ", power cut after " + std::to_string(cut) + " chunks");
        vcard::VirtualCard ignored;
        run(op, cut, ignored);
        std::map<uint16_t, size_t> landed = check_card(p, cut);
        auto torn = [&](uint16_t file) {
            return landed[file] != 0 && landed[file] != p.chunks_of.at(file);
        };

        card.save_image_file(root_.path("card.img"));
        std::vector<std::pair<std::string, std::string>> sets;
        for (const auto &[file, touch] : kTouch) {
            if (file == 0x6F05 || torn(file)) {
                sets.emplace_back(touch.path, touch.value);
            }
        }
        const Restart r = restart(root_, sets);
        ASSERT_EQ(0, r.process.status) << r.process.out << r.process.err;
        EXPECT_EQ(0, r.init);
        check_values(p, r, torn, landed);
        check_sync(r);
    }
    std::cout << "[ sweep    ] " << GetParam() << ": " << p.chunks.size() << " chunks, "
              << p.chunks.size() + 1 << " cut points" << std::endl;
}

// Those that write records; the others send no UPDATE BINARY.
INSTANTIATE_TEST_SUITE_P(Operations, PowerLoss,
                         ::testing::ValuesIn(operation_names([](const Operation &op) {
                             return static_cast<bool>(op.write_failed);
                         })),
                         [](const ::testing::TestParamInfo<std::string> &p) {
                             return identifier(p.param);
                         });

}  // namespace
}  // namespace simcard::sweep
