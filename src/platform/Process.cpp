// Processes and their users over the system's calls.
#include <platform/Process.h>
#include <platform/Uninterrupted.h>
#include <pwd.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace platform {

ProcessState processState(int process) {
    if (process <= 0) return {};
    siginfo_t info{};
    const auto look = [&] { return ::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT); };
    if (uninterrupted(look) != 0) {
        // Not a child of ours. A signal that can't be sent for lack of permission still found its process.
        const int sent = ::kill(process, 0);
        return {.running = sent == 0 || errno == EPERM};
    }
    if (info.si_pid == 0) return {.running = true};
    const bool exited = info.si_code == CLD_EXITED;
    return {.running = false, .isEndedChild = true, .exitCode = exited ? info.si_status : 128 + info.si_status};
}

int currentProcess() {
    return ::getpid();
}

unsigned currentUser() {
    return ::geteuid();
}

std::string homeDirectory() {
    const char* home = std::getenv("HOME");
    if (home && *home == '/') return home;
    passwd record;
    passwd* found = nullptr;
    std::vector<char> text(1024);
    while (::getpwuid_r(::getuid(), &record, text.data(), text.size(), &found) == ERANGE) text.resize(2 * text.size());
    return found && found->pw_dir && *found->pw_dir == '/' ? found->pw_dir : "";
}

}  // namespace platform
