#include "sal/log.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "hal/platform.h"

namespace simcard::sal {
namespace {

constexpr std::string_view kGap = "  ";

// "[function-line]" as "[%s-%d]" prints it, cut to the prefix's buffer;
// returns its length. Built by hand: it is on the path of every get.
size_t put_prefix(char *out, const char *func, int line) {
    char number[16];
    const char *end = std::to_chars(number, number + sizeof number, line).ptr;
    const std::string_view parts[] = {"[", func != nullptr ? func : "(null)", "-",
                                      std::string_view(number, static_cast<size_t>(end - number)),
                                      "]"};
    size_t size = 0;
    for (const std::string_view part : parts) {
        const size_t n = std::min(part.size(), kLogPrefixSize - 1 - size);
        std::memcpy(out + size, part.data(), n);
        size += n;
    }
    return size;
}

}  // namespace

int vlog_line(const char *path, const char *func, int line, const char *fmt, va_list args) {
    // The prefix, two blanks and the message, each cut to its own buffer
    // size as if formatted apart, built in one buffer.
    char text[kLogPrefixSize - 1 + kGap.size() + kLogMessageSize];
    size_t size = put_prefix(text, func, line);
    std::memcpy(text + size, kGap.data(), kGap.size());
    size += kGap.size();
    char *message = text + size;
    *message = '\0';
    if (fmt != nullptr) {
        std::vsnprintf(message, kLogMessageSize, fmt, args);
    }
    // Up to the message's first NUL, as a "%s" of it would print.
    size += std::strlen(message);
    if (path == nullptr) {
        return -1;
    }
    // Opened and closed per line, as fopen("at") would: nothing is held
    // between messages.
    const int fd = sys::open(path, O_WRONLY | O_CREAT | O_APPEND, 0666);
    if (fd < 0) {
        return -1;
    }
    for (const char *rest = text; size > 0;) {
        const ssize_t n = sys::write(fd, rest, size);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;  // as a failed flush: the line was opened, so 0
        }
        rest += n;
        size -= static_cast<size_t>(n);
    }
    sys::close(fd);
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
