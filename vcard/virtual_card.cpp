#include "vcard/virtual_card.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include "simcard/simcard_hal.h"
#include "vcard/des3.h"

namespace simcard::vcard {
namespace {

constexpr uint8_t kClass = 0xA0;

// Status words. The card speaks GSM where GSM has a word for the case and
// falls back to the ISO ones otherwise.
constexpr StatusWord kOk{0x90, 0x00};
constexpr StatusWord kNotFound{0x94, 0x04};
constexpr StatusWord kWrongLength{0x67, 0x00};
constexpr StatusWord kWrongParameters{0x6B, 0x00};  // also: offset or length past the file's end
constexpr StatusWord kNoCurrentEf{0x69, 0x86};
constexpr StatusWord kNothingPending{0x6F, 0x00};
constexpr StatusWord kUnknownInstruction{0x6D, 0x00};
constexpr StatusWord kUnknownClass{0x6E, 0x00};
constexpr StatusWord kRefused{0x98, 0x04};
constexpr uint8_t kPending = 0x9F;

constexpr size_t kDirectoryAnswerSize = 22;
constexpr size_t kFileAnswerSize = 15;
constexpr size_t kChallengeSize = 16;
constexpr size_t kProofSize = 8;

// Update status covers 6F04..6FDA; factory reset counts from 6F02.
constexpr uint16_t kStatusBase = 0x6F04;
constexpr uint16_t kStatusLast = 0x6FDA;
constexpr size_t kStatusBytes = (kStatusLast - kStatusBase) / 8 + 1;
constexpr uint16_t kResetBase = 0x6F02;

constexpr Block kDerivation = {0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D, 0x2D};

Block block_at(const uint8_t *p) {
    Block b;
    std::copy_n(p, b.size(), b.begin());
    return b;
}

}  // namespace

VirtualCard::VirtualCard() : rng_(0x5EED) { set_key(kDefaultKey); }

// ---- files ------------------------------------------------------------------

ElementaryFile &VirtualCard::add_file(uint16_t id, size_t size, std::string_view contents,
                                      std::optional<std::string_view> factory, bool updated,
                                      uint8_t fill) {
    if (size > kMaxFileSize) {
        throw std::invalid_argument("file size above 65535");
    }
    const std::string_view initial = factory.value_or(contents);
    if (contents.size() > size || initial.size() > size) {
        throw std::invalid_argument("file contents longer than the file");
    }
    ElementaryFile ef;
    ef.id = id;
    ef.contents.assign(contents.begin(), contents.end());
    ef.contents.resize(size, fill);
    ef.factory.assign(initial.begin(), initial.end());
    ef.factory.resize(size, fill);
    ef.updated = updated;
    return files_[id] = std::move(ef);
}

bool VirtualCard::remove_file(uint16_t id) { return files_.erase(id) > 0; }

ElementaryFile *VirtualCard::file(uint16_t id) {
    auto it = files_.find(id);
    return it == files_.end() ? nullptr : &it->second;
}

const ElementaryFile *VirtualCard::file(uint16_t id) const {
    auto it = files_.find(id);
    return it == files_.end() ? nullptr : &it->second;
}

std::vector<const ElementaryFile *> VirtualCard::files() const {
    std::vector<const ElementaryFile *> list;
    list.reserve(files_.size());
    for (const auto &entry : files_) {
        list.push_back(&entry.second);
    }
    return list;
}

std::string VirtualCard::text(uint16_t id) const {
    const ElementaryFile *ef = file(id);
    if (ef == nullptr) {
        return {};
    }
    auto end = std::find(ef->contents.begin(), ef->contents.end(), uint8_t{0});
    return std::string(ef->contents.begin(), end);
}

// ---- settings ---------------------------------------------------------------

void VirtualCard::set_has_operator_directory(bool present) {
    has_operator_directory_ = present;
    if (!present && current_dir_ == kOperatorDirectory) {
        current_dir_ = kMasterFile;
        current_ef_ = 0;
    }
}

void VirtualCard::set_key(std::string_view key) {
    if (key.size() != kKeySize) {
        throw std::invalid_argument("card key must be 16 bytes");
    }
    std::copy(key.begin(), key.end(), key_.begin());
}

void VirtualCard::set_account(std::string_view account, std::string_view password) {
    has_account_ = true;
    account_ = account;
    password_ = password;
}

void VirtualCard::clear_account() {
    has_account_ = false;
    account_.clear();
    password_.clear();
}

void VirtualCard::set_seed(uint64_t seed) { rng_.seed(seed); }

void VirtualCard::reset() {
    current_dir_ = kMasterFile;
    current_ef_ = 0;
    pending_.reset();
    auth_.reset();
}

// ---- trace ------------------------------------------------------------------

size_t VirtualCard::count(uint8_t instruction) const { return commands(instruction).size(); }

size_t VirtualCard::count_online() const {
    return static_cast<size_t>(std::count_if(trace_.begin(), trace_.end(), [](const TraceEntry &e) {
        return e.request == Request::Online;
    }));
}

std::vector<const TraceEntry *> VirtualCard::commands(uint8_t instruction) const {
    std::vector<const TraceEntry *> list;
    for (const TraceEntry &e : trace_) {
        if ((e.request == Request::Read || e.request == Request::Write) &&
            e.header[1] == instruction) {
            list.push_back(&e);
        }
    }
    return list;
}

std::vector<std::string> VirtualCard::trace_lines() const {
    std::vector<std::string> lines;
    lines.reserve(trace_.size());
    for (const TraceEntry &e : trace_) {
        lines.push_back(describe(e));
    }
    return lines;
}

// ---- faults -----------------------------------------------------------------

void VirtualCard::fail_ioctl(int target, int skip, int times) {
    ioctl_faults_.push_back({target, skip, times, {}});
}

void VirtualCard::fail_status(int target, uint8_t sw1, uint8_t sw2, int skip, int times) {
    status_faults_.push_back({target, skip, times, {sw1, sw2}});
}

void VirtualCard::set_online_schedule(std::vector<int> values) {
    online_schedule_ = std::move(values);
    online_next_ = 0;
}

void VirtualCard::cut_power_after_updates(size_t updates) { power_left_ = updates; }

void VirtualCard::clear_faults() {
    if (!powered()) {
        reset();
    }
    power_left_.reset();
    ioctl_faults_.clear();
    status_faults_.clear();
    online_ = true;
    online_schedule_.clear();
    online_next_ = 0;
    wrong_proof_ = false;
    reject_host_ = false;
    pending_length_.reset();
    claimed_size_.reset();
    short_read_ = 0;
}

// Every armed fault that matches counts the request against its skip; the
// first one due fires, and any other one due waits for the next request.
bool VirtualCard::take(std::vector<Fault> &faults, int target, Fault *hit) {
    bool fired = false;
    for (Fault &f : faults) {
        const bool matches =
            f.target == target || (f.target == kAnyCommand && target != kOnlineRequest);
        if (!matches || f.times == 0) {
            continue;
        }
        if (f.skip > 0) {
            --f.skip;
            continue;
        }
        if (fired) {
            continue;
        }
        fired = true;
        if (hit != nullptr) {
            *hit = f;
        }
        if (f.times > 0) {
            --f.times;
        }
    }
    return fired;
}

// ---- driver -----------------------------------------------------------------

int VirtualCard::ioctl(unsigned long request, void *arg) {
    if (request == SIMIO_IOCTL_READ) {
        return transfer(Request::Read, arg);
    }
    if (request == SIMIO_IOCTL_WRITE) {
        return transfer(Request::Write, arg);
    }
    if (request == SIMIO_IOCTL_ONLINE) {
        return online(arg);
    }
    TraceEntry &entry = trace_.emplace_back();
    entry.failed = true;
    errno = EINVAL;
    return -1;
}

int VirtualCard::online(void *arg) {
    TraceEntry &entry = trace_.emplace_back();
    entry.request = Request::Online;
    auto *value = static_cast<int *>(arg);
    if (value == nullptr) {
        entry.failed = true;
        errno = EFAULT;
        return -1;
    }
    if (take(ioctl_faults_, kOnlineRequest, nullptr)) {
        entry.failed = true;
        errno = EIO;
        return -1;
    }
    if (!powered()) {
        *value = 0;
        return 0;
    }
    if (online_next_ < online_schedule_.size()) {
        *value = online_schedule_[online_next_++];
    } else {
        *value = online_ ? 1 : 0;
    }
    entry.online_value = *value;
    return 0;
}

// A READ request sends the header and takes up to P3 bytes back; a WRITE
// request sends the header and data_len bytes, and hands nothing back even
// when resp is set (an answer is fetched with GET RESPONSE).
int VirtualCard::transfer(Request kind, void *arg) {
    TraceEntry &entry = trace_.emplace_back();
    entry.request = kind;
    auto *req = static_cast<simio_request *>(arg);
    if (req == nullptr || req->header == nullptr ||
        (kind == Request::Write && req->data_len > 0 && req->data == nullptr)) {
        entry.failed = true;
        errno = EFAULT;
        return -1;
    }
    std::copy_n(req->header, entry.header.size(), entry.header.begin());
    if (kind == Request::Write && req->data_len > 0) {
        entry.data.assign(req->data, req->data + req->data_len);
    }
    const uint8_t instruction = entry.header[1];
    if (!powered() || take(ioctl_faults_, instruction, nullptr)) {
        entry.failed = true;
        errno = EIO;
        return -1;
    }

    // Whatever the command, it ends the wait for GET RESPONSE.
    std::optional<std::vector<uint8_t>> pending = std::exchange(pending_, std::nullopt);
    const Command cmd{entry.header, entry.data};
    Answer answer;
    Fault hit{};
    if (take(status_faults_, instruction, &hit)) {
        answer = {{}, hit.sw};
    } else if (instruction == ins::kGetResponse && entry.header[0] == kClass) {
        answer = get_response(cmd, std::move(pending));
    } else {
        answer = execute(cmd);
        if (instruction == ins::kUpdateBinary && power_left_) {
            --*power_left_;
        }
    }

    if (kind == Request::Read) {
        size_t n = std::min(answer.data.size(), size_t{cmd.p3()});
        if (instruction == ins::kReadBinary || instruction == ins::kGetResponse) {
            n -= std::min(n, short_read_);
        }
        entry.response.assign(answer.data.begin(), answer.data.begin() + n);
        if (req->resp != nullptr) {
            std::copy(entry.response.begin(), entry.response.end(), req->resp);
        }
    }
    entry.sw1 = req->sw1 = answer.sw.sw1;
    entry.sw2 = req->sw2 = answer.sw.sw2;
    return 0;
}

// ---- card -------------------------------------------------------------------

VirtualCard::Answer VirtualCard::execute(const Command &cmd) {
    StatusWord sw = kUnknownInstruction;
    if (cmd.header[0] != kClass) {
        sw = kUnknownClass;
    } else {
        switch (cmd.header[1]) {
            case ins::kSelect:
                return select(cmd);
            case ins::kReadBinary:
                return read_binary(cmd);
            case ins::kUpdateBinary:
                return update_binary(cmd);
            case ins::kAccountCheck:
                return account_check(cmd);
            case ins::kUpdateStatus:
                return update_status(cmd);
            case ins::kAuthChallenge:
                return auth_challenge(cmd);
            case ins::kAuthAnswer:
                return auth_answer(cmd);
            case ins::kFactoryReset:
                return factory_reset(cmd);
            default:
                break;
        }
    }
    return {{}, sw};
}

VirtualCard::Answer VirtualCard::announce(std::vector<uint8_t> answer) {
    if (pending_length_) {
        answer.resize(*pending_length_, 0xFF);
    }
    const auto length = static_cast<uint8_t>(answer.size());
    pending_ = std::move(answer);
    return {{}, {kPending, length}};
}

// SELECT by id only. The master file and the operator directory can be
// selected from anywhere; an EF only from its directory. A failed select
// leaves the current directory and EF as they were.
VirtualCard::Answer VirtualCard::select(const Command &cmd) {
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (cmd.p3() != 2 || cmd.data.size() < 2) {
        return {{}, kWrongLength};
    }
    const auto id = static_cast<uint16_t>(cmd.data[0] << 8 | cmd.data[1]);
    if (id == kMasterFile || (id == kOperatorDirectory && has_operator_directory_)) {
        current_dir_ = id;
        current_ef_ = 0;
        return announce(directory_answer(id));
    }
    const ElementaryFile *ef = file(id);
    if (ef != nullptr && current_dir_ == kOperatorDirectory && has_operator_directory_) {
        current_ef_ = id;
        return announce(file_answer(*ef));
    }
    return {{}, kNotFound};
}

std::vector<uint8_t> VirtualCard::directory_answer(uint16_t id) const {
    size_t used = 0;
    for (const auto &entry : files_) {
        used += entry.second.contents.size();
    }
    const size_t free_memory = kMaxFileSize - std::min(used, kMaxFileSize);
    const bool master = id == kMasterFile;
    std::vector<uint8_t> a(kDirectoryAnswerSize, 0x00);
    a[2] = static_cast<uint8_t>(free_memory >> 8);
    a[3] = static_cast<uint8_t>(free_memory);
    a[4] = static_cast<uint8_t>(id >> 8);
    a[5] = static_cast<uint8_t>(id);
    a[6] = master ? 0x01 : 0x02;  // MF or DF
    a[12] = 0x09;                 // length of the GSM data that follows
    a[13] = 0x11;                 // file characteristics
    a[14] = master && has_operator_directory_ ? 1 : 0;
    a[15] = master ? 0 : static_cast<uint8_t>(std::min<size_t>(files_.size(), 0xFF));
    a[16] = 0x04;  // CHVs, unblock CHVs and administrative codes
    a[18] = 0x83;  // CHV1 initialised, 3 attempts left
    a[19] = 0x8A;
    a[20] = 0x83;
    a[21] = 0x8A;
    return a;
}

std::vector<uint8_t> VirtualCard::file_answer(const ElementaryFile &ef) const {
    const uint16_t size = claimed_size_.value_or(static_cast<uint16_t>(ef.contents.size()));
    std::vector<uint8_t> a(kFileAnswerSize, 0x00);
    a[2] = static_cast<uint8_t>(size >> 8);
    a[3] = static_cast<uint8_t>(size);
    a[4] = static_cast<uint8_t>(ef.id >> 8);
    a[5] = static_cast<uint8_t>(ef.id);
    a[6] = 0x04;   // EF
    a[8] = 0x00;   // read and update: always
    a[9] = 0xFF;   // increase: never
    a[10] = 0x44;  // rehabilitate and invalidate: administrative
    a[11] = 0x01;  // not invalidated
    a[12] = 0x02;  // length of the data that follows
    a[13] = 0x00;  // transparent
    return a;
}

// Le larger than the answer is not an error: the card hands over what it has.
VirtualCard::Answer VirtualCard::get_response(const Command &cmd,
                                              std::optional<std::vector<uint8_t>> pending) {
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (!pending) {
        return {{}, kNothingPending};
    }
    pending->resize(std::min(pending->size(), size_t{cmd.p3()}));
    return {std::move(*pending), kOk};
}

// P3 = 0 reads nothing (not 256): the library never asks for more than 200.
VirtualCard::Answer VirtualCard::read_binary(const Command &cmd) {
    const ElementaryFile *ef = current_ef_ != 0 ? file(current_ef_) : nullptr;
    if (ef == nullptr) {
        return {{}, kNoCurrentEf};
    }
    const size_t offset = cmd.p1p2();
    const size_t n = cmd.p3();
    if (offset + n > ef->contents.size()) {
        return {{}, kWrongParameters};
    }
    const auto first = ef->contents.begin() + static_cast<std::ptrdiff_t>(offset);
    return {std::vector<uint8_t>(first, first + static_cast<std::ptrdiff_t>(n)), kOk};
}

// A write that would run past the end of the file is refused whole, with
// nothing written: a card file never grows. P3 bytes are written; data beyond
// them is ignored. The update bit is set only when a byte was written.
VirtualCard::Answer VirtualCard::update_binary(const Command &cmd) {
    ElementaryFile *ef = current_ef_ != 0 ? file(current_ef_) : nullptr;
    if (ef == nullptr) {
        return {{}, kNoCurrentEf};
    }
    const size_t offset = cmd.p1p2();
    const size_t n = cmd.p3();
    if (cmd.data.size() < n) {
        return {{}, kWrongLength};
    }
    if (offset + n > ef->contents.size()) {
        return {{}, kWrongParameters};
    }
    std::copy_n(cmd.data.begin(), n, ef->contents.begin() + static_cast<std::ptrdiff_t>(offset));
    if (n > 0) {
        ef->updated = true;
    }
    return {{}, kOk};
}

VirtualCard::Answer VirtualCard::update_status(const Command &cmd) {
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (cmd.p3() != 0) {
        return {{}, kWrongLength};
    }
    std::vector<uint8_t> bitmap(kStatusBytes, 0x00);
    for (const auto &[id, ef] : files_) {
        if (id >= kStatusBase && id <= kStatusLast && ef.updated) {
            const unsigned i = id - kStatusBase;
            bitmap[i / 8] |= static_cast<uint8_t>(0x80u >> (i % 8));
        }
    }
    return announce(std::move(bitmap));
}

// Bits for files the card does not hold are ignored; an empty bitmap resets
// nothing and succeeds.
VirtualCard::Answer VirtualCard::factory_reset(const Command &cmd) {
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (cmd.data.size() < cmd.p3()) {
        return {{}, kWrongLength};
    }
    for (unsigned i = 0; i < cmd.p3() * 8u; ++i) {
        if ((cmd.data[i / 8] & (0x80u >> (i % 8))) == 0) {
            continue;
        }
        if (ElementaryFile *ef = file(static_cast<uint16_t>(kResetBase + i))) {
            ef->contents = ef->factory;
            ef->updated = false;
        }
    }
    return {{}, kOk};
}

VirtualCard::Answer VirtualCard::auth_challenge(const Command &cmd) {
    auth_.reset();
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (cmd.p3() != kChallengeSize || cmd.data.size() < kChallengeSize) {
        return {{}, kWrongLength};
    }
    const Block k1 = block_at(key_.data());
    const Block k2 = block_at(key_.data() + 8);
    const Block r1 = block_at(cmd.data.data());
    const Block r2 = block_at(cmd.data.data() + 8);

    Block a1;
    Block a2;
    for (Block *b : {&a1, &a2}) {
        uint64_t v = rng_();
        for (uint8_t &byte : *b) {
            byte = static_cast<uint8_t>(v >> 56);
            v <<= 8;
        }
    }
    const Block s1 = des3_encrypt(k1, k2, r1);
    const Block s2 = des3_encrypt(k1, k2, a2);
    Block q = des3_encrypt(s1, s2, r2);
    if (wrong_proof_) {
        q[kProofSize - 1] ^= 0x01;
    }
    auth_ = AuthState{a1, q};

    std::vector<uint8_t> answer;
    answer.reserve(24);
    for (const Block *b : {&a1, &a2, &q}) {
        answer.insert(answer.end(), b->begin(), b->end());
    }
    return announce(std::move(answer));
}

// One answer per challenge: whatever the outcome, the next attempt needs a
// new challenge.
VirtualCard::Answer VirtualCard::auth_answer(const Command &cmd) {
    const std::optional<AuthState> state = std::exchange(auth_, std::nullopt);
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (cmd.p3() != kProofSize || cmd.data.size() < kProofSize) {
        return {{}, kWrongLength};
    }
    if (!state || reject_host_) {
        return {{}, kRefused};
    }
    const Block k1 = block_at(key_.data());
    const Block k2 = block_at(key_.data() + 8);
    const Block t1 = des3_encrypt(k1, k2, state->q);
    const Block t2 = des3_encrypt(k1, k2, kDerivation);
    const Block expected = des3_encrypt(t1, t2, state->a1);
    if (!std::equal(expected.begin(), expected.end(), cmd.data.begin())) {
        return {{}, kRefused};
    }
    return {{}, kOk};
}

// The text may be longer than 255 bytes; P3 then carries its length mod 256.
VirtualCard::Answer VirtualCard::account_check(const Command &cmd) {
    if (cmd.p1p2() != 0) {
        return {{}, kWrongParameters};
    }
    if (cmd.p3() != (cmd.data.size() & 0xFF)) {
        return {{}, kWrongLength};
    }
    const std::string expected = account_ + ';' + password_;
    const bool match = has_account_ && cmd.data.size() == expected.size() &&
                       std::equal(expected.begin(), expected.end(), cmd.data.begin(),
                                  [](char c, uint8_t b) { return static_cast<uint8_t>(c) == b; });
    return {{}, match ? kOk : kRefused};
}

}  // namespace simcard::vcard
