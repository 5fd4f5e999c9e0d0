// plugins. Each library is tried in a process of its own: one that crashes while it is loaded is a line of the list.
// For the same reason nothing here asks a reader or an information object, which would load the plug-ins first.
#include <UT/UT_PathSearch.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_Version.h>
#include <fcntl.h>
#include <plugin/UT_DSO.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Json.h"

namespace {

// Seconds that a library may take to load.
constexpr int kLoadingTime = 10;
constexpr const char* kInstallFunction = "installFSHelpers";

struct Library {
    std::string path;
    std::string state;    // loaded, refused, without (the function), shadowed
    std::string version;  // empty if it told none
    std::string reason;   // in words; empty if loaded
};

// Loads the library into this process for good and judges it. Without a function to look for, loading is all.
Library load(const std::string& path, const std::string& function) {
    Library library{path, "refused", "", ""};
    UT_DSOHandle* const handle = UT_DSO::loadDSO(path.c_str(), false);
    if (!handle) {
        library.reason = std::string("can't be loaded: ") + UT_DSO::getLastErrorText();
        return library;
    }
    const auto ask = reinterpret_cast<void (*)(const char**)>(UT_DSO::findSymbol(*handle, "TarvaniDSOVersion"));
    if (!ask) {
        library.reason =
            std::string("no version function (#include <UT/UT_DSOVersion> gives one): ") + UT_DSO::getLastErrorText();
        return library;
    }
    const char* version = nullptr;
    ask(&version);
    library.version = version ? version : "";
    if (!version) {
        library.reason = "its version function gives no text";
    } else if (library.version != TARVANI_DSO_VERSION) {
        library.reason = "version \"" + library.version + "\" should be \"" TARVANI_DSO_VERSION "\"";
    } else if (!function.empty() && !UT_DSO::findSymbol(*handle, function.c_str())) {
        library.state = "without";
        library.reason = std::string("no such function: ") + UT_DSO::getLastErrorText();
    } else {
        library.state = "loaded";
    }
    return library;
}

// The child's part: what it found goes into the pipe in one piece, so that it never waits for a reader.
[[noreturn]] void loadInChild(const std::string& path, const std::string& function, int pipe) {
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);  // what a library prints is not part of the list
    const Library found = load(path, function);
    std::string answer = found.state + '\0' + found.version.substr(0, PIPE_BUF / 4) + '\0' + found.reason;
    answer.resize(std::min<std::size_t>(answer.size(), PIPE_BUF));
    const bool written = ::write(pipe, answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
    ::_exit(written ? 0 : 1);
}

// Watched from outside: a library may stop its process, or hold signals back. False if the child has to be ended.
bool endsInTime(pid_t child) {
    const auto process = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
    if (process < 0) return true;  // a system that can't tell
    pollfd end = {process, POLLIN, 0};
    int count = 0;
    do count = ::poll(&end, 1, kLoadingTime * 1000);
    while (count < 0 && errno == EINTR);
    ::close(process);
    return count != 0;
}

std::string whyEnded(int status) {
    if (WIFEXITED(status))
        return "ends the process while it is loaded, with exit status " + std::to_string(WEXITSTATUS(status));
    return std::string("crashes while it is loaded: ") + ::strsignal(WTERMSIG(status));
}

Library tryLibrary(const std::string& path, const std::string& function) {
    int pipe[2];
    // Not waited for: one that ended early may have left another that holds the pipe open.
    if (::pipe2(pipe, O_NONBLOCK) != 0) throw Failure{path, errorWords(errno)};
    const pid_t child = ::fork();
    if (child == 0) loadInChild(path, function, pipe[1]);
    const int error = errno;
    ::close(pipe[1]);
    const bool late = child > 0 && !endsInTime(child);
    if (late) ::kill(child, SIGKILL);
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    char answer[PIPE_BUF];
    const bool done = child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    const ssize_t length = done ? ::read(pipe[0], answer, sizeof answer) : 0;
    ::close(pipe[0]);
    if (child < 0) throw Failure{path, errorWords(error)};
    if (late) return {path, "refused", "", "isn't loaded after " + std::to_string(kLoadingTime) + " seconds"};
    if (length <= 0) return {path, "refused", "", whyEnded(status)};
    const std::string text(answer, static_cast<std::size_t>(length));
    const std::size_t first = text.find('\0'), second = text.find('\0', first + 1);
    return {path, text.substr(0, first), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
}

// The libraries of the directories "fs", in the order in which they load: of each name the first copy that works.
void tryHelpers(const std::string& function, std::vector<Library>& libraries) {
    const UT_PathSearch& path = *UT_PathSearch::getInstance(UT_PATH_DSO);
    UT_StringArray names;
    path.matchAllFilesInSubdirectory(".dll", "fs", false, names, false);
    for (const UT_String& name : names) {
        UT_StringArray copies;
        path.findAllFiles(("fs/" + std::string(name.view())).c_str(), copies);
        std::string first;
        for (const UT_String& copy : copies) {
            const std::string file(copy.view());
            libraries.push_back(first.empty() ? tryLibrary(file, function)
                                              : Library{file, "shadowed", "", "by " + first});
            if (libraries.back().state == "loaded") first = file;
        }
    }
}

// The libraries of one directory as a call of a function in all of them meets them: the last name first.
std::vector<std::string> librariesIn(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        std::error_code unknown;
        if (name.ends_with(".dll") && !name.starts_with('.') && entry->is_regular_file(unknown)) names.push_back(name);
    }
    std::sort(names.rbegin(), names.rend());
    return names;
}

void tryAll(const std::string& function, std::vector<Library>& libraries) {
    for (const UT_KnownPath known : {UT_PATH_USER_DSO, UT_PATH_SITE_DSO, UT_PATH_DSO})
        for (const UT_String& directory : UT_PathSearch::getInstance(known)->expandedDirs)
            for (const std::string& name : librariesIn(directory.buffer()))
                libraries.push_back(tryLibrary(std::string(directory.view()) + "/" + name, function));
}

int list(const std::string& function, bool asJson) {
    std::vector<Library> libraries;
    tryHelpers(function.empty() ? kInstallFunction : function, libraries);
    tryAll(function, libraries);
    StandardOutput& out = standardOutput();
    auto json = nlohmann::ordered_json::array();
    for (const Library& library : libraries) {
        if (asJson) {
            json.push_back({{"path", library.path},
                            {"state", library.state},
                            {"version", library.version},
                            {"reason", library.reason}});
            continue;
        }
        out.write(library.state + "\t");
        out.writeName(library.version.empty() ? "-" : library.version);
        out.write("\t");
        out.writeName(library.path);
        if (!library.reason.empty()) out.write("\t");
        out.writeName(library.reason);
        out.write("\n");
    }
    if (asJson) writeJson(json);
    return 0;
}

Action declarePlugins(CLI::App& app) {
    const auto function = addOptionalText(app, "--function NAME", "look for this function in each");
    const auto asJson = addFlag(app, "--json", "an array with an object for each library");
    return [=] { return list(function->empty() ? "" : function->back(), *asJson); };
}

constexpr Subcommand kCommands[] = {
    {"plugins", "Try the plug-ins, in the order of their loading",
     "tarvani plugins\n"
     "tarvani plugins --function installMenus  # which libraries have it",
     declarePlugins,
     "Prints for each its state, a tab, its version, a tab, its path, and if it isn't loaded a tab and what is wrong."},
};

}  // namespace

const std::span<const Subcommand> kPluginCommands = kCommands;
