// The completions for bash. They need nothing but bash itself.
#include "Completions.h"
#include "Describe.h"

namespace {

constexpr const char* kHead = R"sh(# Completions of tarvani(1) for bash, made by "tarvani help --completion bash".

# What a subcommand takes: its own subcommands, its options, those of them that have a value as NAME=KIND, and the kinds
# of its arguments, the last with a "*" if it may come again.
_tarvani_takes() {
    subcommands= options= values= arguments=
    case $1 in
)sh";

constexpr const char* kTail = R"sh(    esac
}

# Takes those lines of standard input that begin with $1, and puts $2 in front of each. Nothing of them is evaluated.
_tarvani_lines() {
    local line
    while IFS= read -r line; do
        line=${line%/}
        [[ $line == "$1"* ]] && COMPREPLY+=("$2$line")
    done
}

# Offers what is of a kind, for the word $2 as it stands and $3 without its quotes.
_tarvani_offer() {
    case $1 in
        path)
            if [[ $3 == *\?* ]]; then
                compopt -o filenames 2>/dev/null
                _tarvani_lines "${3##*\?}" "${3%\?*}?" < <(tarvani ls -- "${3%\?*}" 2>/dev/null)
            else
                compopt -o filenames 2>/dev/null
                mapfile -t COMPREPLY < <(compgen -f -- "$2")
            fi
            ;;
        directory)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$2")
            ;;
        section)
            compopt -o filenames 2>/dev/null
            _tarvani_lines "$3" "" < <(tarvani ls -- "$first" 2>/dev/null)
            ;;
        type) _tarvani_lines "$3" "" < <(tarvani recent types 2>/dev/null) ;;
        shell) mapfile -t COMPREPLY < <(compgen -W "bash zsh fish" -- "$2") ;;
        program) mapfile -t COMPREPLY < <(compgen -c -- "$2") ;;
        subcommand)
            _tarvani_takes "$about"
            mapfile -t COMPREPLY < <(compgen -W "$subcommands" -- "$2")
            ;;
    esac
}

_tarvani() {
    local word command= about= first= kind= plain= i count=0
    local subcommands options values arguments
    local cur=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    _tarvani_takes ""
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == "=" ]]; then
            continue
        elif [[ -n $kind ]]; then # the value of the option before; a program takes the rest
            [[ $kind == program ]] || kind=
        elif [[ -z $plain && $word == -- ]]; then
            plain=1
        elif [[ -z $plain && $word == -?* ]]; then
            [[ " $values " == *" $word="* ]] && kind=${values##*" $word="} kind=${kind%% *}
        elif [[ " $subcommands " == *" $word "* ]]; then
            command+=${command:+ }$word
            _tarvani_takes "$command"
        else
            ((count++)) || first=${word//[\'\"\\]/}
            about+=${about:+ }$word
        fi
    done
    [[ $cur == "=" ]] && cur=
    if [[ -n $kind ]]; then
        :
    elif [[ -z $plain && $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        return
    elif [[ -n $subcommands ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$subcommands" -- "$cur")
        return
    else
        local -a kinds
        read -ra kinds <<<"$arguments"
        ((count < ${#kinds[@]} || ${#kinds[@]} == 0)) || [[ ${kinds[-1]} != *\* ]] || count=$((${#kinds[@]} - 1))
        kind=${kinds[count]%\*}
    fi
    cur=${cur#[\'\"]}
    _tarvani_offer "$kind" "$cur" "${cur//\\/}"
}
complete -F _tarvani tarvani
)sh";

const char* wordFor(ValueKind kind) {
    switch (kind) {
        case ValueKind::Path:
            return "path";
        case ValueKind::Directory:
            return "directory";
        case ValueKind::Section:
            return "section";
        case ValueKind::RecentType:
            return "type";
        case ValueKind::Program:
            return "program";
        case ValueKind::Shell:
            return "shell";
        case ValueKind::Subcommand:
            return "subcommand";
        case ValueKind::Other:
            break;
    }
    return "other";
}

std::string caseFor(const CommandInfo& command) {
    std::vector<std::string> subcommands, options, values, arguments;
    for (const CommandInfo& subcommand : command.subcommands)
        subcommands.push_back(subcommand.words.substr(subcommand.words.rfind(' ') + 1));
    for (const ArgumentInfo& option : command.options) {
        options.insert(options.end(), option.names.begin(), option.names.end());
        if (option.value.empty()) continue;
        for (const std::string& name : option.names) values.push_back(name + "=" + wordFor(kindOf(option)));
    }
    for (const ArgumentInfo& argument : command.arguments)
        arguments.push_back(wordFor(kindOf(argument)) + std::string(argument.isRepeated ? "*" : ""));
    std::string text = "        \"" + command.words + "\")\n            options='" + inOneLine(options) + "'\n";
    if (!subcommands.empty()) text += "            subcommands='" + inOneLine(subcommands) + "'\n";
    if (!values.empty()) text += "            values=' " + inOneLine(values) + "'\n";
    if (!arguments.empty()) text += "            arguments='" + inOneLine(arguments) + "'\n";
    return text + "            ;;\n";
}

}  // namespace

std::string bashCompletions(const CommandInfo& all) {
    std::string text = kHead;
    forEachCommand(all, [&](const CommandInfo& command) { text += caseFor(command); });
    return text + kTail;
}
