/*
 * The one seam between the library and the system it runs on.
 *
 * Every call the library makes to the driver, the clock, the file system and
 * the LED library goes through the table returned by simcard::sys::get(). By
 * default that is the real system on the fixed paths. A process that defines
 * simcard_platform_override() (tests, simcardctl) supplies its own table, for
 * instance a virtual card, a sandbox directory and a counting clock.
 *
 * The table is plain C so that it can cross the shared object's boundary.
 */
#ifndef SIMCARD_HAL_PLATFORM_H
#define SIMCARD_HAL_PLATFORM_H

#include <stdio.h>
#include <sys/time.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The fixed paths of the system. */
#define SIMCARD_PATH_DEVICE "/dev/simcard"
#define SIMCARD_PATH_CONFIG "/etc/simcardconfig.xml"
#define SIMCARD_PATH_LOG "/logs/simcard_log"
#define SIMCARD_PATH_MEMDUMP "/tmp/mem.xml"
#define SIMCARD_PATH_TR069_MARKER "/tmp/sim_create_tr069wan"

struct simcard_platform {
    void *ctx; /* handed back to every call */
    int (*open)(void *ctx, const char *path, int flags, int mode);
    int (*ioctl)(void *ctx, int fd, unsigned long request, void *arg);
    /* Output to a file opened with open (the log). */
    ssize_t (*write)(void *ctx, int fd, const void *buf, size_t count);
    int (*close)(void *ctx, int fd);
    int (*usleep)(void *ctx, unsigned int usec);
    unsigned int (*sleep)(void *ctx, unsigned int seconds);
    int (*gettimeofday)(void *ctx, struct timeval *tv);
    int (*access)(void *ctx, const char *path, int mode);
    FILE *(*fopen)(void *ctx, const char *path, const char *mode);
    /* Path to hand to libraries that open files themselves (IXML). */
    const char *(*resolve)(void *ctx, const char *path);
    int (*led_set)(void *ctx, void *request);
};

/*
 * Optional hook, defined by the process: when present and it returns a table,
 * that table is used for every call. Looked up on every use, so a harness can
 * switch tables between cases.
 */
const struct simcard_platform *simcard_platform_override(void)
    __attribute__((weak, visibility("default")));

#ifdef __cplusplus
}

namespace simcard::sys {

/* The table in force: the override when present, else the real system. */
const simcard_platform &get();

/* The real system on the fixed paths. */
const simcard_platform &real();

// Short forms of the calls, always through the table in force.
inline int open(const char *path, int flags, int mode) {
    const simcard_platform &p = get();
    return p.open(p.ctx, path, flags, mode);
}
inline int ioctl(int fd, unsigned long request, void *arg) {
    const simcard_platform &p = get();
    return p.ioctl(p.ctx, fd, request, arg);
}
inline ssize_t write(int fd, const void *buf, size_t count) {
    const simcard_platform &p = get();
    return p.write(p.ctx, fd, buf, count);
}
inline int close(int fd) {
    const simcard_platform &p = get();
    return p.close(p.ctx, fd);
}
inline int usleep(unsigned int usec) {
    const simcard_platform &p = get();
    return p.usleep(p.ctx, usec);
}
inline unsigned int sleep(unsigned int seconds) {
    const simcard_platform &p = get();
    return p.sleep(p.ctx, seconds);
}
inline int gettimeofday(struct timeval *tv) {
    const simcard_platform &p = get();
    return p.gettimeofday(p.ctx, tv);
}
inline int access(const char *path, int mode) {
    const simcard_platform &p = get();
    return p.access(p.ctx, path, mode);
}
inline FILE *fopen(const char *path, const char *mode) {
    const simcard_platform &p = get();
    return p.fopen(p.ctx, path, mode);
}
inline const char *resolve(const char *path) {
    const simcard_platform &p = get();
    return p.resolve(p.ctx, path);
}
inline int led_set(void *request) {
    const simcard_platform &p = get();
    return p.led_set(p.ctx, request);
}

}  // namespace simcard::sys
#endif

#endif /* SIMCARD_HAL_PLATFORM_H */
