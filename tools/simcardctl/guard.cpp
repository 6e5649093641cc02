#include "tools/simcardctl/guard.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace simcard::tool {

namespace fs = std::filesystem;

std::vector<std::string> holders_of(const std::string &device) {
    std::error_code ec;
    fs::path wanted = fs::weakly_canonical(device, ec);
    if (ec) wanted = device;
    const std::string self = std::to_string(getpid());
    std::vector<std::string> found;
    for (const auto &proc : fs::directory_iterator("/proc", ec)) {
        const std::string pid = proc.path().filename();
        if (pid.find_first_not_of("0123456789") != std::string::npos || pid == self) continue;
        std::error_code fd_ec;
        for (const auto &fd : fs::directory_iterator(proc.path() / "fd", fd_ec)) {
            std::error_code link_ec;
            const fs::path target = fs::read_symlink(fd.path(), link_ec);
            if (link_ec || (target != wanted && target != fs::path(device))) continue;
            std::string name;
            std::ifstream comm(proc.path() / "comm");
            std::getline(comm, name);
            found.push_back(pid + " (" + name + ")");
            break;
        }
    }
    return found;
}

Lock::Lock(const std::string &path)
    : fd_(open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0644)) {
    if (fd_ < 0) {
        throw std::runtime_error("cannot open the lock file " + path + ": " + std::strerror(errno));
    }
    if (flock(fd_, LOCK_EX | LOCK_NB) == 0) return;
    if (errno == EWOULDBLOCK) {
        std::fprintf(stderr, "simcardctl: waiting for another simcardctl (lock %s)\n",
                     path.c_str());
        if (flock(fd_, LOCK_EX) == 0) return;
    }
    const int error = errno;
    close(fd_);
    throw std::runtime_error("cannot lock " + path + ": " + std::strerror(error));
}

Lock::~Lock() { close(fd_); }

}  // namespace simcard::tool
