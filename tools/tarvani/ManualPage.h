#pragma once
// The manual page tarvani(1).
#include <string>

struct CommandInfo;

// Its source, in the macros of man(7). Its date is $SOURCE_DATE_EPOCH if that is set, so that a package built twice is
// the same, else today.
std::string manualPage(const CommandInfo& all);
