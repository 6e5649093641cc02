// Instructions per cached get, counted by callgrind: the program runs itself
// under valgrind; there every case runs between a reset and a dump of
// callgrind's counters, and the parent reads the dumps and prints the table.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bench/world.h"
#include "sal/param_index.h"
#include "sal/xml.h"
#include "simcard.h"

extern char **environ;

namespace simcard::bench {
namespace {

enum class Way { Walk, Library };

// One measured case: `times` gets of the path at `at`, or (at < 0) one get
// of every path.
struct Case {
    const char *label;
    int at;
    long times;
};

constexpr int kSweep = -1;
const Case kCases[] = {
    {"first path", 0, 1000},
    {"middle path", kPaths / 2, 20},
    {"last path", kPaths - 1, 20},
    {"sweep, per get", kSweep, 1},
};

long gets_of(const Case &c) { return c.at == kSweep ? kPaths * c.times : c.times; }

std::string name_of(const Case &c, Way way) {
    return std::string(way == Way::Walk ? "walk " : "library ") + c.label;
}

void get_by(Way way, const char *path) {
    if (way == Way::Library) {
        simcard_getParamValueByUri(path);
    } else {
        sal::first_param_with_uri_walk(ct_simcfg_root, path);
    }
}

void run(const Case &c, Way way) {
    const std::vector<std::string> &paths = World::get().paths();
    for (long i = 0; i < c.times; ++i) {
        if (c.at != kSweep) {
            get_by(way, paths[static_cast<size_t>(c.at)].c_str());
            continue;
        }
        for (const std::string &path : paths) get_by(way, path.c_str());
    }
}

// Under callgrind: the answers first, then one dump per case.
int measure() {
    World &world = World::get();
    int mismatches = 0;
    for (const std::string &path : world.paths()) {
        IXML_Node *walked = sal::first_param_with_uri_walk(ct_simcfg_root, path.c_str());
        const bool same =
            walked == sal::first_param_with_uri(ct_simcfg_root, path.c_str()) &&
            simcard_getParamValueByUri(path.c_str()) == sal::xml::attr_cstr(walked, "dbv");
        mismatches += same ? 0 : 1;
    }
    if (mismatches != 0) {
        std::fprintf(stderr, "%d paths answer differently by walk and by the library\n",
                     mismatches);
        return 1;
    }
    for (const Case &c : kCases) {
        for (Way way : {Way::Walk, Way::Library}) {
            const std::string name = name_of(c, way);
            world.clear_log();
            CALLGRIND_ZERO_STATS;
            run(c, way);
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        }
    }
    return 0;
}

// Case name to instructions, from callgrind's dump files in dir.
std::map<std::string, double> read_dumps(const std::string &dir) {
    std::map<std::string, double> totals;
    constexpr std::string_view kTrigger = "desc: Trigger: Client Request: ";
    for (const auto &entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path());
        std::string line;
        std::string name;
        double total = -1;
        while (std::getline(in, line)) {
            if (line.rfind(kTrigger, 0) == 0) {
                name = line.substr(kTrigger.size());
            } else if (line.rfind("summary: ", 0) == 0) {
                // The counters since the reset ("totals" can hold more).
                total = std::stod(line.substr(line.find(' ') + 1));
            }
        }
        if (!name.empty() && total >= 0) {
            totals[name] = total;
        }
    }
    return totals;
}

// The exit status of this program under callgrind; -1 when it did not run.
int run_under_callgrind(const std::string &self, const std::string &dir) {
    std::vector<std::string> args = {"valgrind", "--tool=callgrind",
                                     "-q",       "--callgrind-out-file=" + dir + "/cg.out",
                                     self,       "--instructions"};
    std::vector<char *> argv;
    for (std::string &a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    // The library's console lines of start-up would only hide the table.
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int rc = posix_spawnp(&pid, "valgrind", &quiet, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&quiet);
    if (rc != 0) {
        std::fprintf(stderr, "cannot start valgrind\n");
        return -1;
    }
    int status = 0;
    if (waitpid(pid, &status, 0) < 0 || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

}  // namespace

int print_instructions(const char *argv0) {
    if (RUNNING_ON_VALGRIND) {
        return measure();
    }
    std::error_code ec;
    std::string self = std::filesystem::read_symlink("/proc/self/exe", ec).string();
    if (ec) {
        self = argv0;
    }
    const vcard::ScopedSandbox dir;
    if (run_under_callgrind(self, dir.path()) != 0) {
        std::fprintf(stderr, "the run under callgrind failed\n");
        return 1;
    }
    const std::map<std::string, double> totals = read_dumps(dir.path());
    std::printf("Instructions per cached get (callgrind): %d card files, %d paths, all loaded\n",
                kFiles, kPaths);
    std::printf("%-16s %12s %12s %8s\n", "", "plain walk", "library", "ratio");
    double worst = 0;
    for (const Case &c : kCases) {
        const auto walk = totals.find(name_of(c, Way::Walk));
        const auto library = totals.find(name_of(c, Way::Library));
        if (walk == totals.end() || library == totals.end()) {
            std::fprintf(stderr, "no figures for %s\n", c.label);
            return 1;
        }
        const double per_walk = walk->second / static_cast<double>(gets_of(c));
        const double per_get = library->second / static_cast<double>(gets_of(c));
        if (c.at != kSweep) {
            worst = std::max(worst, per_get);
        }
        std::printf("%-16s %12.0f %12.0f %8.1f\n", c.label, per_walk, per_get, per_walk / per_get);
    }
    std::printf("worst of the single-path gets by the library: %.0f\n", worst);
    std::printf(
        "plain walk: the lookup alone; library: the whole simcard_getParamValueByUri,"
        " log line included\n");
    return 0;
}

}  // namespace simcard::bench
