// The card's update bitmap and factory reset of chosen files.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "hal/hal.h"
#include "hal/platform.h"

namespace simcard::hal {
namespace {

constexpr uint16_t kFirstUpdateId = 0x6F04;  // bit 0 of the update bitmap
constexpr uint16_t kFirstResetId = 0x6F02;   // bit 0 of the reset bitmap
constexpr uint16_t kLastId = 0x6FDA;
constexpr size_t kResetBitmapBytes = 32;
constexpr size_t kDumpedBytes = 10;

// How one E1 exchange ended.
enum class E1Result { kOk, kIoctl, kStatus, kResponse };

// The answer's first bytes start as `keep` holds them (when given), so that
// what the card does not deliver stays as the caller had it.
E1Result read_update_bitmap(Answer &answer, simio_request &req, const unsigned char *keep) {
    unsigned char header[5] = {0xA0, 0xE1, 0x00, 0x00, 0x00};
    req = simio_request{};
    form_data(req, header, nullptr, 0, answer.data());
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_READ, &req) < 0) {
        return E1Result::kIoctl;
    }
    if (req.sw1 != 0x9F) {
        return E1Result::kStatus;
    }
    const unsigned char le = req.sw2;
    const unsigned char sw1 = req.sw1;
    if (keep != nullptr) {
        std::memcpy(answer.data(), keep, std::min<size_t>(le, kUpdateBitmapBytes));
    }
    req = simio_request{};
    form_data(req, header, nullptr, 0, answer.data());
    if (get_response(req, le) != 0) {
        return E1Result::kResponse;
    }
    // Keep the announced length for the caller.
    req.sw1 = sw1;
    req.sw2 = le;
    return E1Result::kOk;
}

bool bit_set(const unsigned char *bitmap, size_t bytes, unsigned index) {
    const size_t byte = index / 8;
    return byte < bytes && (bitmap[byte] & (0x80u >> (index % 8))) != 0;
}

}  // namespace

int get_all_update_status(unsigned char *status) {
    if (!device_open()) {
        return -1;
    }
    if (status == nullptr) {
        std::printf("[hal] %s: Argument status is NULL\n", "hal_get_all_update_status");
        return -1;
    }
    if (online() != 1) {
        std::printf("[hal] %s: sim card is not online!\n", "hal_get_all_update_status");
        return -1;
    }
    Answer answer{};
    simio_request req{};
    switch (read_update_bitmap(answer, req, status)) {
        case E1Result::kIoctl:
            std::printf("[hal] %s: ioctl SIMIO_IOCTL_READ 1 error\n", "hal_get_all_update_status");
            return -1;
        case E1Result::kStatus:
            std::printf("[hal] %s: sim card response error SW = %02x %02x\n",
                        "hal_get_all_update_status", req.sw1, req.sw2);
            return -1;
        case E1Result::kResponse:
            std::printf("[hal] %s: get response error\n", "hal_get_all_update_status");
            return -1;
        case E1Result::kOk:
            break;
    }
    // The bitmap covers 27 bytes; a card announcing more must not overrun the
    // caller, whose buffer has no stated size.
    std::memcpy(status, answer.data(), std::min<size_t>(req.sw2, kUpdateBitmapBytes));
    return 0;
}

int get_update_status(uint16_t file) {
    if (!device_open()) {
        return -1;
    }
    if (file < kFirstUpdateId) {
        std::printf("libsimcard [%s] file id must large than 0x6F04 \n",
                    "sim_card_get_update_status");
        return -1;
    }
    Answer answer{};
    simio_request req{};
    switch (read_update_bitmap(answer, req, nullptr)) {
        case E1Result::kIoctl:
            std::printf("libsimcard [%s] ioctl SIMIO_IOCTL_READ 1 error\n",
                        "sim_card_get_update_status");
            return -1;
        case E1Result::kStatus:
            std::printf("libsimcard [%s] sim card response error SW = %02x %02x\n",
                        "sim_card_get_update_status", req.sw1, req.sw2);
            return -1;
        case E1Result::kResponse:
            std::printf("libsimcard [%s] get response error\n", "sim_card_get_update_status");
            return -1;
        case E1Result::kOk:
            break;
    }
    std::puts("\n------------------------------");
    for (size_t i = 0; i < kDumpedBytes; ++i) {
        std::printf("%02X ", answer[i]);
    }
    std::printf("\n");
    for (size_t i = 0; i < kDumpedBytes; ++i) {
        for (int bit = 7; bit >= 0; --bit) {
            std::fputs((answer[i] >> bit) & 1 ? "1 " : "0 ", stdout);
        }
    }
    std::printf("\n");
    // Bits past what the buffer can hold read as clear.
    if (bit_set(answer.data(), answer.size(), file - kFirstUpdateId)) {
        std::puts("Yes");
        return 1;
    }
    std::puts("No");
    return 0;
}

int factory_reset(const uint16_t *ids, int count) {
    if (!device_open()) {
        return -1;
    }
    unsigned char bitmap[kResetBitmapBytes] = {};
    size_t top = 0;
    for (int k = 0; k < count; ++k) {
        const int index = static_cast<int>(ids[k]) - kFirstResetId;
        // An id outside the bitmap has no bit to set.
        if (index < 0 || static_cast<size_t>(index) / 8 >= kResetBitmapBytes) {
            continue;
        }
        bitmap[index / 8] |= static_cast<unsigned char>(0x80u >> (index % 8));
        top = std::max<size_t>(top, index / 8);
    }
    unsigned char header[5] = {0xA0, 0xE4, 0x00, 0x00, static_cast<unsigned char>(top + 1)};
    simio_request req{};
    form_data(req, header, bitmap, static_cast<unsigned int>(top + 1), nullptr);
    if (sys::ioctl(sim_card_fd, SIMIO_IOCTL_WRITE, &req) < 0) {
        std::printf("libsimcard [%s] ioctl write error\n", "sim_card_factory_reset");
        return -1;
    }
    if (req.sw1 != 0x90) {
        std::printf("libsimcard [%s] file reset factory fail\n", "sim_card_factory_reset");
        return -1;
    }
    return 0;
}

int factory_reset_all() {
    std::vector<uint16_t> ids;
    for (unsigned id = kFirstResetId; id <= kLastId; ++id) {
        ids.push_back(static_cast<uint16_t>(id));
    }
    factory_reset(ids.data(), static_cast<int>(ids.size()));
    return 0;
}

}  // namespace simcard::hal
