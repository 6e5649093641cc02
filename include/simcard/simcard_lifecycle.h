/*
 * libsimcard: bringing the library up, and the card's update status.
 *
 * simcard_init is the first call any user of the library makes; everything
 * else assumes that it has succeeded. There is no shut-down call: the model
 * lives until the process ends. Calls must be serialised by the caller.
 */
#ifndef SIMCARD_LIFECYCLE_H
#define SIMCARD_LIFECYCLE_H

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Loads the configuration document, opens the device, waits for the card,
 * authenticates it and builds the model. 0 when the library is (or already
 * was) initialised, -1 on failure (a later call tries again). */
SIMCARD_API int simcard_init(void);

/* The card's update bitmap into status (27 bytes: one bit per file id from
 * 6F04 to 6FDA, most significant bit first), printed. 0 or -1. */
SIMCARD_API int simcard_get_all_update_status(unsigned char *status);
/* 1 when file_id's bit is set in status, 0 when clear, -1 for a null status
 * or an id outside 6F04..6FDA. */
SIMCARD_API int simcard_file_isupdated(int file_id, const unsigned char *status);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_LIFECYCLE_H */
