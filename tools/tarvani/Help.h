#pragma once
// How help looks.
#include <memory>
#include <string>
#include <string_view>

namespace CLI {
class App;
class FormatterBase;
}  // namespace CLI

// Lines of at most 80 characters; an argument that may be left out stands in brackets, one that may come again has
// dots.
std::shared_ptr<CLI::FormatterBase> makeHelpFormatter();
// The examples, one a line, indented below a heading.
std::string examplesText(std::string_view examples);
// Prints the help of a subcommand. `line` is what stands in front of its name, such as "tarvani index".
void printHelp(const CLI::App& app, const std::string& line);
