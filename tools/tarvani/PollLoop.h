#pragma once
// The event loop of a subcommand that serves the library's event generators, over poll. Poll times are passed
// over: nothing here asks for one. One loop at a time.
#include <poll.h>
#include <signal.h>

#include <cstddef>
#include <vector>

class FS_EventGenerator;

class PollLoop {
public:
    PollLoop();
    // Deletes the generators that are still there: connections belong to nobody.
    ~PollLoop();
    PollLoop(const PollLoop&) = delete;
    PollLoop& operator=(const PollLoop&) = delete;

    // Waits until a generator has work, or a signal comes that `mask` lets through (null: those that are let through
    // anyway), at most so many milliseconds (negative: for ever). False if there is nothing to do.
    bool wait(int longestWaitMs, const sigset_t* mask = nullptr);
    // Serves all that had work at the last wait.
    void serve();

private:
    static int install(FS_EventGenerator* generator, int flag);
    void forgetRemoved();

    // In step: watched_[i] belongs to generators_[i], which is null once it was removed.
    std::vector<FS_EventGenerator*> generators_;
    std::vector<pollfd> watched_;
};
