#pragma once
// How the data of tests spells what can't stand in a line: CASES tells the spelling.
#include <string>
#include <string_view>

// The text that is spelled so: escapes undone, @DIR@ replaced, repetitions made, in copy `number` of a line.
std::string spelledOut(std::string_view text, const std::string& directory = "", int number = 0);
