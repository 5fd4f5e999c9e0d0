#pragma once
// Sources for the preprocessor and the exact output of each, as data (cases/README tells how a file is written).
//
//     for (const Case& c : readCases("macros")) {
//         const std::string fault = runCase(c, [](const CaseRun& run) { return difference(outputOf(run), ...); });
//         EXPECT_EQ(fault, "") << c.title;
//     }
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct Case {
    struct Part {
        std::string kind, value;
        std::vector<std::string> lines;
    };
    std::string title;
    std::vector<Part> scene;  // "--- KIND: VALUE" and what follows, in the file's spelling
    std::vector<std::pair<std::string, std::vector<std::string>>> expected;  // "--- NAME" and what follows, likewise

    // The lines of an expected section, none if there is no such section.
    std::vector<std::string> section(std::string_view name) const;
};

// The cases of cases/GROUP.cases.
std::vector<Case> readCases(const std::string& group);
// The lines of a file in cases/.
std::vector<std::string> readCaseLines(const std::string& name);

// A case with its files written and its spelling undone.
struct CaseRun {
    const Case& source;
    std::string directory;  // of the files; the current directory is another one
    std::string mainFile;   // the absolute path of the first file
    std::vector<std::string> options;
    bool hasOptions = false;

    // The lines of a section as text, each with its newline unless it is marked.
    std::vector<std::string> lines(std::string_view section) const;
};

// The text of one line of a case file: escapes undone, @DIR@ replaced, repetitions made.
std::string spelledOut(std::string_view text, const std::string& directory);
std::vector<std::string> splitWords(const std::string& text);
// What differs between two lists of lines, empty if nothing does.
std::string difference(const std::vector<std::string>& expected, const std::vector<std::string>& found);

// Runs `check` for a case in a process of its own, so that neither its variables nor what a process remembers go on to
// the next, with the standard error stream compared as well. Gives what is wrong, empty if nothing is. `check` gives
// that for the case itself.
std::string runCase(const Case& c, const std::function<std::string(const CaseRun&)>& check);
