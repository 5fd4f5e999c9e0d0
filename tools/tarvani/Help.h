#pragma once
// The help of a subcommand, as a person reads it.
#include <string>
#include <string_view>

struct CommandInfo;

// Prints it: lines of at most 80 characters, headings bold on a terminal.
void printHelp(const CommandInfo& command);
// Breaks a text at blanks into lines of at most `width` characters; all but the first begin with `indent` blanks more.
std::string wrapped(std::string_view text, std::size_t width, std::size_t indent = 0);
