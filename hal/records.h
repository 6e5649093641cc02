// Parameter records: the text `<P00="v" P01=FF>` inside a card file, read and
// rewritten through the session's copy of the current file.
#ifndef SIMCARD_HAL_RECORDS_H
#define SIMCARD_HAL_RECORDS_H

#include <cstddef>
#include <cstdint>

namespace simcard::hal {

// Copies the value of `name` into dest, a buffer of cap bytes (cap is at
// least 1): at most cap - 1 characters and a NUL. kWholeValue when the
// caller's buffer is its own affair. 0 copied, 1 no value ("FF"), 0
// untouched for an empty file, -1 on failure.
inline constexpr size_t kWholeValue = SIZE_MAX;
int read_param(uint16_t dir, uint16_t file, const char *name, char *dest, size_t cap);

// Rewrites or appends `name` in the session's text of the file; the card is
// not written. A value of "FF" leaves everything as it is.
int write_param(uint16_t dir, uint16_t file, const char *name, const char *value);

// Replaces the entry `name` in `content` (a buffer of `size` bytes): the new
// text length, 0 when the text is empty or has no such entry, -1 on failure.
int replace_entry(char *content, const char *name, const char *value, int size);

// Appends the entry (or creates the record): the new text length or -1.
int append_entry(char *content, const char *name, const char *value, int size);

// Writes one record of an operator file and marks its file element stale.
int write_param_to_file(int file_id, const char *name, const char *value);

}  // namespace simcard::hal

#endif  // SIMCARD_HAL_RECORDS_H
