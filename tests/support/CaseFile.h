#pragma once
// Cases as data: files, what is done with them, and exactly what comes of it. CASES tells how a file of cases is
// written. A test that uses it has support/CaseFile.cpp among its sources, and TARVANI_CASES for the directory of its
// files.
//
//     expectCases("macros", [](const CaseRun& run) { return difference(run.lines("expect"), outputOf(run)); });
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Spelling.h"

using Lines = std::vector<std::string>;

struct Case {
    struct Part {
        std::string kind, value;
        Lines lines;
    };
    std::string title;
    std::vector<Part> scene;                              // "--- KIND: VALUE" and what follows, in the file's spelling
    std::vector<std::pair<std::string, Lines>> expected;  // "--- NAME" and what follows, likewise

    // The lines of an expected section, none if there is no such section.
    Lines section(std::string_view name) const;
};

// The cases of GROUP.cases. What stands in front of the first is for its readers.
std::vector<Case> readCases(const std::string& group);

// A case with its files written and its spelling undone.
struct CaseRun {
    const Case& source;
    std::string directory;  // of the files; the current directory is another one
    std::string mainFile;   // the absolute path of the first file
    std::vector<std::string> options;
    bool hasOptions = false;

    // The lines of a section as text, each with its newline unless it is marked.
    Lines lines(std::string_view section) const;
};

std::vector<std::string> splitWords(const std::string& text);
// The lines of a stream, each with a newline.
Lines linesOf(std::istream&& in);
// What differs between two lists of lines, empty if nothing does.
std::string difference(const Lines& expected, const Lines& found);

// Runs `check` for a case in a process of its own, so that neither its variables nor what a process remembers go on to
// the next, with the standard error stream compared as well. Gives what is wrong, empty if nothing is. `check` gives
// that for the case itself.
using Check = std::function<std::string(const CaseRun&)>;
std::string runCase(const Case& c, const Check& check);
// Runs the cases of a group.
void expectCases(const std::string& group, const Check& check);

// The verb of a step. One that was compared with no word that it equals is a mistake in the case.
class Verb {
public:
    explicit Verb(std::string word) : word_(std::move(word)) {}
    bool operator==(std::string_view word) const { return word_ == word && (isKnown_ = true); }
    bool isKnown() const { return isKnown_; }

private:
    std::string word_;
    mutable bool isKnown_ = false;
};

// What differs in the section "steps", a transcript: behind a line "> VERB REST" stand the lines that `step` gives for
// it.
std::string runSteps(const CaseRun& run, const std::function<Lines(const Verb& verb, const std::string& rest)>& step);

// What a step gives that has one thing to show.
inline Lines shown(const std::string& text) {
    return {text + "\n"};
}
inline Lines shown(int number) {
    return shown(std::to_string(number));
}

// The objects of a transcript, and the one that its steps are about.
template <class T>
struct Objects {
    std::vector<std::unique_ptr<T>> all;
    T* current = nullptr;

    void add(std::unique_ptr<T> object) { current = all.emplace_back(std::move(object)).get(); }
    Lines step(const Verb& verb, const std::string& rest) {
        if (verb == "copy") add(std::make_unique<T>(*current));
        if (verb == "assign") *current = *all.at(std::stoul(rest));
        if (verb == "use") current = all.at(std::stoul(rest)).get();
        return {};
    }
};
