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

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    handleInterrupts();
    int status = kFailed;
    try {
        status = runCommand(plainArguments(argc, argv));
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
