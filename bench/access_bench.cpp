// Parameter access by path over a large generated document (bench/generated.h:
// 200 card files of 25 parameters, 5 000 paths) on a virtual card, in a
// sandbox.
//
//   CachedGet        simcard_getParamValueByUri of one loaded parameter
//   WarmSweep        a get of every parameter, all files loaded
//   ColdSweep        the same with every file unloaded first (200 card reads)
//   Lookup...        the path lookup alone, with the index and by a plain walk
//
// The log is written as on the gateway (one line per get); it is emptied
// between timed runs.
//
// Instead of timing:
//   --instructions   runs itself under callgrind and prints the instructions
//                    per cached get, by plain walk and by the library
//   --traffic        prints the card-traffic table of the sample card
//                    (card_traffic.h)
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/card_traffic.h"
#include "bench/world.h"
#include "sal/param_index.h"
#include "sal/xml.h"
#include "simcard.h"

namespace {

using namespace simcard;
using bench::World;

constexpr int kLastParam = bench::kPaths - 1;

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
BENCHMARK(CachedGet)->Arg(0)->Arg(bench::kPaths / 2)->Arg(kLastParam);

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
BENCHMARK(CachedGetNoLog)->Arg(0)->Arg(kLastParam);

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

int main(int argc, char **argv) {
    if (argc == 2 && std::strcmp(argv[1], "--instructions") == 0) {
        return bench::print_instructions(argv[0]);
    }
    if (argc == 2 && std::strcmp(argv[1], "--traffic") == 0) {
        return bench::print_traffic_table(stdout, bench::install) ? 0 : 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
