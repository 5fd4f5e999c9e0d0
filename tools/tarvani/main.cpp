// The command tarvani: files, and what lies in containers, from the command line. Here are the table of subcommands,
// the help, and the way from the arguments to the exit status: 0 done, 1 failed, 2 wrong usage.
#include <UT/UT_Version.h>
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <new>
#include <string>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Help.h"
#include "Interrupt.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::string version() {
    return "tarvani " + std::to_string(TARVANI_VERSION_MAJOR) + "." + std::to_string(TARVANI_VERSION_MINOR) + "." +
           std::to_string(TARVANI_VERSION_PATCH) + "\n";
}

int run(std::vector<std::string> arguments);

// What a subcommand takes is declared when it is called: the others cost the process nothing but their names.
void declare(CLI::App& parent, const Subcommand& command, Action& chosen) {
    CLI::App* const app = parent.add_subcommand(command.name, command.summary);
    app->preparse_callback([app, &command, &chosen](std::size_t) {
        app->footer(examplesText(command.examples));
        const Action action = command.declare(*app);
        app->callback([&chosen, action] { chosen = action; });
    });
}

// Subcommands of a subcommand.
void declareGroup(CLI::App& root, const std::string& name, const char* summary, std::span<const Subcommand> commands,
                  Action& chosen) {
    CLI::App* const app = root.add_subcommand(name, summary);
    app->require_subcommand(1);
    app->footer("\"tarvani help " + name + " SUBCOMMAND\" explains one of them.");
    for (const Subcommand& command : commands) declare(*app, command, chosen);
}

bool isCommand(CLI::App& root, const std::vector<std::string>& words) {
    const CLI::App* app = &root;
    for (const std::string& word : words) {
        const auto named = app->get_subcommands([&](const CLI::App* sub) { return sub->get_name() == word; });
        if (named.empty()) return false;
        app = named.front();
    }
    return true;
}

void declareHelp(CLI::App& root, Action& chosen) {
    CLI::App* const app = root.add_subcommand("help", "Explain a subcommand");
    app->footer(examplesText("tarvani help cp\ntarvani help index create"));
    const auto words = addTexts(*app, "SUBCOMMAND", 0, "the subcommand, such as \"index create\"");
    app->callback([&root, &chosen, words] {
        if (!isCommand(root, *words))
            throw CLI::ValidationError("no subcommand \"" + CLI::detail::join(*words, " ") + "\"");
        std::vector<std::string> call(words->rbegin(), words->rend());
        call.insert(call.begin(), "--help");
        chosen = [call] { return run(call); };
    });
}

void declareAll(CLI::App& root, Action& chosen) {
    root.require_subcommand(1);
    root.set_help_flag("-h,--help", "Print this help and exit");
    root.set_version_flag(
        "--version", [] { return version(); }, "Print the version and exit");
    root.formatter(makeHelpFormatter());
    root.footer(
        "\"tarvani help SUBCOMMAND\" explains one of them. A path is a file, a section of a\n"
        "container (scene.idx?geo), a page (http://host/page), or what a plug-in serves.\n"
        "Exit status: 0 done, 1 failed, 2 wrong usage.");
    for (const Subcommand& command : kStreamCommands) declare(root, command, chosen);
    for (const Subcommand& command : kListingCommands) declare(root, command, chosen);
    declareGroup(root, "index", "Make, list and change containers", kIndexCommands, chosen);
    for (const auto group :
         {kPathCommands, kPathFileCommands, kPluginCommands, kPreprocessCommands, kRendererCommands, kListenCommands})
        for (const Subcommand& command : group) declare(root, command, chosen);
    declareGroup(root, "recent", "List and change the user's recent files and directories", kRecentCommands, chosen);
    declareHelp(root, chosen);
}

// Help and version come as exceptions of the parser, and so do mistakes.
int answer(const CLI::App& root, const CLI::ParseError& error) {
    if (const auto* const version = dynamic_cast<const CLI::CallForVersion*>(&error)) {
        standardOutput().write(version->what());
        return kDone;
    }
    const CLI::App* app = &root;
    std::string line;
    while (!app->get_subcommands().empty()) {
        line += (line.empty() ? "" : " ") + app->get_name();
        app = app->get_subcommands().front();
    }
    if (dynamic_cast<const CLI::CallForHelp*>(&error)) {
        printHelp(*app, line);
        return kDone;
    }
    std::string mistake = error.what();
    const std::vector<std::string> left = app->remaining();
    if (app->get_require_subcommand_min() > 0 && !left.empty())
        mistake = "no subcommand \"" + left.front() + "\"";
    else if (!left.empty() && left.front().starts_with('-'))
        mistake = "no option \"" + left.front() + "\"; a name that begins with \"-\" stands behind \"--\"";
    complain({"wrong usage", mistake + " (see \"" + line + (line.empty() ? "" : " ") + app->get_name() + " --help\")"});
    return kWrongUsage;
}

// The arguments come in reverse, as the parser takes them.
int run(std::vector<std::string> arguments) {
    CLI::App root("Files, and what lies in containers, behind one path.", "tarvani");
    Action chosen;
    declareAll(root, chosen);
    try {
        root.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return answer(root, error);
    }
    return chosen();
}

// A file that is opened must never get the number of a standard stream that the parent closed: messages would be
// written into it. Opened the wrong way round, so that using the stream is the error that it would have been.
void occupyStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0) ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    handleInterrupts();
    int status = kFailed;
    try {
        status = run(plainArguments(argc, argv));
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
    } catch (const std::exception& failure) {
        complain({"internal failure", failure.what()});
        status = kFailed;
    }
    return status;
}
