// Keeping simcardctl from changing the card under a running gateway program,
// and its own invocations from running into each other.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_GUARD_H
#define SIMCARD_TOOLS_SIMCARDCTL_GUARD_H

#include <string>
#include <vector>

namespace simcard::tool {

// Other processes that hold `device` open, as "PID (NAME)". Processes whose
// descriptors cannot be read (another user's, without root) are not seen.
std::vector<std::string> holders_of(const std::string &device);

// An exclusive lock on a file (flock), held for the object's life. When
// another process holds it, says so on standard error and waits.
class Lock {
public:
    explicit Lock(const std::string &path);
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    int fd_;
};

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_GUARD_H
