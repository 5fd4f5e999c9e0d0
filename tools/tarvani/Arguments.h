#pragma once
// Arguments as the subcommands declare them. All texts are taken as they stand: names of files may look like
// anything. The name of an option is followed by a word for its value, as in "-d TEXT".
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Console.h"

namespace CLI {
class App;
}

// The arguments behind the program's name, for the parser, which wants the last first. Those behind the "--exec" of
// "listen" are words of that option, whatever they look like, and those behind "--" are no options. Words may bear a
// mark.
std::vector<std::string> plainArguments(int argc, char** argv);
// The word without it.
std::string unmarked(const std::string& text);

// A place for what an argument says, shared by the parser and the action.
template <class T>
using Given = std::shared_ptr<T>;

// A text that must be there.
Given<std::string> addText(CLI::App& app, const char* name, const char* help);
// A text that may be there: then it is the one element.
Given<std::vector<std::string>> addOptionalText(CLI::App& app, const char* name, const char* help);
// Texts, at least `fewest`, as many as there are.
Given<std::vector<std::string>> addTexts(CLI::App& app, const char* name, int fewest, const char* help);
// The words of another program: all that stand behind the option.
Given<std::vector<std::string>> addProgram(CLI::App& app, const char* name, const char* help);
// A number from `least` to `most`.
Given<int> addNumber(CLI::App& app, const char* name, int least, int most, const char* help);
// Options that are handed on as words, in the order in which they were given, each value a word of its own.
struct Letter {
    const char* name;  // "-P", or "-D TEXT" for one with a value, which must be a number if it is called NUMBER
    const char* help;
};
Given<std::vector<std::string>> addLetters(CLI::App& app, std::span<const Letter> letters);
Given<bool> addFlag(CLI::App& app, const char* name, const char* help);
// The option `name` must be given along with nothing else of its kind; its value is a number in a range, else
// `standard`.
Given<int> addNumberOption(CLI::App& app, const char* name, int least, int most, int standard, const char* help);
// What the arguments of a subcommand must agree on: `mistake` says what is wrong with them, or nothing.
void addRule(CLI::App& app, const std::function<std::string()>& mistake);

// Does the work for each path, also when it fails for some. Gives the exit status.
int forEach(const std::vector<std::string>& paths, const std::function<void(const std::string&)>& work);
