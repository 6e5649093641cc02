#include "sal/lifecycle/update_status.h"

#include <cstdio>

namespace simcard::lifecycle {
namespace {

constexpr int kFirstFile = 0x6F04;
constexpr int kLastFile = 0x6FDA;

UpdateBitmap simcardUpdateStatus{};

}  // namespace

UpdateBitmap &update_status() { return simcardUpdateStatus; }

int get_all_update_status(unsigned char *status) {
    constexpr const char *kFunc = "simcard_get_all_update_status";
    std::printf("[sal %s: enter\n", kFunc);
    if (hal::get_all_update_status(status) != 0) {
        std::printf("[sal] %s: get all update status failed\n", kFunc);
        return -1;
    }
    std::puts("\n---------------all update status---------------");
    for (size_t byte = 0; byte < hal::kUpdateBitmapBytes; ++byte) {
        for (int bit = 7; bit >= 0; --bit) {
            std::fputs((status[byte] >> bit) & 1 ? "1 " : "0 ", stdout);
        }
    }
    std::printf("\n");
    return 0;
}

int file_isupdated(int file_id, const unsigned char *status) {
    constexpr const char *kFunc = "simcard_file_isupdated";
    if (status == nullptr) {
        std::printf("[sal] %s: Argument status is null\n", kFunc);
        return -1;
    }
    if (file_id < kFirstFile || file_id > kLastFile) {
        std::printf("[hal] %s: file id is must between 6f04 and 6fda\n", kFunc);
        return -1;
    }
    const int index = file_id - kFirstFile;
    return (status[index / 8] >> (7 - index % 8)) & 1;
}

void reset_update_status() { simcardUpdateStatus.fill(0); }

}  // namespace simcard::lifecycle
