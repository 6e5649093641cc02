#include "vcard/virtual_platform.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace simcard::vcard {
namespace {

constexpr uint64_t kMicro = 1000000;

VirtualPlatform &self(void *ctx) { return *static_cast<VirtualPlatform *>(ctx); }

int do_open(void *ctx, const char *path, int flags, int mode) {
    return self(ctx).open(path, flags, mode);
}
int do_ioctl(void *ctx, int fd, unsigned long request, void *arg) {
    return self(ctx).ioctl(fd, request, arg);
}
ssize_t do_write(void *ctx, int fd, const void *buf, size_t count) {
    return self(ctx).write(fd, buf, count);
}
int do_close(void *ctx, int fd) { return self(ctx).close(fd); }
int do_usleep(void *ctx, unsigned int usec) { return self(ctx).usleep(usec); }
unsigned int do_sleep(void *ctx, unsigned int seconds) { return self(ctx).sleep(seconds); }
int do_gettimeofday(void *ctx, struct timeval *tv) { return self(ctx).gettimeofday(tv); }
int do_access(void *ctx, const char *path, int mode) { return self(ctx).access(path, mode); }
FILE *do_fopen(void *ctx, const char *path, const char *mode) {
    return self(ctx).fopen(path, mode);
}
const char *do_resolve(void *ctx, const char *path) { return self(ctx).resolve(path); }
int do_led_set(void *ctx, void *request) { return self(ctx).led_set(request); }

}  // namespace

VirtualPlatform::VirtualPlatform(VirtualCard &card, std::string sandbox)
    : card_(card), sandbox_(std::move(sandbox)), table_{this,     do_open,         do_ioctl,
                                                        do_write, do_close,        do_usleep,
                                                        do_sleep, do_gettimeofday, do_access,
                                                        do_fopen, do_resolve,      do_led_set} {}

std::string VirtualPlatform::map_path(std::string_view path) const {
    std::string out;
    map_path(path, out);
    return out;
}

void VirtualPlatform::map_path(std::string_view path, std::string &out) const {
    out.clear();
    if (!path.empty() && path.front() == '/') {
        out += sandbox_;
    }
    out += path;
}

// The device is the card; any other path is a real file under the sandbox.
int VirtualPlatform::open(const char *path, int flags, int mode) {
    if (path == nullptr) {
        errno = EFAULT;
        return -1;
    }
    if (std::strcmp(path, SIMCARD_PATH_DEVICE) == 0) {
        ++open_count_;
        if (fail_open_) {
            errno = ENOENT;
            return -1;
        }
        return descriptor_;
    }
    // A reused buffer: a log line through the platform allocates nothing.
    map_path(path, opened_);
    int fd = ::open(opened_.c_str(), flags, mode);
    if (fd == descriptor_) {
        // The same number must not name the card and a file.
        const int other = ::fcntl(fd, F_DUPFD_CLOEXEC, descriptor_ + 1);
        ::close(fd);
        fd = other;
    }
    if (fd >= 0) {
        files_.push_back(fd);
    }
    return fd;
}

ssize_t VirtualPlatform::write(int fd, const void *buf, size_t count) {
    if (std::find(files_.begin(), files_.end(), fd) == files_.end()) {
        errno = EBADF;
        return -1;
    }
    return ::write(fd, buf, count);
}

int VirtualPlatform::close(int fd) {
    const auto it = std::find(files_.begin(), files_.end(), fd);
    if (it == files_.end()) {
        errno = EBADF;
        return -1;
    }
    files_.erase(it);
    return ::close(fd);
}

int VirtualPlatform::ioctl(int fd, unsigned long request, void *arg) {
    if (fd != descriptor_ || fd < 0) {
        errno = EBADF;
        return -1;
    }
    return card_.ioctl(request, arg);
}

void VirtualPlatform::advance(uint64_t usec) {
    clock_usec_ += usec;
    slept_usec_ += usec;
}

