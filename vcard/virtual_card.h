// A configuration card in memory, together with the driver in front of it.
//
// VirtualCard answers the commands the library sends (class A0) the way the
// card does, and takes the driver's three ioctl requests exactly as the
// library issues them. Every request is traced, and faults can be armed to
// make the driver or the card misbehave on purpose.
#ifndef SIMCARD_VCARD_VIRTUAL_CARD_H
#define SIMCARD_VCARD_VIRTUAL_CARD_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace simcard::vcard {

// Instruction bytes of the commands the card knows.
namespace ins {
constexpr uint8_t kSelect = 0xA4;
constexpr uint8_t kGetResponse = 0xC0;
constexpr uint8_t kReadBinary = 0xB0;
constexpr uint8_t kUpdateBinary = 0xD6;
constexpr uint8_t kAccountCheck = 0xE0;
constexpr uint8_t kUpdateStatus = 0xE1;
constexpr uint8_t kAuthChallenge = 0xE2;
constexpr uint8_t kAuthAnswer = 0xE3;
constexpr uint8_t kFactoryReset = 0xE4;
}  // namespace ins

struct StatusWord {
    uint8_t sw1 = 0;
    uint8_t sw2 = 0;
};

struct ElementaryFile {
    uint16_t id = 0;
    std::vector<uint8_t> contents;  // always exactly the file's size
    std::vector<uint8_t> factory;   // same size as contents
    bool updated = false;
};

enum class Request { Read, Write, Online, Invalid };

// One ioctl as the driver saw it.
struct TraceEntry {
    Request request = Request::Invalid;
    std::array<uint8_t, 5> header{};
    std::vector<uint8_t> data;      // bytes the card received
    std::vector<uint8_t> response;  // bytes handed to the host
    uint8_t sw1 = 0;
    uint8_t sw2 = 0;
    bool failed = false;  // the ioctl returned -1
    int online_value = 0;
};

// Bytes as "A0 A4 00 00 02".
std::string hex_bytes(const uint8_t *bytes, size_t n);

// One line for a trace entry, e.g. "SELECT 6F07 -> 9F 0F".
std::string describe(const TraceEntry &entry);
// The bytes of a card command: "> " and what the card received (header and
// data), then "< " and what came back (response data, SW1 SW2). None for an
// ONLINE request; no second line when the driver failed.
std::vector<std::string> describe_bytes(const TraceEntry &entry);

class VirtualCard {
public:
    static constexpr uint16_t kMasterFile = 0x3F00;
    static constexpr uint16_t kOperatorDirectory = 0x7F80;
    static constexpr std::string_view kDefaultKey = "7305918264730591";
    static constexpr size_t kKeySize = 16;
    static constexpr size_t kMaxFileSize = 0xFFFF;  // the select answer holds 16 bits

    // Fault targets: an INS byte, or one of these.
    static constexpr int kAnyCommand = -1;
    static constexpr int kOnlineRequest = 0x100;
    // Fault repetition that never runs out.
    static constexpr int kAlways = -1;

    VirtualCard();

    // ---- files -----------------------------------------------------------

    // Adds or replaces a file. Contents are padded to size with fill (throws
    // std::invalid_argument when longer); factory defaults to the contents.
    ElementaryFile &add_file(uint16_t id, size_t size, std::string_view contents = {},
                             std::optional<std::string_view> factory = {}, bool updated = false,
                             uint8_t fill = 0x00);
    bool remove_file(uint16_t id);
    ElementaryFile *file(uint16_t id);
    const ElementaryFile *file(uint16_t id) const;
    std::vector<const ElementaryFile *> files() const;  // ordered by id
    // Contents up to the first NUL; empty for a missing file.
    std::string text(uint16_t id) const;

    // ---- card-wide settings ----------------------------------------------

    void set_has_operator_directory(bool present);
    bool has_operator_directory() const { return has_operator_directory_; }
    // Throws std::invalid_argument unless exactly 16 bytes.
    void set_key(std::string_view key);
    const std::array<uint8_t, kKeySize> &key() const { return key_; }
    void set_account(std::string_view account, std::string_view password);
    void clear_account();  // the card then refuses every account check
    bool has_account() const { return has_account_; }
    const std::string &account() const { return account_; }
    const std::string &password() const { return password_; }
    // Seeds the generator of the card's authentication challenges.
    void set_seed(uint64_t seed);

    // ---- selection state -------------------------------------------------

    // Back to the state after power-on: master file selected, no EF, nothing
    // pending, no authentication under way. Files and settings are kept.
    void reset();
    uint16_t current_directory() const { return current_dir_; }
    uint16_t current_file() const { return current_ef_; }  // 0 when none

    // ---- driver ----------------------------------------------------------

    // SIMIO_IOCTL_READ / SIMIO_IOCTL_WRITE with a simio_request *, or
    // SIMIO_IOCTL_ONLINE with an int *. -1 with errno on failure.
    int ioctl(unsigned long request, void *arg);

    // ---- trace -----------------------------------------------------------

