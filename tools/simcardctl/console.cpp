#include "tools/simcardctl/console.h"

#include <unistd.h>

#include <stdexcept>

#include "tools/simcardctl/text.h"

namespace simcard::tool {

Console::Console(bool quiet) : quiet_(quiet) {
    std::fflush(stdout);
    saved_stdout_ = dup(STDOUT_FILENO);
    const int results = dup(STDOUT_FILENO);
    results_ = results >= 0 ? fdopen(results, "w") : nullptr;
    capture_ = std::tmpfile();
    if (saved_stdout_ < 0 || results_ == nullptr || capture_ == nullptr ||
        dup2(fileno(capture_), STDOUT_FILENO) < 0) {
        throw std::runtime_error("cannot take over standard output");
    }
}

Console::~Console() {
    pump();
    if (!partial_.empty()) {
        partial_ += '\n';
        take(true);
    }
    std::fflush(stdout);
    dup2(saved_stdout_, STDOUT_FILENO);
    close(saved_stdout_);
    std::fclose(capture_);
    std::fclose(results_);
}

void Console::take(bool keep) {
    std::fflush(stdout);
    char buf[4096];
    ssize_t n;
    while ((n = pread(fileno(capture_), buf, sizeof buf, read_at_)) > 0) {
        read_at_ += n;
        partial_.append(buf, static_cast<size_t>(n));
    }
    size_t end;
    while ((end = partial_.find('\n')) != std::string::npos) {
        const std::string line = partial_.substr(0, end);
        partial_.erase(0, end + 1);
        if (!keep) continue;
        lines_.push_back(line);
        if (!quiet_) {
            std::fprintf(stderr, "%s\n", printable(line).c_str());
        }
    }
    if (!keep) partial_.clear();
    std::fflush(stderr);
}

void Console::pump() { take(true); }

void Console::drop() { take(false); }

size_t Console::mark() {
    pump();
    return lines_.size();
}

std::vector<std::string> Console::since(size_t mark) {
    pump();
    return {lines_.begin() + static_cast<long>(mark), lines_.end()};
}

}  // namespace simcard::tool
