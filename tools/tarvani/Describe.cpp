#include "Describe.h"

#include <UT/UT_Version.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "Command.h"
#include "Parser.h"

namespace {

constexpr const char* kDetails =
    "A path is a file, a section of a container (scene.idx?geo), a page (http://host/page), or what a plug-in serves; "
    "\"-\" is standard input or output.";

ArgumentInfo toInfo(const CLI::Option& option) {
    ArgumentInfo info;
    for (const std::string& name : option.get_snames()) info.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) info.names.push_back("--" + name);
    info.value = info.names.empty() ? option.get_name(true) : option.get_type_name();
    info.help = option.get_description();
    info.isRequired = option.get_required();
    info.isRepeated = option.get_expected_max() > 1;
    return info;
}

void addArguments(const CLI::App& app, CommandInfo& command) {
    for (const CLI::Option* const option : app.get_options([](const CLI::Option*) { return true; }))
        (option->get_positional() ? command.arguments : command.options).push_back(toInfo(*option));
}

std::vector<ExampleInfo> toExamples(std::string_view text) {
    constexpr std::string_view kMark = "  # ";
    std::vector<ExampleInfo> examples;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t mark = line.find(kMark);
        const std::string_view purpose = mark == line.npos ? "" : line.substr(mark + kMark.size());
        const std::string_view typed = line.substr(0, mark);
        examples.push_back({std::string(typed.substr(0, typed.find_last_not_of(' ') + 1)), std::string(purpose)});
    }
    return examples;
}

CommandInfo toInfo(const Subcommand& command, const CommandGroup& group, CLI::App& parent) {
    CommandInfo info;
    info.words = (group.name ? std::string(group.name) + " " : "") + command.name;
    info.heading = group.heading;
    info.summary = command.summary;
    info.details = command.details;
    info.status = command.status;
    info.examples = toExamples(command.examples);
    // Below its parent, as when it is called: it takes over the help option.
    CLI::App& app = *parent.add_subcommand(command.name);
    command.declare(app);
    addArguments(app, info);
    return info;
}

}  // namespace

std::string optionTitle(const ArgumentInfo& option) {
    std::string title = CLI::detail::join(option.names, ", ");
    if (!option.value.empty()) title += " " + option.value + (option.isRepeated ? "..." : "");
    return title;
}

std::string argumentTitle(const ArgumentInfo& argument) {
    const std::string name = argument.value + (argument.isRepeated ? "..." : "");
    return argument.isRequired ? name : "[" + name + "]";
}

ValueKind kindOf(const ArgumentInfo& argument) {
    constexpr std::pair<std::string_view, ValueKind> kKinds[] = {
        {"FILE", ValueKind::Path},       {"PATH", ValueKind::Path},
        {"SOURCE", ValueKind::Path},     {"DEST", ValueKind::Path},
        {"OTHER", ValueKind::Path},      {"FILE_OR_DIR", ValueKind::Path},
        {"LIST", ValueKind::Path},       {"TEMPORARY", ValueKind::Path},
        {"DIR", ValueKind::Directory},   {"SECTION", ValueKind::Section},
        {"TYPE", ValueKind::RecentType}, {"CHILD", ValueKind::Program},
        {"SHELL", ValueKind::Shell},     {"SUBCOMMAND", ValueKind::Subcommand}};
    for (const auto& [value, kind] : kKinds)
        if (argument.value == value) return kind;
    return ValueKind::Other;
}

const CommandInfo* CommandInfo::find(std::string_view word) const {
    for (const CommandInfo& command : subcommands)
        if (command.words == (words.empty() ? "" : words + " ") + std::string(word)) return &command;
    return nullptr;
}

std::string CommandInfo::usage() const {
    std::string line = "tarvani" + (words.empty() ? "" : " " + words) + " [OPTION]...";
    for (const ArgumentInfo& argument : arguments) line += " " + argumentTitle(argument);
    return line + (subcommands.empty() ? "" : " SUBCOMMAND");
}

CommandInfo describeAll() {
    CommandInfo all;
    all.summary = "Files, and what lies in containers, behind one path";
    all.details = kDetails;
    all.status = Subcommand{}.status;
    CLI::App root;
    declareOwnOptions(root);
    addArguments(root, all);
    for (const CommandGroup& group : commandTable()) {
        CommandInfo* parent = &all;
        CLI::App* parentApp = &root;
        if (group.name != nullptr) {
            CommandInfo info;
            info.words = group.name;
            info.heading = group.heading;
            info.summary = group.summary;
            info.status = all.status;
            parentApp = root.add_subcommand(group.name);
            addArguments(*parentApp, info);
            parent = &all.subcommands.emplace_back(std::move(info));
        }
        for (const Subcommand& command : group.commands)
            parent->subcommands.push_back(toInfo(command, group, *parentApp));
    }
    return all;
}

CommandInfo describe(const std::vector<std::string>& words) {
    const CommandInfo all = describeAll();
    const CommandInfo* command = &all;
    for (const std::string& word : words) command = command->find(word);
    return *command;
}

std::string commandVersion() {
    return std::to_string(TARVANI_VERSION_MAJOR) + "." + std::to_string(TARVANI_VERSION_MINOR) + "." +
           std::to_string(TARVANI_VERSION_PATCH);
}
