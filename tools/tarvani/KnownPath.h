#pragma once
// Known paths by their numbers, as the subcommands take and tell them.
#include <string>

#include "Arguments.h"

// The option "--path N", for the number of one.
Given<int> addPathOption(CLI::App& app);
// "DIR:DIR".
std::string directoriesOf(int number);
// "DIR:DIR (set VARIABLE to look elsewhere)", for where something wasn't found.
std::string whereLooked(int number);
