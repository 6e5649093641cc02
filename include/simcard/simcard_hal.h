/*
 * libsimcard: card access layer and parameter records.
 *
 * Conventions for every function below:
 *  - 0 (or a count or length) is success, -1 is failure; results go through
 *    pointer arguments.
 *  - Every card function returns -1 without a message while the device is not
 *    open (sim_card_fd negative).
 *  - Failures are reported on standard output in the layer's own words.
 *  - Buffers are owned by the caller; the library keeps none of them.
 *  - Calls must be serialised by the caller; the library takes no locks.
 */
#ifndef SIMCARD_HAL_H
#define SIMCARD_HAL_H

#include "simcard/simcard_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- driver request record ---------------------------------------------- */

/* 24 bytes on the 32-bit target; natural alignment elsewhere. */
struct simio_request {
    unsigned char *header; /* 5 bytes: CLA INS P1 P2 P3 */
    unsigned char *data;   /* outgoing data, or 0 */
    unsigned int data_len; /* outgoing byte count */
    unsigned char sw1;     /* status word, written by the driver */
    unsigned char sw2;
    unsigned short pad;    /* zero */
    unsigned char *resp;   /* response buffer, or 0 */
    unsigned int reserved; /* always 0 */
};

#define SIMIO_IOCTL_READ 0xC0187301u   /* card to host */
#define SIMIO_IOCTL_WRITE 0xC0187302u  /* host to card */
#define SIMIO_IOCTL_ONLINE 0xC0047303u /* int: 1 when a card is online */

/* The card's current directory, file and the text of that file. */
typedef struct sim_session_s {
    unsigned short dir_id;  /* selected directory; 0 = none yet */
    unsigned short file_id; /* selected file; 0 = whatever the card has */
    unsigned char loaded;   /* 1 when content holds the file's text */
    int file_len;           /* file length, or length of the rebuilt text */
    char *content;          /* NUL-terminated text, owned by the library */
} sim_session_t;

SIMCARD_API extern int sim_card_fd;           /* -1 until opened */
SIMCARD_API extern sim_session_t sim_session; /* zero at load */

/* ---- device and command transport --------------------------------------- */

SIMCARD_API int sim_card_init(void);
SIMCARD_API int sim_card_online(void);
SIMCARD_API void __sim_card_form_data(struct simio_request *req, unsigned char *header,
                                      unsigned char *data, unsigned int data_len,
                                      unsigned char *resp);
SIMCARD_API int __sim_card_get_response(struct simio_request *req, unsigned char le);

/* ---- file access --------------------------------------------------------- */

SIMCARD_API int sim_card_select_file(unsigned short dir_id, unsigned short file_id);
SIMCARD_API int __sim_card_select_file(unsigned short dir_id, unsigned short file_id);
SIMCARD_API int __sim_card_read_ef(char *buf, unsigned short offset, unsigned short len);
SIMCARD_API int __sim_card_write_ef(char *buf, unsigned short offset, unsigned short len);
SIMCARD_API int sim_card_read_file(unsigned short dir_id, unsigned short file_id, char *buf,
                                   unsigned short len);
SIMCARD_API int sim_card_write_file(unsigned short dir_id, unsigned short file_id, char *buf,
                                    unsigned short len);
SIMCARD_API int simcard_ReadFile(int file_id, char *buf, int len);
SIMCARD_API int simcard_WriteFile(int file_id, char *buf, int len);

/* ---- update status and factory reset ------------------------------------ */

/* status receives the card's bitmap: at most 27 bytes (files 6F04..6FDA). */
SIMCARD_API int hal_get_all_update_status(unsigned char *status);
SIMCARD_API int sim_card_get_update_status(unsigned short file_id);
SIMCARD_API int sim_card_factory_reset(unsigned short *file_ids, int count);
SIMCARD_API int sim_card_factory_resetall(void);

/* ---- authentication ------------------------------------------------------ */

SIMCARD_API int sim_card_auth(const char *key); /* 16 key bytes */
SIMCARD_API int sim_card_auth_telecom_account(const char *account, const char *password);

/* ---- parameter records -------------------------------------------------- */

/*
 * Records are the text <P00="v" P01=FF> of one card file, read and rewritten
 * in the session's copy of the current file; hal_saveToSim commits it.
 * sim_card_read_param copies the whole value and a NUL into dest, which must
 * be large enough for it (len is not used); it returns 1 when the record holds
 * no value. sim_card_write_param ignores len and skips the value "FF".
 */
SIMCARD_API int sim_card_read_param(unsigned short dir_id, unsigned short file_id, const char *name,
                                    char *dest, unsigned short len);
SIMCARD_API int sim_card_write_param(unsigned short dir_id, unsigned short file_id,
                                     const char *name, const char *value, unsigned short len);
/* content is a buffer of size bytes; the result is the new text length. */
SIMCARD_API int _sim_combin_new_file_value(char *content, const char *name, const char *value,
                                           int size);
SIMCARD_API int _sim_combin_new_file_value1(char *content, const char *name, const char *value,
                                            int size);
/* Directory 7F80; the second argument is ignored. */
SIMCARD_API int simcard_ReadParamFromFile(int file_id, int unused, const char *name, char *dest,
                                          int len);
SIMCARD_API int simcard_WriteParamToFile(int file_id, int unused, const char *name,
                                         const char *value);
SIMCARD_API int _simcard_WriteParamToFile(int file_id, int unused, const char *name,
                                          const char *value);

/* ---- current-file session ------------------------------------------------ */

SIMCARD_API int hal_selectCurrentDir(unsigned short dir_id);
SIMCARD_API int hal_saveToSim(void);
SIMCARD_API int hal_getCurrentSessionContent(unsigned short file_id, char *buf, int len);
SIMCARD_API int isSimCardInitSuccessed(void);

#ifdef __cplusplus
}
#endif

#endif /* SIMCARD_HAL_H */
