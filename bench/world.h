// The generated document started up on a virtual card in a sandbox, once per
// process, with every file loaded.
#ifndef SIMCARD_BENCH_WORLD_H
#define SIMCARD_BENCH_WORLD_H

#include <ixml.h>

#include <string>
#include <vector>

#include "bench/generated.h"
#include "vcard/virtual_card.h"
#include "vcard/virtual_platform.h"

namespace simcard::bench {

class World {
public:
    static World &get();

    const std::vector<std::string> &paths() const { return generated_.paths; }

    void clear_log() const;
    // Without its directory the log cannot be opened and nothing is written.
    void set_log_present(bool present) const;
    // Every file element back to "not loaded".
    void unload_all() const;

private:
    World();

    vcard::ScopedSandbox sandbox_;
    vcard::VirtualCard card_;
    vcard::VirtualPlatform platform_;
    Generated generated_;
    std::vector<IXML_Node *> files_;
};

// Makes `table` the one the library uses (null: the real system).
void install(const simcard_platform *table);

// Runs this program (argv0) under callgrind and prints the instructions per
// cached get, by plain walk and by the library; 0 when every figure came.
int print_instructions(const char *argv0);

}  // namespace simcard::bench

#endif  // SIMCARD_BENCH_WORLD_H
