// The completions for fish.
#include "Completions.h"
#include "Describe.h"

namespace {

const std::string kHead = R"sh(# Completions of tarvani(1) for fish, made by "tarvani help --completion fish".

# __tarvani_at SUBCOMMAND [PLACE]: true behind that subcommand, and where the argument is the one of that number, counted
# from 0; "1+" is the second or a later one.
function __tarvani_at -a wanted place
    set -l words (commandline -opc)
    set -e words[1]
    set -l command
    set -l count 0
    set -l option
    for word in $words
        if test -n "$option"
            set option
        else if string match -q -- '-?*' $word
            contains -- "$command $word" $__tarvani_values; and set option $word
        else if test $count = 0; and contains -- (string trim -- "$command $word") $__tarvani_commands
            set command (string trim -- "$command $word")
        else
            set count (math $count + 1)
        end
    end
    test "$command" = "$wanted"; or return 1
    # Only an argument stands in a place, not the value of an option.
    test -z "$place"; and return 0
    test -z "$option"; or return 1
    switch $place
        case '*+'
            test $count -ge (string trim -r -c + -- $place)
        case '*'
            test $count -eq $place
    end
end

# The sections of the container before the last "?".
function __tarvani_paths
    set -l word (commandline -ct | string unescape)
    string match -q '*\?*' -- $word; or return 1
    set -l container (string replace -r '\?[^?]*$' '' -- $word)
    for name in (tarvani ls -- $container 2>/dev/null)
        echo $container'?'(string trim -r -c / -- $name)
    end
end

# The sections of the container that is the first argument of "tarvani index SUBCOMMAND".
function __tarvani_sections
    set -l words (commandline -opc | string match -v -- '-*')
    tarvani ls -- (string unescape -- $words[4]) 2>/dev/null | string trim -r -c /
end

# What "help" explains, behind the words that are there.
function __tarvani_topics
    set -l words (commandline -opc | string match -v -- '-*')
    set -l front (string join ' ' -- $words[3..] '')
    string replace -f -- "$front" '' $__tarvani_commands | string match -v '* *'
end

)sh";

// A text in single quotes.
std::string quoted(std::string_view text) {
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\') out += '\\';
        out += c;
    }
    return out + "'";
}

// What is offered for a value.
std::string offerFor(const ArgumentInfo& argument) {
    switch (kindOf(argument)) {
        case ValueKind::Path:
            return " -F -a '(__tarvani_paths)'";
        case ValueKind::Directory:
            return " -a '(__fish_complete_directories)'";
        case ValueKind::Section:
            return " -a '(__tarvani_sections)'";
        case ValueKind::RecentType:
            return " -a '(tarvani recent types 2>/dev/null)'";
        case ValueKind::Program:
            return " -F -a '(__fish_complete_command)'";
        case ValueKind::Shell:
            return " -a 'bash zsh fish'";
        case ValueKind::Subcommand:
            return " -a '(__tarvani_topics)'";
        case ValueKind::Other:
            break;
    }
    return "";
}

// The beginning of a line that holds behind a subcommand, at an argument if `place` says which.
std::string lineAt(const CommandInfo& command, const std::string& place = "") {
    return "complete -c tarvani -n \"__tarvani_at '" + command.words + "'" + (place.empty() ? "" : " " + place) + "\"";
}

std::string linesFor(const CommandInfo& command) {
    std::string text;
    for (const CommandInfo& subcommand : command.subcommands)
        text += lineAt(command, "0") + " -a " + subcommand.words.substr(subcommand.words.rfind(' ') + 1) + " -d " +
                quoted(subcommand.summary) + "\n";
    for (const ArgumentInfo& option : command.options) {
        text += lineAt(command);
        for (const std::string& name : option.names)
            text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        const bool takesFiles = offerFor(option).starts_with(" -F");
        if (!option.value.empty()) text += (takesFiles ? " -r" : " -x") + offerFor(option);
        text += " -d " + quoted(option.help) + "\n";
    }
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const ArgumentInfo& argument = command.arguments[i];
        const std::string offer = offerFor(argument);
        if (!offer.empty())
            text += lineAt(command, std::to_string(i) + (argument.isRepeated ? "+" : "")) + offer + "\n";
    }
    return text;
}

}  // namespace

std::string fishCompletions(const CommandInfo& all) {
    std::string commands, values, lines;
    forEachCommand(all, [&](const CommandInfo& command) {
        if (!command.words.empty()) commands += " " + quoted(command.words);
        for (const ArgumentInfo& option : command.options)
            for (const std::string& name : option.names)
                if (!option.value.empty()) values += " " + quoted(command.words + " " + name);
        lines += linesFor(command);
    });
    return kHead + ("set -g __tarvani_commands" + commands) + "\nset -g __tarvani_values" + values +
           "\n\ncomplete -c tarvani -f\n" + lines;
}
