#include "Completions.h"

#include "Describe.h"

std::string completionsFor(const std::string& shell, const CommandInfo& all) {
    if (shell == "bash") return bashCompletions(all);
    if (shell == "zsh") return zshCompletions(all);
    if (shell == "fish") return fishCompletions(all);
    return "";
}
