#pragma once
// What the command takes, told from what the parser is told: the help, the manual page and the completions are written
// from this alone.
#include <string>
#include <string_view>
#include <vector>

// An option, or an argument that is known by its place.
struct ArgumentInfo {
    std::vector<std::string> names;  // of an option, such as "-d" and "--description"; else none
    std::string value;               // the word for what is given, such as "FILE"; empty for a flag
    std::string help;
    bool isRequired;
    bool isRepeated;  // takes as many as there are
};

// "-d, --description TEXT", and "FILE" in the brackets and with the dots that tell how many there may be.
std::string optionTitle(const ArgumentInfo& option);
std::string argumentTitle(const ArgumentInfo& argument);

// What a value stands for, and so what the shells offer for it.
enum class ValueKind { Other, Path, Directory, Section, RecentType, Program, Shell, Subcommand };
ValueKind kindOf(const ArgumentInfo& argument);

struct ExampleInfo {
    std::string line;
    std::string purpose;  // may be empty
};

struct CommandInfo {
    std::string words;  // "index add"; empty for the command as a whole
    std::string heading, summary, details, status;
    std::vector<ArgumentInfo> options, arguments;
    std::vector<ExampleInfo> examples;
    std::vector<CommandInfo> subcommands;

    // The subcommand of that last word, null if there is none.
    const CommandInfo* find(std::string_view word) const;
    // "tarvani index add [OPTION]... FILE NAME SOURCE".
    std::string usage() const;
};

// Calls `use` with each subcommand, groups before what is in them, and before all with the command as a whole.
template <class Use>
void forEachCommand(const CommandInfo& command, Use use) {
    use(command);
    for (const CommandInfo& subcommand : command.subcommands) forEachCommand(subcommand, use);
}

// The command as a whole.
CommandInfo describeAll();
// The subcommand of these words, which must be there.
CommandInfo describe(const std::vector<std::string>& words);

// The version of the library that it is built for, such as "10.0.401".
std::string commandVersion();
