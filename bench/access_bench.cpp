// Parameter access by path over a large generated document: 200 card files
// of 25 parameters each (5 000 paths) on a virtual card, in a sandbox.
//
//   CachedGet        simcard_getParamValueByUri of one loaded parameter
//   WarmSweep        a get of every parameter, all files loaded
//   ColdSweep        the same with every file unloaded first (200 card reads)
//   Lookup...        the path lookup alone, with the index and by a plain walk
//
// The log is written as on the gateway (one line per get); it is emptied
// between timed runs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sal/param_index.h"
#include "sal/xml.h"
#include "simcard.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace {

const simcard_platform *g_table = nullptr;

}  // namespace

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace {

using namespace simcard;

constexpr int kFiles = 200;
constexpr int kParamsPerFile = 25;
constexpr int kLastParam = kFiles * kParamsPerFile - 1;
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

// Everything a run needs, made once: sandbox, card, document, start-up.
class World {
public:
    static World &get() {
        static World world;
        return world;
    }

    const std::vector<std::string> &paths() const { return paths_; }
    const std::vector<IXML_Node *> &files() const { return files_; }

    void clear_log() const { sandbox_.write_file(SIMCARD_PATH_LOG, ""); }

    // Without its directory the log cannot be opened and nothing is written.
    void set_log_present(bool present) const {
        if (present) {
            clear_log();
        } else {
            std::filesystem::remove_all(sandbox_.path("/logs"));
        }
    }

    // Every file element back to "not loaded".
    void unload_all() const {
        for (IXML_Node *file : files_) sal::xml::set_attr(file, "wf", "0");
    }

private:
    World() : platform_(card_, sandbox_.path()) {
        g_table = platform_.table();
        std::string doc = "<?xml version=\"1.0\"?>\n<SimCardConfig>\n";
        const std::vector<int> ids = file_ids();
        for (int f = 0; f < kFiles; ++f) {
            std::string record = "<";
            doc += "<File" + std::to_string(f) + " n=\"" + hex(ids[f]) + "\" a=\"EF\" ml=\"" +
                   std::to_string(kFileSize) + "\" wf=\"0\">\n";
            for (int j = 0; j < kParamsPerFile; ++j) {
                const std::string path = path_of(f, j);
                paths_.push_back(path);
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
            card_.add_file(static_cast<uint16_t>(ids[f]), kFileSize, record, {}, true);
        }
        doc += "<VlanBind n=\"6F90\" a=\"EF\" ml=\"160\" wf=\"0\">\n";
        for (int j = 0; j < 4; ++j) {
            doc += "  <V" + std::to_string(j) + " n=\"" + record_name(j) +
                   "\" a=\"PARAM\" ml=\"64\" rw=\"RW\" uri=\"*DEL*\"/>\n";
        }
        doc += "</VlanBind>\n</SimCardConfig>\n";
        card_.add_file(kVlanFile, 160, R"(<P00="1" P01="1/41;2/41" P02="1" P03="1/41">)", {}, true);
        sandbox_.write_file(SIMCARD_PATH_CONFIG, doc);
        clear_log();

        std::fflush(stdout);
        if (simcard_init() != 0) {
            std::fprintf(stderr, "simcard_init failed\n");
            std::abort();
        }
        for (IXML_Node *node : sal::xml::child_elements(ct_simcfg_root)) {
            if (sal::xml::attr_is(node, "a", "EF") && !sal::xml::attr_is(node, "n", "6F90")) {
                files_.push_back(node);
            }
        }
        // Every path must answer before anything is timed.
        for (const std::string &path : paths_) {
            if (simcard_getParamValueByUri(path.c_str()) == nullptr) {
                std::fprintf(stderr, "no value for %s\n", path.c_str());
                std::abort();
            }
        }
        clear_log();
    }

    vcard::ScopedSandbox sandbox_;
    vcard::VirtualCard card_;
    vcard::VirtualPlatform platform_;
    std::vector<std::string> paths_;
    std::vector<IXML_Node *> files_;
};

// The log grows by one line per get: empty it now and then, untimed.
void trim_log(benchmark::State &state, long i) {
    if ((i & 4095) == 4095) {
        state.PauseTiming();
        World::get().clear_log();
        state.ResumeTiming();
    }
}

void CachedGet(benchmark::State &state) {
    World &world = World::get();
    const std::string &path = world.paths()[static_cast<size_t>(state.range(0))];
    long i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(simcard_getParamValueByUri(path.c_str()));
        trim_log(state, i++);
    }
}
// The first, a middle and the last parameter of the document.
BENCHMARK(CachedGet)->Arg(0)->Arg(kFiles *kParamsPerFile / 2)->Arg(kFiles *kParamsPerFile - 1);

// The same without the log line that findParamNodeByUri writes per get.
void CachedGetNoLog(benchmark::State &state) {
    World &world = World::get();
    const std::string &path = world.paths()[static_cast<size_t>(state.range(0))];
    world.set_log_present(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(simcard_getParamValueByUri(path.c_str()));
    }
    world.set_log_present(true);
}
BENCHMARK(CachedGetNoLog)->Arg(0)->Arg(kFiles *kParamsPerFile - 1);

void WarmSweep(benchmark::State &state) {
    World &world = World::get();
    for (auto _ : state) {
        for (const std::string &path : world.paths()) {
            benchmark::DoNotOptimize(simcard_getParamValueByUri(path.c_str()));
        }
        state.PauseTiming();
        world.clear_log();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(world.paths().size()));
}
BENCHMARK(WarmSweep)->Unit(benchmark::kMillisecond);

void ColdSweep(benchmark::State &state) {
    World &world = World::get();
    for (auto _ : state) {
        state.PauseTiming();
        world.unload_all();
        world.clear_log();
        state.ResumeTiming();
        for (const std::string &path : world.paths()) {
            benchmark::DoNotOptimize(simcard_getParamValueByUri(path.c_str()));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(world.paths().size()));
    state.counters["index_builds"] = static_cast<double>(sal::param_index_stats().builds);
}
BENCHMARK(ColdSweep)->Unit(benchmark::kMillisecond);

// The lookup alone, without the log line of findParamNodeByUri: with the
// index (first_param_with_uri) and by walking the tree.
using Finder = IXML_Node *(*)(IXML_Node *, const char *);

template <Finder find>
void Lookup(benchmark::State &state) {
    World &world = World::get();
    const std::string &path = world.paths()[static_cast<size_t>(state.range(0))];
    for (auto _ : state) {
        benchmark::DoNotOptimize(find(ct_simcfg_root, path.c_str()));
    }
}
BENCHMARK_TEMPLATE(Lookup, sal::first_param_with_uri)->Arg(0)->Arg(kLastParam);
BENCHMARK_TEMPLATE(Lookup, sal::first_param_with_uri_walk)->Arg(0)->Arg(kLastParam);

// Every path looked up once.
template <Finder find>
void LookupSweep(benchmark::State &state) {
    World &world = World::get();
    for (auto _ : state) {
        for (const std::string &path : world.paths()) {
            benchmark::DoNotOptimize(find(ct_simcfg_root, path.c_str()));
        }
    }
}
BENCHMARK_TEMPLATE(LookupSweep, sal::first_param_with_uri)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LookupSweep, sal::first_param_with_uri_walk)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
