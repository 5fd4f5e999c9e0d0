#pragma once
// Runs a question in a child process without the rights of root, which may do everything, and gives its answer.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

template <class Ask>
std::string asOrdinaryUser(Ask&& ask) {
    constexpr unsigned kNobody = 65534;
    int ends[2];
    if (::pipe(ends) != 0) return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(2);
        const std::string answer = ask();
        const bool whole = ::write(ends[1], answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
        ::_exit(whole ? 0 : 1);
    }
    ::close(ends[1]);
    std::string answer;
    char part[256];
    for (ssize_t n; (n = ::read(ends[0], part, sizeof part)) > 0;) answer.append(part, static_cast<std::size_t>(n));
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "the child failed";
    return answer;
}
