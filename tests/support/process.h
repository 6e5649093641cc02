// A program run as a child process, as a user runs it: arguments, additions
// to the environment and standard input in; standard output, standard error
// and the exit status out.
#ifndef SIMCARD_TESTS_SUPPORT_PROCESS_H
#define SIMCARD_TESTS_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace simcard::testing {

struct ProcessResult {
    int status = -1;  // the exit status; -1 when a signal ended the process
    std::string out;
    std::string err;
};

class Process {
public:
    // Starts argv[0]. Each entry of env is "NAME=VALUE" to set or "NAME" to
    // remove from the environment the child inherits.
    explicit Process(const std::vector<std::string> &argv,
                     const std::vector<std::string> &env = {});
    ~Process();  // a child still running is killed
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    void write(std::string_view input);
    // Reads until standard output holds `text`; false when it ended first.
    bool read_until(std::string_view text);
    // The same for standard error.
    bool read_err_until(std::string_view text);
    // What both outputs held so far.
    const ProcessResult &so_far() const { return result_; }
    void kill(int sig);
    // Closes standard input, reads both outputs to their end and reaps.
    ProcessResult finish();

private:
    bool read_some();  // false once both outputs have ended
    bool read_until(const std::string &output, std::string_view text);

    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
    int err_ = -1;
    ProcessResult result_;
};

// A file a program left, as text; empty when it cannot be read.
std::string file_text(const std::string &path);

// Runs to the end with `input` on standard input.
ProcessResult run(const std::vector<std::string> &argv, const std::vector<std::string> &env = {},
                  std::string_view input = {});

}  // namespace simcard::testing

#endif  // SIMCARD_TESTS_SUPPORT_PROCESS_H