    const std::vector<TraceEntry> &trace() const { return trace_; }
    void clear_trace() { trace_.clear(); }
    // Card commands in the trace with this INS (failed ones included).
    size_t count(uint8_t instruction) const;
    size_t count_online() const;
    std::vector<const TraceEntry *> commands(uint8_t instruction) const;
    std::vector<std::string> trace_lines() const;

    // ---- faults ----------------------------------------------------------
    // A fault lets `skip` matching requests through, then hits the next
    // `times` ones (kAlways: all of them).

    // The ioctl returns -1 with EIO and the card sees nothing. target is an
    // INS byte, kAnyCommand (card commands) or kOnlineRequest.
    void fail_ioctl(int target = kAnyCommand, int skip = 0, int times = 1);
    // The card does not perform the command and answers sw1 sw2.
    void fail_status(int target, uint8_t sw1, uint8_t sw2, int skip = 0, int times = 1);
    // ONLINE reports 0 while offline.
    void set_online(bool online) { online_ = online; }
    // Values for the next ONLINE requests, before falling back to set_online.
    void set_online_schedule(std::vector<int> values);
    // The card's proof Q in the authentication answer has one bit flipped.
    void set_wrong_proof(bool on) { wrong_proof_ = on; }
    // The card refuses the host's authentication answer whatever it is.
    void set_reject_host(bool on) { reject_host_ = on; }
    // Hostile card: announces this many pending bytes after SELECT, update
    // status and challenge, and delivers that many (padded with FF).
    void set_pending_length(std::optional<uint8_t> length) { pending_length_ = length; }
    // Hostile card: the select answer of every EF claims this size.
    void set_claimed_size(std::optional<uint16_t> size) { claimed_size_ = size; }
    // READ BINARY and GET RESPONSE hand over `missing` fewer bytes than due.
    void set_short_read(size_t missing) { short_read_ = missing; }
    // The card loses power once `updates` more UPDATE BINARY commands have
    // reached it (0: at once). It keeps what it took; every later command
    // fails in the driver and ONLINE reports 0, until clear_faults().
    void cut_power_after_updates(size_t updates);
    bool powered() const { return !power_left_ || *power_left_ > 0; }
    void clear_faults();  // power comes back as after power-on

    // ---- card image ------------------------------------------------------
    // Text format described in card_image.cpp. Loading replaces every file
    // and setting and puts the card back to power-on state; a malformed image
    // changes nothing and throws std::runtime_error naming the line.

    void load_image(std::istream &in);
    void save_image(std::ostream &out) const;
    void load_image_file(const std::string &path);
    void save_image_file(const std::string &path) const;

private:
    struct Fault {
        int target;
        int skip;
        int times;
        StatusWord sw;
    };
    struct Answer {
        std::vector<uint8_t> data;
        StatusWord sw;
    };
    struct Command {
        std::array<uint8_t, 5> header;
        const std::vector<uint8_t> &data;
        uint8_t p3() const { return header[4]; }
        uint16_t p1p2() const { return static_cast<uint16_t>(header[2] << 8 | header[3]); }
    };

    int transfer(Request kind, void *arg);
    int online(void *arg);
    static bool take(std::vector<Fault> &faults, int target, Fault *hit);

    Answer execute(const Command &cmd);
    Answer select(const Command &cmd);
    Answer get_response(const Command &cmd, std::optional<std::vector<uint8_t>> pending);
    Answer read_binary(const Command &cmd);
    Answer update_binary(const Command &cmd);
    Answer update_status(const Command &cmd);
    Answer factory_reset(const Command &cmd);
    Answer auth_challenge(const Command &cmd);
    Answer auth_answer(const Command &cmd);
    Answer account_check(const Command &cmd);
    // Leaves an answer for GET RESPONSE and returns the 9F xx announcing it.
    Answer announce(std::vector<uint8_t> answer);
    std::vector<uint8_t> directory_answer(uint16_t id) const;
    std::vector<uint8_t> file_answer(const ElementaryFile &ef) const;

    std::map<uint16_t, ElementaryFile> files_;
    bool has_operator_directory_ = true;
    std::array<uint8_t, kKeySize> key_{};
    bool has_account_ = false;
    std::string account_;
    std::string password_;
    std::mt19937_64 rng_;

    uint16_t current_dir_ = kMasterFile;
    uint16_t current_ef_ = 0;
    std::optional<std::vector<uint8_t>> pending_;
    struct AuthState {
        std::array<uint8_t, 8> a1;
        std::array<uint8_t, 8> q;
    };
    std::optional<AuthState> auth_;

    std::vector<TraceEntry> trace_;

    std::vector<Fault> ioctl_faults_;
    std::vector<Fault> status_faults_;
    bool online_ = true;
    std::vector<int> online_schedule_;
    size_t online_next_ = 0;
    bool wrong_proof_ = false;
    bool reject_host_ = false;
    std::optional<uint8_t> pending_length_;
    std::optional<uint16_t> claimed_size_;
    size_t short_read_ = 0;
    std::optional<size_t> power_left_;  // UPDATE BINARY commands until the cut
};

}  // namespace simcard::vcard

#endif  // SIMCARD_VCARD_VIRTUAL_CARD_H
