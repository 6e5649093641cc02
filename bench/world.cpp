#include "bench/world.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "sal/xml.h"
#include "simcard.h"

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::bench {

void install(const simcard_platform *table) { g_table = table; }

World &World::get() {
    static World world;
    return world;
}

World::World() : platform_(card_, sandbox_.path()), generated_(generate(card_)) {
    install(platform_.table());
    sandbox_.write_file(SIMCARD_PATH_CONFIG, generated_.document);
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
    // Every path must answer before anything is measured.
    for (const std::string &path : paths()) {
        if (simcard_getParamValueByUri(path.c_str()) == nullptr) {
            std::fprintf(stderr, "no value for %s\n", path.c_str());
            std::abort();
        }
    }
    clear_log();
}

void World::clear_log() const { sandbox_.write_file(SIMCARD_PATH_LOG, ""); }

void World::set_log_present(bool present) const {
    if (present) {
        clear_log();
    } else {
        std::filesystem::remove_all(sandbox_.path("/logs"));
    }
}

void World::unload_all() const {
    for (IXML_Node *file : files_) sal::xml::set_attr(file, "wf", "0");
}

}  // namespace simcard::bench
