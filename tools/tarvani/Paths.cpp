// where and paths.
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"

namespace {

std::string directoriesOf(const UT_PathSearch& path) {
    std::string text;
    for (const UT_String& directory : path.expandedDirs) {
        if (!text.empty()) text += ':';
        text += directory.view();
    }
    return text;
}

int where(const std::string& name, int number, bool all) {
    const auto known = static_cast<UT_KnownPath>(number);
    const UT_PathSearch& path = *UT_PathSearch::getInstance(known);
    UT_StringArray found;
    UT_String first;
    if (all)
        path.findAllFiles(name.c_str(), found);
    else if (path.findFile(first, name.c_str()))
        found.append(first);
    if (found.isEmpty()) {
        const std::string directories = directoriesOf(path);
        throw Failure{name, "not found in " + (directories.empty() ? "a path without directories" : directories) +
                                " (set " + UT_PathSearch::getVariable(known) + " to look elsewhere)"};
    }
    for (const UT_String& file : found) {
        standardOutput().writeName(file.view());
        standardOutput().write("\n");
    }
    return 0;
}

int paths() {
    StandardOutput& out = standardOutput();
    UT_String home;
    UT_PathSearch::getHomeTarvani(home);
    out.write("home: ");
    out.writeName(home.view());
    out.write("\n");
    for (int i = 0; i < UT_PathSearch::kKnownPaths; ++i) {
        const auto known = static_cast<UT_KnownPath>(i);
        out.writeNumber(i);
        out.write(std::string(" ") + UT_PathSearch::getVariable(known) + ": ");
        out.writeName(directoriesOf(*UT_PathSearch::getInstance(known)));
        out.write("\n");
    }
    return 0;
}

Action declareWhere(CLI::App& app) {
    const auto number = addNumberOption(app, "--path N", 0, UT_PathSearch::kKnownPaths - 1, UT_PATH_DEFAULT,
                                        "the known path to look along, 0 if not given; see \"tarvani paths\"");
    const auto all = addFlag(app, "--all", "every file of that name, in search order");
    const auto name = addText(app, "NAME", "a file name, with directories or without");
    return [=] { return where(*name, *number, *all); };
}

Action declarePaths(CLI::App&) {
    return paths;
}

constexpr Subcommand kCommands[] = {
    {"where", "Find a file along a known path",
     "tarvani where lights.inc\n"
     "tarvani where --path 1 --all fs/helper.dll",
     declareWhere},
    {"paths", "Print the home directory and the known paths, with the variables that set them", "tarvani paths",
     declarePaths},
};

}  // namespace

const std::span<const Subcommand> kPathCommands = kCommands;
