#include "Parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Describe.h"
#include "Help.h"

namespace {

constexpr int kDone = 0;
constexpr int kWrongUsage = 2;

// What a subcommand takes is declared when it is called: the others cost the process nothing but their names.
void declare(CLI::App& parent, const Subcommand& command, const char* heading, Action& chosen) {
    CLI::App* const app = parent.add_subcommand(command.name)->group(heading);
    app->preparse_callback([app, &command, &chosen](std::size_t) {
        const Action action = command.declare(*app);
        app->callback([&chosen, action] { chosen = action; });
    });
}

void declareAll(CLI::App& root, Action& chosen) {
    root.require_subcommand(1);
    declareOwnOptions(root);
    for (const CommandGroup& group : commandTable()) {
        CLI::App* parent = &root;
        if (group.name != nullptr) parent = root.add_subcommand(group.name)->require_subcommand(1);
        for (const Subcommand& command : group.commands) declare(*parent, command, group.heading, chosen);
    }
}

// The subcommand that was called, as words.
std::vector<std::string> calledWords(const CLI::App& root) {
    std::vector<std::string> words;
    for (const CLI::App* app = &root; !app->get_subcommands().empty(); words.push_back(app->get_name()))
        app = app->get_subcommands().front();
    return words;
}

// How many letters must be put in, taken out or changed to make one text the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t above = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = above + (a[i] == b[j] ? 0 : 1);
            above = row[j + 1];
            row[j + 1] = std::min({changed, above + 1, row[j] + 1});
        }
    }
    return row.back();
}

// "; did you mean "NAME"?" with the name that is nearest to what was typed; nothing if none is near.
std::string didYouMean(const std::string& typed, const std::vector<std::string>& names) {
    const std::string* nearest = nullptr;
    std::size_t least = typed.size() < 4 ? 2 : 3;
    for (const std::string& name : names) {
        const bool isBegun = typed.size() > 1 && name.starts_with(typed);
        const std::size_t steps = isBegun ? 1 : distance(typed, name);
        if (steps >= least) continue;
        nearest = &name;
        least = steps;
    }
    return nearest ? "; did you mean \"" + *nearest + "\"?" : "";
}

std::string noOption(const std::string& typed, const CommandInfo& command) {
    std::vector<std::string> names;
    for (const ArgumentInfo& option : command.options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    const std::string meant = typed.starts_with("--") ? didYouMean(typed.substr(0, typed.find('=')), names) : "";
    return "no option \"" + typed + "\"" +
           (meant.empty() ? "; a name that begins with \"-\" stands behind \"--\"" : meant);
}

// The parser says "-D: 1 required TEXT missing", and "--path: At Most 1 required but received 2".
std::string wrongCount(const std::string& text) {
    constexpr std::string_view kRequired = ": 1 required ", kMissing = " missing";
    const std::string option = text.substr(0, text.find(':'));
    if (!text.ends_with(kMissing) || text.compare(option.size(), kRequired.size(), kRequired) != 0)
        return option + ": one is enough";
    const std::size_t value = option.size() + kRequired.size();
    return option + ": " + text.substr(value, text.size() - kMissing.size() - value) + " is required";
}

std::string inWords(const CLI::App& app, const std::vector<std::string>& called, const CLI::ParseError& error) {
    const std::vector<std::string> left = app.remaining();
    const bool wantsSubcommand = app.get_require_subcommand_min() > 0;
    if (!left.empty() && left.front().starts_with('-')) return noOption(left.front(), describe(called));
    if (!left.empty() && wantsSubcommand) {
        std::vector<std::string> words = called;
        words.push_back(unmarked(left.front()));
        return noSubcommand(words);
    }
    if (wantsSubcommand) return "a subcommand is missing";
    if (!left.empty()) return "\"" + unmarked(left.front()) + "\" is one argument too many";
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) return wrongCount(error.what());
    return error.what();
}

// Help and version come as exceptions of the parser, and so do mistakes.
int answer(const CLI::App& root, const CLI::ParseError& error) {
    if (const auto* const version = dynamic_cast<const CLI::CallForVersion*>(&error)) {
        standardOutput().write(version->what());
        return kDone;
    }
    const std::vector<std::string> called = calledWords(root);
    if (dynamic_cast<const CLI::CallForHelp*>(&error)) {
        printHelp(describe(called));
        return kDone;
    }
    const CLI::App* app = &root;
    std::string line = "tarvani";
    for (const std::string& word : called) {
        app = app->get_subcommands().front();
        line += " " + word;
    }
    complain({"wrong usage", inWords(*app, called, error) + " (see \"" + line + " --help\")"});
    return kWrongUsage;
}

}  // namespace

void declareOwnOptions(CLI::App& root) {
    root.set_help_flag("-h,--help", "print this help and exit");
    root.set_version_flag(
        "--version", [] { return "tarvani " + commandVersion() + "\n"; }, "print the version and exit");
}

int runCommand(std::vector<std::string> arguments) {
    CLI::App root("", "tarvani");
    Action chosen;
    declareAll(root, chosen);
    try {
        root.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return answer(root, error);
    }
    return chosen();
}

std::string noSubcommand(const std::vector<std::string>& words) {
    const CommandInfo all = describeAll();
    const CommandInfo* parent = &all;
    auto word = words.begin();
    while (const CommandInfo* const next = parent->find(*word)) {
        parent = next;
        ++word;
    }
    std::vector<std::string> names;
    for (const CommandInfo& command : parent->subcommands) {
        names.push_back(command.words);
        // What was typed may be the second word alone.
        if (command.find(*word) != nullptr)
            return "no subcommand \"" + *word + "\"; did you mean \"" + command.words + " " + *word + "\"?";
    }
    const std::string front = parent->words.empty() ? "" : parent->words + " ";
    return "no subcommand \"" + front + *word + "\"" + didYouMean(front + *word, names);
}
