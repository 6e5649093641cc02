// The commands of simcardctl, each through the library's C interface.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_COMMANDS_H
#define SIMCARD_TOOLS_SIMCARDCTL_COMMANDS_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/simcardctl/console.h"
#include "tools/simcardctl/options.h"

namespace simcard::tool {

struct Setting {
    FILE *out;           // results
    Console &console;    // the library's lines
    bool force;          // values unchecked
    std::string log;     // the library's log file, as the system sees it
    std::string config;  // the configuration document, as the system sees it
    bool virtual_card;
};

// One library session: the commands of a line share the library's state.
class Session {
public:
    explicit Session(Setting setting);
    void run(const Command &command);
    // Ends the line: what it changed in memory and did not synchronise is
    // synchronised now.
    void finish();
    // After a failure: the files whose changes did not reach the card, when
    // no report named them yet.
    std::vector<std::string> unwritten() const;

private:
    void init();
    void open_card();
    // Explains a failed start: the library's lines, its log, a hint.
    [[noreturn]] void not_started(const std::string &what, size_t mark, const char *hint = nullptr);
    std::vector<std::string> log_lines_since(long offset) const;
    long log_size() const;

    void get(const Command &command);
    void set(const std::string &path, const std::string &value);
    void add(const std::string &path, int instance);
    void del(const std::string &path, int instance);
    void sync(bool automatic);
    void restore();
    void first_online();
    void dump();
    void tree(bool json);
    void paths();
    void card_ls(bool json);
    void card_cat(const std::string &file, bool hex);
    void card_reset(const std::vector<std::string> &files);
    void card_check(bool json);
    void card_repair(const std::vector<std::string> &files);
    void repair_file(uint16_t id);
    void card_apdu(const std::vector<std::string> &hex);

    Setting s_;
    long log_start_;
    bool inited_ = false;
    bool card_open_ = false;
    bool reported_ = false;
};

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_COMMANDS_H
