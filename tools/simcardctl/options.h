// The command line of simcardctl: options (getopt_long) and commands joined
// by "--".
#ifndef SIMCARD_TOOLS_SIMCARDCTL_OPTIONS_H
#define SIMCARD_TOOLS_SIMCARDCTL_OPTIONS_H

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace simcard::tool {

// Wrong words on the command line.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A command that could not be carried out.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class Trace { Off, Lines, Hex };

// One command: its words (the name, "card" with its subcommand, operands)
// and the options that belong to it.
struct Command {
    std::vector<std::string> words;
    bool values_only = false;  // get -v
    bool json = false;         // get, tree, card ls
    bool hex = false;          // card cat
    // The name: "get", ..., or "card ls" and so on.
    std::string name() const;
    // The operands after the name.
    std::vector<std::string> operands() const;
};

struct Options {
    std::optional<std::string> image;
    std::optional<std::string> config;
    std::optional<std::string> sandbox;
    std::optional<std::string> pcap;
    Trace trace = Trace::Off;
    bool quiet = false;
    bool force = false;
    bool help = false;
    bool version = false;
    std::vector<Command> commands;
};

// Throws UsageError with a one-line reason.
Options parse_options(int argc, char **argv);

// The full help text.
extern const char *const kHelp;

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_OPTIONS_H
