#pragma once
// Runs something in a process of its own, so that limits, rights and signals end with it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// LeakSanitizer asks before it looks for leaks at the end of a process. In a child it would wait for ever for the lock
// of its allocator, if a thread of the parent held that when the child was made.
inline bool isChild = false;
extern "C" [[gnu::used]] inline int __lsan_is_turned_off() {
    return isChild;
}

// The status of a child, as waitpid gives it, which runs `work` and exits with 0 if that gives true. As an ordinary
// user if `ordinary` says so: the superuser meets no closed door.
inline int inChild(const std::function<bool()>& work, bool ordinary = false) {
    constexpr uid_t kNobody = 65534;
    const pid_t child = ::fork();
    if (child == 0) {
        isChild = true;
        if (ordinary && ::geteuid() == 0 && ::setuid(kNobody) != 0) ::_exit(2);
        ::_exit(work() ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child ? status : -1;
}

// Runs checks in a child, as an ordinary user if `ordinary` says so. A check that fails there fails the test.
inline void checkInChild(bool ordinary, const std::function<void()>& checks) {
    const auto passed = [&] { return checks(), !testing::Test::HasFailure(); };
    EXPECT_EQ(inChild(passed, ordinary), 0);
}
