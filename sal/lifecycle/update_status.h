// The card's update-status bitmap as the model keeps it: one bit per file id
// from 6F04 to 6FDA, most significant bit first; a set bit means the card
// holds the file.
#ifndef SIMCARD_SAL_LIFECYCLE_UPDATE_STATUS_H
#define SIMCARD_SAL_LIFECYCLE_UPDATE_STATUS_H

#include <array>

#include "hal/hal.h"

namespace simcard::lifecycle {

using UpdateBitmap = std::array<unsigned char, hal::kUpdateBitmapBytes>;

// The process-wide copy that simcard_init fills.
UpdateBitmap &update_status();

// Fetches the card's bitmap into status (27 bytes) and prints it; 0 or -1.
int get_all_update_status(unsigned char *status);

// 1 when file_id's bit is set in status, 0 when clear, -1 on a bad argument.
int file_isupdated(int file_id, const unsigned char *status);

void reset_update_status();

}  // namespace simcard::lifecycle

#endif  // SIMCARD_SAL_LIFECYCLE_UPDATE_STATUS_H
