#include "Interrupt.h"

#include <UT/UT_Temporary.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "Console.h"

namespace {

// Read by the handler: made before, since a handler can't put a line together.
std::atomic<const char*> interruptLine{nullptr};
static_assert(std::atomic<const char*>::is_always_lock_free);

extern "C" void endByInterrupt(int signal) {
    UTremoveTemporaryFiles();
    if (const char* line = interruptLine.load()) {
        [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, line, std::strlen(line));
    }
    // The default action is back in place (SA_RESETHAND) and strikes when the handler returns, so that the parent sees
    // which signal it was.
    ::raise(signal);
}

}  // namespace

void handleInterrupts() {
    struct sigaction action {};
    action.sa_handler = endByInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigfillset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
        struct sigaction before {};
        // What the parent ignores (nohup, a background job) stays ignored.
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        ::sigaction(signal, &action, nullptr);
    }
    ::signal(SIGXFSZ, SIG_IGN);
}

IncompleteFile::IncompleteFile(const std::string& path)
    : line_("tarvani: " + printable(path) + ": interrupted; the file is incomplete\n") {
    interruptLine = line_.c_str();
}

IncompleteFile::~IncompleteFile() {
    interruptLine = nullptr;
}
