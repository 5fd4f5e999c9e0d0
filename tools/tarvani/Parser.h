#pragma once
// From the arguments to the work: what is declared is the table of the subcommands, and what is wrong with the
// arguments is said in one line.
#include <string>
#include <vector>

namespace CLI {
class App;
}

// Declares the options that stand before any subcommand.
void declareOwnOptions(CLI::App& root);
// Reads the arguments, the last one first, and does what they ask for. Gives the exit status. Throws Failure.
int runCommand(std::vector<std::string> arguments);
// What is to be said of words that name no subcommand, each in its place behind the one before.
std::string noSubcommand(const std::vector<std::string>& words);
