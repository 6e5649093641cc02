#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace simcard::testing {
namespace {

void close_fd(int &fd) {
    if (fd >= 0) {
        ::close(fd);
        fd = -1;
    }
}

[[noreturn]] void exec_child(const std::vector<std::string> &argv,
                             const std::vector<std::string> &env) {
    for (const std::string &entry : env) {
        const size_t eq = entry.find('=');
        if (eq == std::string::npos) {
            unsetenv(entry.c_str());
        } else {
            setenv(entry.substr(0, eq).c_str(), entry.c_str() + eq + 1, 1);
        }
    }
    std::vector<char *> args;
    for (const std::string &a : argv) {
        args.push_back(const_cast<char *>(a.c_str()));
    }
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
}

}  // namespace

Process::Process(const std::vector<std::string> &argv, const std::vector<std::string> &env) {
    // A child that ends before reading its input must not end the test too.
    std::signal(SIGPIPE, SIG_IGN);
    int in[2];
    int out[2];
    int err[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe");
    }
    pid_ = fork();
    if (pid_ < 0) {
        throw std::runtime_error("fork");
    }
    if (pid_ == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        exec_child(argv, env);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    in_ = in[1];
    out_ = out[0];
    err_ = err[0];
}

Process::~Process() {
    if (pid_ > 0) {
        kill(SIGKILL);
        finish();
    }
}

void Process::write(std::string_view input) {
    while (!input.empty()) {
        const ssize_t n = ::write(in_, input.data(), input.size());
        if (n <= 0) {
            return;  // the child has stopped reading
        }
        input.remove_prefix(static_cast<size_t>(n));
    }
}

// Both outputs at once, so that neither pipe fills while the other is read.
bool Process::read_some() {
    pollfd fds[2] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
    if (out_ < 0 && err_ < 0) {
        return false;
    }
    if (poll(fds, 2, -1) < 0) {
        return true;
    }
    std::string *texts[2] = {&result_.out, &result_.err};
    int *ends[2] = {&out_, &err_};
    for (int i = 0; i < 2; ++i) {
        if (fds[i].revents == 0) {
            continue;
        }
        char buf[4096];
        const ssize_t n = ::read(*ends[i], buf, sizeof buf);
        if (n > 0) {
            texts[i]->append(buf, static_cast<size_t>(n));
        } else {
            close_fd(*ends[i]);
        }
    }
    return true;
}

bool Process::read_until(const std::string &output, std::string_view text) {
    while (output.find(text) == std::string::npos) {
        if (!read_some()) {
            return false;
        }
    }
    return true;
}

bool Process::read_until(std::string_view text) { return read_until(result_.out, text); }

bool Process::read_err_until(std::string_view text) { return read_until(result_.err, text); }

void Process::kill(int sig) {
    if (pid_ > 0) {
        ::kill(pid_, sig);
    }
}

ProcessResult Process::finish() {
    close_fd(in_);
    while (read_some()) {
    }
    int status = 0;
    if (pid_ > 0 && waitpid(pid_, &status, 0) == pid_) {
        result_.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    pid_ = -1;
    return result_;
}

ProcessResult run(const std::vector<std::string> &argv, const std::vector<std::string> &env,
                  std::string_view input) {
    Process process(argv, env);
    process.write(input);
    return process.finish();
}

std::string file_text(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace simcard::testing
