// The completions for zsh: one function for each subcommand, in the words of _arguments.
#include "Completions.h"
#include "Describe.h"

namespace {

constexpr const char* kHead = R"sh(#compdef tarvani
# Completions of tarvani(1) for zsh, made by "tarvani help --completion zsh".

_tarvani_path() {
    if [[ $PREFIX == *\?* ]]; then
        local -a names=(${(f)"$(tarvani ls -- ${(Q)PREFIX%\?*} 2>/dev/null)"})
        compset -P '*\?'
        compadd -- ${names%/}
    else
        _files -q
    fi
}

# The sections of the container that is the first argument.
_tarvani_sections() {
    local -a names=(${(f)"$(tarvani ls -- ${(Q)line[1]} 2>/dev/null)"})
    compadd -- ${names%/}
}

_tarvani_types() {
    local -a names=(${(f)"$(tarvani recent types 2>/dev/null)"})
    compadd -a -- names
}

)sh";

// A text for the brackets of an entry in single quotes.
std::string quoted(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else if (c == '[' || c == ']' || c == ':' || c == '\\')
            out += {'\\', c};
        else
            out += c;
    }
    return out;
}

std::string functionFor(const CommandInfo& command) {
    std::string name = "_tarvani" + (command.words.empty() ? "" : "_" + command.words);
    for (char& c : name)
        if (c == ' ') c = '_';
    return name;
}

std::string actionFor(const ArgumentInfo& argument) {
    switch (kindOf(argument)) {
        case ValueKind::Path:
            return "_tarvani_path";
        case ValueKind::Directory:
            return "_files -/";
        case ValueKind::Section:
            return "_tarvani_sections";
        case ValueKind::RecentType:
            return "_tarvani_types";
        case ValueKind::Program:
            return "_normal";
        case ValueKind::Shell:
            return "(bash zsh fish)";
        case ValueKind::Subcommand:
            return "_tarvani_topics";
        case ValueKind::Other:
            break;
    }
    return "";
}

// ":FILE:_tarvani_path"; for a program it takes the rest of the line.
std::string valueEntry(const ArgumentInfo& argument) {
    const char* const colon = kindOf(argument) == ValueKind::Program ? ":*::" : ":";
    return argument.value.empty() ? "" : colon + quoted(argument.value) + ":" + actionFor(argument);
}

std::string optionEntries(const ArgumentInfo& option) {
    const std::string exclusion = option.names.size() > 1 ? "(" + inOneLine(option.names) + ")" : "";
    const std::string begin = " \\\n        '" + exclusion;
    const std::string end = "[" + quoted(option.help) + "]" + valueEntry(option) + "'";
    std::string entries;
    for (const std::string& name : option.names) entries.append(begin).append(name).append(end);
    return entries;
}

// A function that offers the subcommands, and behind one calls its own.
std::string choice(const CommandInfo& command) {
    std::string list, cases;
    for (const CommandInfo& subcommand : command.subcommands) {
        const std::string word = subcommand.words.substr(subcommand.words.rfind(' ') + 1);
        list += "        '" + word + ":" + quoted(subcommand.summary) + "'\n";
        cases += "        " + word + ") " + functionFor(subcommand) + " ;;\n";
    }
    const std::string name = functionFor(command);
    return name + "_subcommands() {\n    local -a list=(\n" + list +
           "    )\n    _describe -t commands subcommand list\n}\n\n" + name + "() {\n    local context state line\n" +
           "    typeset -A opt_args\n    _arguments -C" +
           [&] {
               std::string entries;
               for (const ArgumentInfo& option : command.options) entries += optionEntries(option);
               return entries;
           }() +
           " \\\n        '1:subcommand:" + name + "_subcommands' '*::argument:->argument' && return\n" +
           "    [[ $state == argument ]] || return 1\n    local curcontext=\"${curcontext%:*}-$words[1]:\"\n" +
           "    case $words[1] in\n" + cases + "    esac\n}\n\n";
}

std::string leaf(const CommandInfo& command) {
    std::string text =
        functionFor(command) + "() {\n    local context state line\n    typeset -A opt_args\n    _arguments -S";
    for (const ArgumentInfo& option : command.options) text += optionEntries(option);
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const ArgumentInfo& argument = command.arguments[i];
        const std::string place = argument.isRepeated ? "*" : std::to_string(i + 1);
        text += " \\\n        '" + place + (argument.isRequired || argument.isRepeated ? "" : ":") +
                valueEntry(argument) + "'";
    }
    return text + "\n}\n\n";
}

}  // namespace

std::string zshCompletions(const CommandInfo& all) {
    std::string text = kHead;
    std::string topics;
    forEachCommand(all, [&](const CommandInfo& command) {
        text += command.subcommands.empty() ? leaf(command) : choice(command);
        if (!command.subcommands.empty() && !command.words.empty())
            topics += "        " + command.words + ") " + functionFor(command) + "_subcommands ;;\n";
    });
    text += "# What \"help\" explains.\n_tarvani_topics() {\n    case ${line[1]} in\n" + topics +
            "        *) _tarvani_subcommands ;;\n    esac\n}\n\n";
    return text + "_tarvani \"$@\"\n";
}
