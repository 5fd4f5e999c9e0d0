// How help looks, and the subcommand "help" with its other forms.
#include "Help.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Completions.h"
#include "Console.h"
#include "Describe.h"
#include "Json.h"
#include "ManualPage.h"
#include "Parser.h"

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kColumn = 24;

// A title, and beside or below it what is to be said of it.
std::string entry(const std::string& title, const std::string& text) {
    std::string line = "  " + title;
    line += line.size() < kColumn ? std::string(kColumn - line.size(), ' ') : "\n" + std::string(kColumn, ' ');
    return line + wrapped(text, kWidth - kColumn, kColumn) + "\n";
}

std::string heading(const std::string& title) {
    return "\n" + inBold(title + ":", StandardStream::Output) + "\n";
}

std::string subcommandsText(const CommandInfo& command) {
    std::string text;
    std::string_view before;
    for (const CommandInfo& subcommand : command.subcommands) {
        // Below a group all stand under one heading.
        if (before.empty() || (command.words.empty() && before != subcommand.heading))
            text += heading(command.words.empty() ? subcommand.heading : "Subcommands");
        before = subcommand.heading;
        const std::string name = subcommand.words.substr(command.words.empty() ? 0 : command.words.size() + 1);
        text += entry(name + (subcommand.subcommands.empty() ? "" : " ..."), subcommand.summary);
    }
    return text;
}

std::string examplesText(const CommandInfo& command) {
    std::string text = heading("Examples");
    for (const ExampleInfo& example : command.examples) {
        if (!example.purpose.empty()) text += "  # " + example.purpose + "\n";
        text += "  " + example.line + "\n";
    }
    return text;
}

nlohmann::ordered_json toJson(const ArgumentInfo& argument) {
    auto json = nlohmann::ordered_json::object();
    if (!argument.names.empty()) json["names"] = argument.names;
    if (!argument.value.empty()) json["value"] = argument.value;
    json["help"] = argument.help;
    json["required"] = argument.isRequired;
    json["repeated"] = argument.isRepeated;
    return json;
}

template <class Items>
nlohmann::ordered_json toJsonArray(const Items& items);

nlohmann::ordered_json toJson(const ExampleInfo& example) {
    return {{"line", example.line}, {"purpose", example.purpose}};
}

nlohmann::ordered_json toJson(const CommandInfo& command) {
    return {{"name", command.words.empty() ? "tarvani" : command.words},
            {"summary", command.summary},
            {"details", command.details},
            {"usage", command.usage()},
            {"arguments", toJsonArray(command.arguments)},
            {"options", toJsonArray(command.options)},
            {"examples", toJsonArray(command.examples)},
            {"status", command.status},
            {"subcommands", toJsonArray(command.subcommands)}};
}

template <class Items>
nlohmann::ordered_json toJsonArray(const Items& items) {
    auto array = nlohmann::ordered_json::array();
    for (const auto& item : items) array.push_back(toJson(item));
    return array;
}

bool isCommand(const std::vector<std::string>& words) {
    const CommandInfo all = describeAll();
    const CommandInfo* command = &all;
    for (const std::string& word : words)
        if ((command = command->find(word)) == nullptr) return false;
    return true;
}

int help(const std::vector<std::string>& words, bool asJson, bool asManual, const std::string& shell) {
    if (asJson)
        writeJson(toJson(describe(words)));
    else if (asManual)
        standardOutput().write(manualPage(describeAll()));
    else if (!shell.empty())
        standardOutput().write(completionsFor(shell, describeAll()));
    else
        printHelp(describe(words));
    return 0;
}

Action declareHelp(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "one object, with one for each subcommand in it");
    const auto asManual = addFlag(app, "--man", "the manual page tarvani(1) of all subcommands");
    const auto shell = addOptionalText(app, "--completion SHELL", "the completions for bash, zsh or fish");
    const auto words = addTexts(app, "SUBCOMMAND", 0, "the subcommand, such as \"index create\"; all if not given");
    addRule(app, [=]() -> std::string {
        const bool isWhole = *asManual || !shell->empty();
        if (*asJson + *asManual + (shell->empty() ? 0 : 1) > 1)
            return "only one of --json, --man and --completion can be given";
        if (isWhole && !words->empty()) return "--man and --completion tell of all subcommands, not of one";
        if (!shell->empty() && completionsFor(shell->front(), {}).empty())
            return "no completions for \"" + shell->front() + "\", only for bash, zsh and fish";
        return isCommand(*words) ? "" : noSubcommand(*words);
    });
    return [=] { return help(*words, *asJson, *asManual, shell->empty() ? "" : shell->front()); };
}

constexpr Subcommand kCommands[] = {
    {"help", "Explain a subcommand",
     "tarvani help cp\n"
     "tarvani help index create\n"
     "tarvani help --json index  # for programs\n"
     "source <(tarvani help --completion bash)  # if they aren't installed",
     declareHelp},
};

}  // namespace

const std::span<const Subcommand> kHelpCommands = kCommands;

std::string wrapped(std::string_view text, std::size_t width, std::size_t indent) {
    std::string lines;
    while (text.size() > width) {
        const std::size_t blank = text.rfind(' ', width);
        if (blank == std::string_view::npos) break;
        lines.append(text.substr(0, blank)).append("\n").append(indent, ' ');
        text.remove_prefix(blank + 1);
    }
    return lines.append(text);
}

void printHelp(const CommandInfo& command) {
    std::string text = inBold("Usage:", StandardStream::Output) + " " + command.usage() + "\n";
    text += wrapped(command.summary + ".", kWidth) + "\n";
    if (!command.details.empty()) text += "\n" + wrapped(command.details, kWidth) + "\n";
    text += subcommandsText(command);
    if (!command.arguments.empty()) text += heading("Arguments");
    for (const ArgumentInfo& argument : command.arguments) text += entry(argument.value, argument.help);
    text += heading("Options");
    for (const ArgumentInfo& option : command.options) text += entry(optionTitle(option), option.help);
    if (!command.examples.empty()) text += examplesText(command);
    if (!command.subcommands.empty())
        text += "\n\"tarvani help " + command.words + (command.words.empty() ? "" : " ") +
                "SUBCOMMAND\" explains one of them.\n";
    text += "\n" + inBold("Exit status:", StandardStream::Output) + " " + wrapped(command.status, kWidth - 13) + "\n";
    standardOutput().write(text);
}
