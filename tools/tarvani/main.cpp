// The command tarvani: files, and what lies in containers, from the command line. Here are the table of subcommands,
// the help, and the way from the arguments to the exit status: 0 done, 1 failed, 2 wrong usage.
#include <UT/UT_Version.h>
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <new>
#include <string>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Interrupt.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::string version() {
    return "tarvani " + std::to_string(TARVANI_VERSION_MAJOR) + "." + std::to_string(TARVANI_VERSION_MINOR) + "." +
           std::to_string(TARVANI_VERSION_PATCH) + "\n";
}

// Examples indented below a heading of their own.
std::string examplesText(std::string_view examples) {
    std::string text = "Examples:\n";
    while (!examples.empty()) {
        const std::size_t end = examples.find('\n');
        text += "  " + std::string(examples.substr(0, end)) + "\n";
        examples.remove_prefix(end == std::string_view::npos ? examples.size() : end + 1);
    }
    text.pop_back();
    return text;
}

void declare(CLI::App& parent, const Subcommand& command, Action& chosen) {
    CLI::App* const app = parent.add_subcommand(command.name, command.summary);
    app->footer(examplesText(command.examples));
    const Action action = command.declare(*app);
    app->callback([&chosen, action] { chosen = action; });
}

// The app that a line of words names; null if there is none.
CLI::App* findCommand(CLI::App& root, const std::vector<std::string>& words) {
    CLI::App* app = &root;
    for (const std::string& word : words) {
        const auto named = app->get_subcommands([&](const CLI::App* sub) { return sub->get_name() == word; });
        if (named.empty()) return nullptr;
        app = named.front();
    }
    return app;
}

void declareHelp(CLI::App& root, Action& chosen) {
    CLI::App* const app = root.add_subcommand("help", "Explain a subcommand");
    app->footer(examplesText("tarvani help cp\ntarvani help index create"));
    const auto words = addTexts(*app, "SUBCOMMAND", 0, "the subcommand, such as \"index create\"");
    app->callback([&root, &chosen, words] {
        const CLI::App* const wanted = findCommand(root, *words);
        if (!wanted) throw CLI::ValidationError("no subcommand \"" + CLI::detail::join(*words, " ") + "\"");
        chosen = [wanted] {
            standardOutput().write(wanted->help());
            return kDone;
        };
    });
}

void declareAll(CLI::App& root, Action& chosen) {
    root.require_subcommand(1);
    root.set_version_flag("--version", [] { return version(); });
    root.get_formatter()->column_width(28);
    root.footer(
        "\"tarvani help SUBCOMMAND\" explains one of them. A path is a file, a section of a container "
        "(scene.idx?geo),\nor what a plug-in serves. Exit status: 0 done, 1 failed, 2 wrong usage.");
    for (const Subcommand& command : kStreamCommands) declare(root, command, chosen);
    for (const Subcommand& command : kListingCommands) declare(root, command, chosen);
    CLI::App* const index = root.add_subcommand("index", "Make, list and change containers");
    index->require_subcommand(1);
    index->footer("\"tarvani help index SUBCOMMAND\" explains one of them.");
    for (const Subcommand& command : kIndexCommands) declare(*index, command, chosen);
    for (const Subcommand& command : kPathCommands) declare(root, command, chosen);
    declareHelp(root, chosen);
}

// Help and version come as exceptions of the parser, and so do mistakes.
int answer(const CLI::App& root, const CLI::ParseError& error) {
    if (const auto* const version = dynamic_cast<const CLI::CallForVersion*>(&error)) {
        standardOutput().write(version->what());
        return kDone;
    }
    const CLI::App* app = &root;
    std::string name = "help";
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
        name += " " + app->get_name();
    }
    if (dynamic_cast<const CLI::CallForHelp*>(&error)) {
        standardOutput().write(app->help());
        return kDone;
    }
    complain({"wrong usage", std::string(error.what()) + " (see \"tarvani " + name + "\")"});
    return kWrongUsage;
}

int run(int argc, char** argv) {
    CLI::App root("Files, and what lies in containers, behind one path.", "tarvani");
    Action chosen;
    declareAll(root, chosen);
    try {
        root.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return answer(root, error);
    }
    return chosen();
}

// A file that is opened must never get the number of a standard stream that the parent closed: messages would be
// written into it. Opened the wrong way round, so that using the stream is the error that it would have been.
void occupyStandardStreams() {
    for (const int mode : {O_WRONLY, O_RDONLY, O_RDONLY}) {
        const int fd = ::open("/dev/null", mode | O_CLOEXEC);
        if (fd > STDERR_FILENO) {
            ::close(fd);
            return;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    handleInterrupts();
    int status = kFailed;
    try {
        status = run(argc, argv);
        standardOutput().flush();
    } catch (const Failure& failure) {
        try {
            standardOutput().flush();
        } catch (...) {
            // One line is enough: the failure that ended the work.
        }
        complain(failure);
        status = kFailed;
    } catch (const ClosedPipe&) {
        status = kFailed;
    } catch (const std::bad_alloc&) {
        complain({"memory", "there is not enough of it for this work"});
        status = kFailed;
    }
    return status;
}
