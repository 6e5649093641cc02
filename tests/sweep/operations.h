// The operations the sweeps run: start-up, a first get, a synchronisation of
// several dirty files, each kind of add and delete, and a local restore.
#ifndef SIMCARD_TESTS_SWEEP_OPERATIONS_H
#define SIMCARD_TESTS_SWEEP_OPERATIONS_H

#include <functional>
#include <string>
#include <vector>

#include "tests/sweep/sweep.h"

namespace simcard::sweep {

enum class Family { kStartup, kGet, kWrites, kRestore };

struct Operation {
    std::string name;
    Family family;
    // Healthy steps on a library at load, before the operation.
    std::function<void(Bench &)> setup;
    // The operation; a get gives 0 for the sample's value, -1 for none.
    std::function<int()> run;

    // ---- operations that write records, then commit them ----------------
    // Every record write it makes, in order (known once set up).
    std::function<std::vector<Write>()> writes;
    // The console line after a failed record write.
    std::function<std::string(const Write &)> write_failed;
    bool stops_at_failed_write = false;  // else it goes on with the next file
    bool reports_save = false;           // synchronisation names a failed commit
    int rc = 1;                          // its result
    int rc_stopped = 1;                  // when a failed write stopped it
    // Whether the tree shows the write as made.
    std::function<bool(const Write &)> in_tree;
};

const std::vector<Operation> &operations();
const Operation &operation(const std::string &name);
// Names of all operations, or of those `which` takes.
std::vector<std::string> operation_names(
    const std::function<bool(const Operation &)> &which = nullptr);
// An operation's name as part of a test's name.
std::string identifier(const std::string &name);

// The value the first get asks for, and the file it lives in.
extern const char *const kGetPath;
extern const char *const kGetValue;
// A short value for the ACS URL, leaving file 6F05 dirty before each
// operation that writes records.
extern const char *const kDirtyUrl;

}  // namespace simcard::sweep

#endif  // SIMCARD_TESTS_SWEEP_OPERATIONS_H
