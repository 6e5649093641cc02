// The library's console: it prints on standard output, which simcardctl keeps
// for results. Its lines are caught, kept for the reports, and passed on to
// standard error (made printable) unless the user asked for quiet.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_CONSOLE_H
#define SIMCARD_TOOLS_SIMCARDCTL_CONSOLE_H

#include <cstdio>
#include <string>
#include <vector>

namespace simcard::tool {

class Console {
public:
    explicit Console(bool quiet);
    ~Console();  // passes on the rest and gives standard output back
    Console(const Console &) = delete;
    Console &operator=(const Console &) = delete;

    // Where results go: the process's standard output.
    FILE *results() const { return results_; }
    bool quiet() const { return quiet_; }

    // Takes in what the library printed since the last call.
    void pump();
    // Takes it in and throws it away: the noise of a probe.
    void drop();
    // A position in the lines, and the lines printed since one.
    size_t mark();
    std::vector<std::string> since(size_t mark);

private:
    void take(bool keep);

    bool quiet_;
    FILE *results_ = nullptr;
    FILE *capture_ = nullptr;
    int saved_stdout_ = -1;
    long read_at_ = 0;
    std::string partial_;
    std::vector<std::string> lines_;
};

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_CONSOLE_H
