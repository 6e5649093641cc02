#include "sal/log.h"

#include <cstdio>

#include "hal/platform.h"

namespace simcard::sal {

int vlog_line(const char *path, const char *func, int line, const char *fmt, va_list args) {
    char prefix[kLogPrefixSize] = {};
    char message[kLogMessageSize] = {};
    std::snprintf(prefix, sizeof prefix, "[%s-%d]", func != nullptr ? func : "(null)", line);
    if (fmt != nullptr) {
        std::vsnprintf(message, sizeof message, fmt, args);
    }
    if (path == nullptr) {
        return -1;
    }
    // Opened and closed per line: nothing is held between messages.
    FILE *file = sys::fopen(path, "at");
    if (file == nullptr) {
        return -1;
    }
    std::fprintf(file, "%s  %s", prefix, message);
    std::fclose(file);
    return 0;
}

int log_line(const char *path, const char *func, int line, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int rc = vlog_line(path, func, line, fmt, args);
    va_end(args);
    return rc;
}

}  // namespace simcard::sal
