// The command tarvani: files, and what lies in containers, from the command line. Here is the way to the exit status: 0
// done, 1 failed, 2 wrong usage.
#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <new>

#include "Arguments.h"
#include "Console.h"
#include "Interrupt.h"
#include "Parser.h"

namespace {

constexpr int kFailed = 1;

// A file that is opened must never get the number of a standard stream that the parent closed: messages would be
// written into it. Opened the wrong way round, so that using the stream is the error that it would have been.
void occupyStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0) ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// The exit status. What it throws is only the memory that is missing, also for the words of another failure.
int work(int argc, char** argv) {
    try {
        const int status = runCommand(plainArguments(argc, argv));
        standardOutput().flush();
        return status;
    } catch (const Failure& failure) {
        try {
            standardOutput().flush();
        } catch (...) {
            // One line is enough: the failure that ended the work.
        }
        complain(failure);
    } catch (const ClosedPipe&) {
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        complain({"internal failure", failure.what()});
    }
    return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    handleInterrupts();
    try {
        return work(argc, argv);
    } catch (const std::bad_alloc&) {
        complainOfMemory();
        return kFailed;
    }
}
