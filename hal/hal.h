// Card access layer: the driver, card commands, card files, the session.
#ifndef SIMCARD_HAL_HAL_H
#define SIMCARD_HAL_HAL_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "simcard/simcard_hal.h"

namespace simcard::hal {

constexpr uint16_t kOperatorDir = 0x7F80;
constexpr uint16_t kChunk = 200;  // bytes per READ/UPDATE BINARY
constexpr unsigned kChunkPauseUs = 10000;
constexpr size_t kUpdateBitmapBytes = 27;  // files 6F04..6FDA

// Room for any answer length a card can announce in SW2.
using Answer = std::array<unsigned char, 256>;

// transport
int open_device();
int online();
void form_data(simio_request &req, unsigned char *header, unsigned char *data,
               unsigned int data_len, unsigned char *resp);
int get_response(simio_request &req, unsigned char le);
bool device_open();
bool sw_ok(const simio_request &req);  // SW1 or SW2 is 0x90

// file access
// Sends SELECT for one id with a zeroed answer buffer; the ioctl's result.
int send_select(uint16_t id, simio_request &req, unsigned char *header, Answer &answer);
int select_file(uint16_t dir, uint16_t file);
int read_ef(char *buf, uint16_t offset, uint16_t len);
int write_ef(char *buf, uint16_t offset, uint16_t len);
int read_file(uint16_t dir, uint16_t file, char *buf, uint16_t len);
int write_file(uint16_t dir, uint16_t file, char *buf, uint16_t len);

// update status and factory reset
int get_all_update_status(unsigned char *status);
int get_update_status(uint16_t file);
int factory_reset(const uint16_t *ids, int count);
int factory_reset_all();

// authentication
int auth(const char *key);
int auth_account(const char *account, const char *password);

// session
int select_current_dir(uint16_t dir);
int select_default_dir();
int save_to_sim();
int get_session_content(uint16_t file, char *buf, int len);
void drop_session_content();
extern int simcardInitDone;

// What the card has selected, as far as its answers tell: a file SELECT that
// succeeded names the file; any SELECT that failed, or a directory SELECT,
// leaves it unknown (0). The session's cached ids cannot tell this, since a
// failed SELECT leaves them as they were.
void note_file_selected(uint16_t file);
void note_selection_unknown();
// The session's text now holds what the card's current file holds.
void note_text_loaded();
// The file a save of the session's text goes to, when that is known and the
// text was not taken from another file; 0 otherwise (no text, or the card's
// current file not known since a SELECT failed).
uint16_t session_text_file();

// Back to the state at load: device closed, empty session, not initialised.
void reset_state();

}  // namespace simcard::hal

#endif  // SIMCARD_HAL_HAL_H
