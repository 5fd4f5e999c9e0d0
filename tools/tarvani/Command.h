#pragma once
// A subcommand: its words for the help, and what its arguments are. The table of them all is what the parser, the help,
// its JSON, the manual page and the completions of the shells are made of.
#include <functional>
#include <span>

namespace CLI {
class App;
}

// What the arguments ask for; gives the exit status. Throws Failure.
using Action = std::function<int()>;

struct Subcommand {
    const char* name;
    const char* summary;   // a line of at most 56 characters
    const char* examples;  // one a line; behind "  # " stands what it does
    // Declares the arguments, and gives what is to be run once they have been read.
    Action (*declare)(CLI::App& app);
    const char* details = "";  // what more there is to say, in sentences
    const char* status = "0 done, 1 failed, 2 wrong usage";
};

// One array for each group, in the source of its name.
extern const std::span<const Subcommand> kStreamCommands;
extern const std::span<const Subcommand> kListingCommands;
extern const std::span<const Subcommand> kIndexCommands;
extern const std::span<const Subcommand> kListenCommands;
extern const std::span<const Subcommand> kPathCommands;
extern const std::span<const Subcommand> kPathFileCommands;
extern const std::span<const Subcommand> kPluginCommands;
extern const std::span<const Subcommand> kPreprocessCommands;
extern const std::span<const Subcommand> kRendererCommands;
extern const std::span<const Subcommand> kRecentCommands;
extern const std::span<const Subcommand> kHelpCommands;

struct CommandGroup {
    const char* heading;  // stands above them in the help; groups of one heading follow each other
    const char* name;     // the word that stands before theirs, such as "index"; null if they stand alone
    const char* summary;  // of that word
    const std::span<const Subcommand>& commands;
};

// The table of the subcommands, in the order of the help.
std::span<const CommandGroup> commandTable();

Action declareIndexCheck(CLI::App& app);
Action declareIndexCreate(CLI::App& app);
Action declareIndexExpand(CLI::App& app);
Action declareIndexCollapse(CLI::App& app);
Action declareIndexRecover(CLI::App& app);
