#include "KnownPath.h"

#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>

Given<int> addPathOption(CLI::App& app) {
    return addNumberOption(app, "--path N", 0, UT_PathSearch::kKnownPaths - 1, UT_PATH_DEFAULT,
                           "the known path to look along, 0 if not given; see \"tarvani paths\"");
}

std::string directoriesOf(int number) {
    std::string text;
    for (const UT_String& directory : UT_PathSearch::getInstance(static_cast<UT_KnownPath>(number))->expandedDirs) {
        if (!text.empty()) text += ':';
        text += directory.view();
    }
    return text;
}

std::string whereLooked(int number) {
    const std::string directories = directoriesOf(number);
    return (directories.empty() ? "a path without directories" : directories) + " (set " +
           UT_PathSearch::getVariable(static_cast<UT_KnownPath>(number)) + " to look elsewhere)";
}
