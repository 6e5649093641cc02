// The commands of simcardctl, each through the library's C interface alone.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_COMMANDS_H
#define SIMCARD_TOOLS_SIMCARDCTL_COMMANDS_H

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace simcard::tool {

// Wrong words on the command line: usage follows.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A command that could not be carried out.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One library session: commands share the library's state.
class Session {
public:
    explicit Session(FILE *out) : out_(out) {}
    void run(const std::vector<std::string> &args);

private:
    void init();
    void open_card();
    void get(const std::vector<std::string> &paths);
    void set(const std::string &path, const std::string &value);
    void add(const std::string &path, int instance);
    void del(const std::string &path, int instance);
    void sync();
    void restore();
    void first_online();
    void dump();
    void tree();
    void card(const std::vector<std::string> &args);

    FILE *out_;
    bool inited_ = false;
    bool card_open_ = false;
};

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_COMMANDS_H
