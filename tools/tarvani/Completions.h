#pragma once
// The scripts by which shells complete the command's words: subcommands, options, files, and the sections behind "?".
#include <string>

struct CommandInfo;

// The script for "bash", "zsh" or "fish"; empty for another shell.
std::string completionsFor(const std::string& shell, const CommandInfo& all);

// Each in the source of its name.
std::string bashCompletions(const CommandInfo& all);
std::string zshCompletions(const CommandInfo& all);
std::string fishCompletions(const CommandInfo& all);

// The words of `texts` with blanks between them.
template <class Texts>
std::string inOneLine(const Texts& texts) {
    std::string line;
    for (const std::string& text : texts) line += (line.empty() ? "" : " ") + text;
    return line;
}
