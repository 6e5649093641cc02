#include "hal/platform.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

// The gateway's LED library is loaded with the gateway's process. The weak
// reference resolves to it there; on a host without it the call is skipped.
extern "C" int hgu_led_set(void *request) __attribute__((weak));

namespace simcard::sys {
namespace {

int real_open(void *, const char *path, int flags, int mode) { return ::open(path, flags, mode); }

int real_ioctl(void *, int fd, unsigned long request, void *arg) {
    return ::ioctl(fd, request, arg);
}

ssize_t real_write(void *, int fd, const void *buf, size_t count) {
    return ::write(fd, buf, count);
}

int real_close(void *, int fd) { return ::close(fd); }

int real_usleep(void *, unsigned int usec) { return ::usleep(usec); }

unsigned int real_sleep(void *, unsigned int seconds) { return ::sleep(seconds); }

int real_gettimeofday(void *, struct timeval *tv) { return ::gettimeofday(tv, nullptr); }

int real_access(void *, const char *path, int mode) { return ::access(path, mode); }

FILE *real_fopen(void *, const char *path, const char *mode) { return std::fopen(path, mode); }

const char *real_resolve(void *, const char *path) { return path; }

int real_led_set(void *, void *request) {
    return hgu_led_set != nullptr ? hgu_led_set(request) : -1;
}

constexpr simcard_platform kReal = {
    nullptr,    real_open,         real_ioctl,  real_write, real_close,   real_usleep,
    real_sleep, real_gettimeofday, real_access, real_fopen, real_resolve, real_led_set,
};

}  // namespace

const simcard_platform &real() { return kReal; }

const simcard_platform &get() {
    if (simcard_platform_override != nullptr) {
        if (const simcard_platform *p = simcard_platform_override()) {
            return *p;
        }
    }
    return kReal;
}

}  // namespace simcard::sys
