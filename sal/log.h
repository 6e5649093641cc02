// The model's diagnostic log: one line per message, "[function-line]  text".
#ifndef SIMCARD_SAL_LOG_H
#define SIMCARD_SAL_LOG_H

#include <cstdarg>
#include <cstddef>

#include "hal/platform.h"

namespace simcard::sal {

constexpr size_t kLogPrefixSize = 512;
constexpr size_t kLogMessageSize = 1024;

// Appends one line to `path`: 0 when written, -1 when the file could not be
// opened. Prefix and message are cut to their buffers.
int log_line(const char *path, const char *func, int line, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));
int vlog_line(const char *path, const char *func, int line, const char *fmt, va_list args)
    __attribute__((format(printf, 4, 0)));

}  // namespace simcard::sal

// Logs to the library's log file under the given function name and the
// caller's line.
#define SAL_LOG(func, ...) ::simcard::sal::log_line(SIMCARD_PATH_LOG, (func), __LINE__, __VA_ARGS__)

#endif  // SIMCARD_SAL_LOG_H
