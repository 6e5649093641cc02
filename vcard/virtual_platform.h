// The platform seam over a virtual card, a sandbox directory and a clock that
// only counts.
#ifndef SIMCARD_VCARD_VIRTUAL_PLATFORM_H
#define SIMCARD_VCARD_VIRTUAL_PLATFORM_H

#include <sys/time.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "hal/platform.h"
#include "vcard/virtual_card.h"

namespace simcard::vcard {

// The card must outlive the platform. Not copyable: the table points at it.
class VirtualPlatform {
public:
    static constexpr int kDefaultDescriptor = 3;

    // Absolute paths are looked up under sandbox; an empty sandbox means the
    // real root.
    explicit VirtualPlatform(VirtualCard &card, std::string sandbox = {});
    VirtualPlatform(const VirtualPlatform &) = delete;
    VirtualPlatform &operator=(const VirtualPlatform &) = delete;

    // The table to hand to the library; its ctx is this object.
    const simcard_platform *table() const { return &table_; }

    VirtualCard &card() { return card_; }
    const std::string &sandbox() const { return sandbox_; }
    void set_sandbox(std::string sandbox) { sandbox_ = std::move(sandbox); }
    std::string map_path(std::string_view path) const;
    // The same into `out`, whose room is reused.
    void map_path(std::string_view path, std::string &out) const;

    // ---- device ----------------------------------------------------------
    void set_fail_open(bool fail) { fail_open_ = fail; }
    void set_descriptor(int fd) { descriptor_ = fd; }
    int descriptor() const { return descriptor_; }
    // Opens of the device, failed ones included.
    int open_count() const { return open_count_; }

    // ---- clock -----------------------------------------------------------
    void set_time(long seconds, long usec = 0);
    struct timeval now() const;
    const std::vector<unsigned int> &usleeps() const { return usleeps_; }
    const std::vector<unsigned int> &sleeps() const { return sleeps_; }
    uint64_t slept_usec() const { return slept_usec_; }
    void clear_sleeps();

    // ---- LED -------------------------------------------------------------
    const std::vector<std::array<int, 3>> &led_requests() const { return led_requests_; }
    void clear_led_requests() { led_requests_.clear(); }

    // ---- the calls of the seam -------------------------------------------
    int open(const char *path, int flags, int mode);
    int ioctl(int fd, unsigned long request, void *arg);
    // Real files under the sandbox, never on the device's descriptor.
    ssize_t write(int fd, const void *buf, size_t count);
    int close(int fd);
    int usleep(unsigned int usec);
    unsigned int sleep(unsigned int seconds);
    int gettimeofday(struct timeval *tv);
    int access(const char *path, int mode);
    FILE *fopen(const char *path, const char *mode);
    // Valid until the next call.
    const char *resolve(const char *path);
    int led_set(void *request);

private:
    void advance(uint64_t usec);

    VirtualCard &card_;
    std::string sandbox_;
    simcard_platform table_;

    bool fail_open_ = false;
    int descriptor_ = kDefaultDescriptor;
    int open_count_ = 0;
    std::vector<int> files_;  // real descriptors handed out by open
    std::string opened_;      // the last file path opened, mapped

    uint64_t clock_usec_ = 0;
    uint64_t slept_usec_ = 0;
    std::vector<unsigned int> usleeps_;
    std::vector<unsigned int> sleeps_;

    std::string resolved_;
    std::vector<std::array<int, 3>> led_requests_;
};

// Gets the directory `sandbox` ready to stand for "/": the directories of the
// library's fixed paths and, when `config` names a file, a copy of it as the
// configuration document. Throws std::runtime_error.
void prepare_sandbox(const std::string &sandbox, const std::string &config = {});

// A fresh temporary directory, removed with everything in it on destruction.
class ScopedSandbox {
public:
    ScopedSandbox();
    ~ScopedSandbox();
    ScopedSandbox(const ScopedSandbox &) = delete;
    ScopedSandbox &operator=(const ScopedSandbox &) = delete;

    const std::string &path() const { return path_; }
    // Under the sandbox; relative is taken from its root, leading '/' or not.
    std::string path(std::string_view relative) const;
    void make_dirs(std::string_view relative) const;
    void write_file(std::string_view relative, std::string_view contents) const;
    // Empty when the file is missing.
    std::string read_file(std::string_view relative) const;
    bool exists(std::string_view relative) const;

private:
    std::string path_;
};

}  // namespace simcard::vcard

#endif  // SIMCARD_VCARD_VIRTUAL_PLATFORM_H