int VirtualPlatform::usleep(unsigned int usec) {
    usleeps_.push_back(usec);
    advance(usec);
    return 0;
}

unsigned int VirtualPlatform::sleep(unsigned int seconds) {
    sleeps_.push_back(seconds);
    advance(uint64_t{seconds} * kMicro);
    return 0;
}

void VirtualPlatform::clear_sleeps() {
    usleeps_.clear();
    sleeps_.clear();
    slept_usec_ = 0;
}

void VirtualPlatform::set_time(long seconds, long usec) {
    clock_usec_ = static_cast<uint64_t>(seconds) * kMicro + static_cast<uint64_t>(usec);
}

struct timeval VirtualPlatform::now() const {
    struct timeval tv {};
    tv.tv_sec = static_cast<time_t>(clock_usec_ / kMicro);
    tv.tv_usec = static_cast<suseconds_t>(clock_usec_ % kMicro);
    return tv;
}

int VirtualPlatform::gettimeofday(struct timeval *tv) {
    if (tv == nullptr) {
        errno = EFAULT;
        return -1;
    }
    *tv = now();
    return 0;
}

int VirtualPlatform::access(const char *path, int mode) {
    if (path == nullptr) {
        errno = EFAULT;
        return -1;
    }
    return ::access(map_path(path).c_str(), mode);
}

FILE *VirtualPlatform::fopen(const char *path, const char *mode) {
    if (path == nullptr || mode == nullptr) {
        errno = EFAULT;
        return nullptr;
    }
    return std::fopen(map_path(path).c_str(), mode);
}

const char *VirtualPlatform::resolve(const char *path) {
    if (path == nullptr) {
        return nullptr;
    }
    map_path(path, resolved_);
    return resolved_.c_str();
}

int VirtualPlatform::led_set(void *request) {
    if (request == nullptr) {
        return -1;
    }
    std::array<int, 3> words;
    std::memcpy(words.data(), request, sizeof words);
    led_requests_.push_back(words);
    return 0;
}

// ---- sandbox ----------------------------------------------------------------

void prepare_sandbox(const std::string &sandbox, const std::string &config) {
    namespace fs = std::filesystem;
    for (const char *fixed : {SIMCARD_PATH_CONFIG, SIMCARD_PATH_LOG, SIMCARD_PATH_MEMDUMP}) {
        fs::create_directories(fs::path(sandbox + fixed).parent_path());
    }
    if (config.empty()) {
        return;
    }
    if (!fs::exists(config)) {
        throw std::runtime_error("cannot read configuration document " + config);
    }
    fs::copy_file(config, sandbox + SIMCARD_PATH_CONFIG, fs::copy_options::overwrite_existing);
}

ScopedSandbox::ScopedSandbox() {
    std::error_code ec;
    std::filesystem::path base = std::filesystem::temp_directory_path(ec);
    if (ec) {
        base = "/tmp";
    }
    std::string pattern = (base / "simcard-sandbox-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
    }
    path_ = pattern;
}

ScopedSandbox::~ScopedSandbox() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string ScopedSandbox::path(std::string_view relative) const {
    while (!relative.empty() && relative.front() == '/') {
        relative.remove_prefix(1);
    }
    return path_ + "/" + std::string(relative);
}

void ScopedSandbox::make_dirs(std::string_view relative) const {
    std::filesystem::create_directories(path(relative));
}

void ScopedSandbox::write_file(std::string_view relative, std::string_view contents) const {
    const std::filesystem::path target = path(relative);
    std::filesystem::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!out) {
        throw std::runtime_error("cannot write " + target.string());
    }
}

std::string ScopedSandbox::read_file(std::string_view relative) const {
    std::ifstream in(path(relative), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool ScopedSandbox::exists(std::string_view relative) const {
    std::error_code ec;
    return std::filesystem::exists(path(relative), ec);
}

}  // namespace simcard::vcard
