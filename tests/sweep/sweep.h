// What both sweeps share: an operation's card commands grouped into the card
// layer's calls, the failures injected at one command, the console lines the
// card layer prints for each, and the card contents an operation can leave.
#ifndef SIMCARD_TESTS_SWEEP_SWEEP_H
#define SIMCARD_TESTS_SWEEP_SWEEP_H

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/sample.h"
#include "vcard/virtual_card.h"

namespace simcard::sweep {

// A command by what the library sent.
enum class Cmd {
    kOnline,
    kSelectDir,
    kSelectFile,
    kGetResponse,
    kReadBinary,
    kUpdateBinary,
    kUpdateStatus,
    kAuthChallenge,
    kAuthAnswer,
    kFactoryReset,
};

// The card-layer call that sends a command.
enum class CallKind {
    kWaitOnline,    // start-up's online check
    kSelectDir,     // hal_selectCurrentDir
    kAuth,          // sim_card_auth
    kReadRecord,    // sim_card_read_param
    kWriteRecord,   // sim_card_write_param
    kReadFile,      // sim_card_read_file, for a get
    kSave,          // hal_saveToSim
    kUpdateStatus,  // hal_get_all_update_status
    kFactoryReset,  // sim_card_factory_reset
};

struct Call {
    CallKind kind;
    uint16_t file = 0;  // the card file it works on; 0 for none
    size_t first = 0;   // its trace entries: [first, end)
    size_t end = 0;
    bool selects = false;  // sends a SELECT of its file
};

struct Step {
    Cmd cmd;
    size_t call;
};

// An operation's trace on a healthy card, with each entry's call.
struct Trace {
    std::vector<vcard::TraceEntry> entries;
    std::vector<Step> steps;
    std::vector<Call> calls;

    // Calls starting with ONLINE are record reads or writes, as `records`
    // says, except the update status check and, when `waits`, the first.
    Trace(std::vector<vcard::TraceEntry> trace, CallKind records, bool waits);
    uint16_t offset(size_t at) const;  // P1 P2 of a READ/UPDATE BINARY
    // The text a save sent, chunk by chunk.
    std::string sent(const Call &save) const;
};

enum class FailKind { kIoctl, kStatus, kOffline };
const char *kind_name(FailKind kind);  // "ioctl", "status", "offline"
inline void PrintTo(FailKind kind, std::ostream *out) { *out << kind_name(kind); }

struct Failure {
    FailKind kind;
    uint8_t sw1 = 0;
    uint8_t sw2 = 0;
    std::string name() const;
};

// The ioctl error, each status word the command's rule refuses, and the card
// going offline.
std::vector<Failure> failures_for(Cmd cmd);

// Arms `failure` at entry `at` of an operation with the healthy `trace`, the
// trace having been cleared before it runs again.
void arm(vcard::VirtualCard &card, const Trace &trace, size_t at, const Failure &failure);

// The card layer's console lines when `failure` hits entry `at` (for an
// offline card: the call's ONLINE), from the failing command up to the
// message of the call that failed. `found` is its file as the call found it.
using Contents = std::vector<uint8_t>;
std::vector<std::string> card_layer_lines(const Trace &trace, size_t at, const Failure &failure,
                                          const Contents &found);

// ---- card contents ------------------------------------------------------------

// The file with `text` written over its first bytes, as UPDATE BINARY leaves it.
Contents overlay(Contents file, const std::string &text);
// The text up to the first NUL.
std::string text_of(const Contents &file);
// Records by name: the value, or "FF" for none.
std::map<std::string, std::string> records(const std::string &text);

// ---- synchronisation, as its steps go -------------------------------------------

// One record write of a synchronisation.
struct Write {
    uint16_t file;
    std::string name;
    std::string value;
};
// Every record the next synchronisation writes, dirty file by dirty file, in
// document order.
std::vector<Write> sync_writes();
std::vector<uint16_t> dirty_files();

// The lines of a record rewrite that finds no record in `text` ("<" or ">"
// missing); none when it finds one or the text is empty.
std::vector<std::string> unrewritable(const std::string &text);

// What a synchronisation on a healthy card gives: it stops with -1 at the
// first dirty file whose card text has no record to rewrite ("<" or ">"
// missing), and commits every dirty file before it.
struct SyncOutcome {
    int rc = 0;
    std::vector<std::string> lines;  // the stop's lines
    uint16_t stop = 0;               // the file it stopped at
};
SyncOutcome expected_sync(const std::vector<Write> &writes, const vcard::VirtualCard &card);

// ---- checking -------------------------------------------------------------------

std::vector<std::string> lines_of(const std::string &text);
// Each block appears whole, in order. Empty when so; else what is missing.
std::string missing_blocks(const std::vector<std::string> &out,
                           const std::vector<std::vector<std::string>> &blocks);
std::string hex(int id);
std::string format(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// The sample document and card under the library, restartable at will.
class Bench : public testing::SampleTest {
public:
    void place_marker() const;  // the file that makes the next WAN the TR-069 WAN
    static std::string wf(int file);

protected:
    Bench();
    // Back to the state at load: a copy of `image`, no faults, no marker.
    void fresh(const vcard::VirtualCard &image);
    vcard::VirtualCard sample_;
};

}  // namespace simcard::sweep

#endif  // SIMCARD_TESTS_SWEEP_SWEEP_H
