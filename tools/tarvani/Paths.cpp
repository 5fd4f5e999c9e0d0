// where and paths.
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Json.h"
#include "KnownPath.h"

namespace {

int where(const std::string& name, int number, bool all, bool asJson) {
    const auto known = static_cast<UT_KnownPath>(number);
    const UT_PathSearch& path = *UT_PathSearch::getInstance(known);
    UT_StringArray found;
    UT_String first;
    if (all)
        path.findAllFiles(name.c_str(), found);
    else if (path.findFile(first, name.c_str()))
        found.append(first);
    if (found.isEmpty()) throw Failure{name, "not found in " + whereLooked(known)};
    auto json = nlohmann::ordered_json::array();
    for (const UT_String& file : found) {
        if (asJson) {
            json.push_back(file.view());
            continue;
        }
        standardOutput().writeName(file.view());
        standardOutput().write("\n");
    }
    if (asJson) writeJson(json);
    return 0;
}

void printPathsAsJson(const UT_String& home) {
    auto list = nlohmann::ordered_json::array();
    for (int i = 0; i < UT_PathSearch::kKnownPaths; ++i) {
        const auto known = static_cast<UT_KnownPath>(i);
        auto directories = nlohmann::ordered_json::array();
        for (const UT_String& directory : UT_PathSearch::getInstance(known)->expandedDirs)
            directories.push_back(directory.view());
        list.push_back(
            {{"number", i}, {"variable", UT_PathSearch::getVariable(known)}, {"directories", std::move(directories)}});
    }
    writeJson({{"home", home.view()}, {"paths", std::move(list)}});
}

int paths(bool asJson) {
    StandardOutput& out = standardOutput();
    UT_String home;
    UT_PathSearch::getHomeTarvani(home);
    if (asJson) {
        printPathsAsJson(home);
        return 0;
    }
    out.write("home: ");
    out.writeName(home.view());
    out.write("\n");
    for (int i = 0; i < UT_PathSearch::kKnownPaths; ++i) {
        const auto known = static_cast<UT_KnownPath>(i);
        out.writeNumber(i);
        out.write(std::string(" ") + UT_PathSearch::getVariable(known) + ": ");
        out.writeName(directoriesOf(known));
        out.write("\n");
    }
    return 0;
}

Action declareWhere(CLI::App& app) {
    const auto number = addPathOption(app);
    const auto all = addFlag(app, "--all", "every file of that name, in search order");
    const auto asJson = addFlag(app, "--json", "one array of names");
    const auto name = addText(app, "NAME", "a file name, with directories or without");
    return [=] { return where(*name, *number, *all, *asJson); };
}

Action declarePaths(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "one object with the directory and an array of the paths");
    return [=] { return paths(*asJson); };
}

constexpr Subcommand kCommands[] = {
    {"where", "Find a file along a known path",
     "tarvani where lights.inc\n"
     "tarvani where --path 1 --all fs/helper.dll",
     declareWhere, "", "0 found, 1 not found, 2 wrong usage"},
    {"paths", "Print the known paths and the user's directory",
     "tarvani paths\n"
     "tarvani paths --json",
     declarePaths, "Each known path is named by its number and the variable that sets it."},
};

}  // namespace

const std::span<const Subcommand> kPathCommands = kCommands;
