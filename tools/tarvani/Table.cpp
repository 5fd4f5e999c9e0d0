// The table of the subcommands.
#include "Command.h"

std::span<const CommandGroup> commandTable() {
    static const CommandGroup kGroups[] = {
        {"Files and sections", nullptr, nullptr, kStreamCommands},
        {"Files and sections", nullptr, nullptr, kListingCommands},
        {"Containers", "index", "Make, list, change and mend containers", kIndexCommands},
        {"Search paths", nullptr, nullptr, kPathCommands},
        {"Search paths", nullptr, nullptr, kPathFileCommands},
        {"Search paths", nullptr, nullptr, kPluginCommands},
        {"Text", nullptr, nullptr, kPreprocessCommands},
        {"Text", nullptr, nullptr, kRendererCommands},
        {"Others", nullptr, nullptr, kListenCommands},
        {"Others", "recent", "List and change the user's recent files", kRecentCommands},
        {"Others", nullptr, nullptr, kHelpCommands},
    };
    return kGroups;
}
