#pragma once
// A subcommand: its words for the help, and what its arguments are.
#include <functional>
#include <span>

namespace CLI {
class App;
}

// What the arguments ask for; gives the exit status. Throws Failure.
using Action = std::function<int()>;

struct Subcommand {
    const char* name;
    const char* summary;
    const char* examples;  // one a line
    // Declares the arguments, and gives what is to be run once they have been read.
    Action (*declare)(CLI::App& app);
};

// One table for each group, in the source of its name.
extern const std::span<const Subcommand> kStreamCommands;
extern const std::span<const Subcommand> kListingCommands;
extern const std::span<const Subcommand> kIndexCommands;  // below "index"
extern const std::span<const Subcommand> kListenCommands;
extern const std::span<const Subcommand> kPathCommands;
extern const std::span<const Subcommand> kPathFileCommands;
extern const std::span<const Subcommand> kPluginCommands;
extern const std::span<const Subcommand> kPreprocessCommands;
extern const std::span<const Subcommand> kRendererCommands;
extern const std::span<const Subcommand> kRecentCommands;  // below "recent"

Action declareIndexCreate(CLI::App& app);
Action declareIndexCheck(CLI::App& app);
Action declareIndexRecover(CLI::App& app);
Action declareIndexExpand(CLI::App& app);
Action declareIndexCollapse(CLI::App& app);
