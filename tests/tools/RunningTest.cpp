// The command at a terminal, and among peers that leave it no rest. transcripts/running.transcript has what else may
// happen while it runs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <platform/UniqueFd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "../support/Network.h"

class RunningCommand : public testing::Test {
protected:
    // Runs a subcommand with one argument; output_ is what it prints.
    void start(const char* subcommand, const char* argument, const char* input = "/dev/null") {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        output_.reset(ends[0]);
        const platform::UniqueFd out(ends[1]);
        child_ = ::fork();
        if (child_ != 0) return;
        if (::dup2(::open(input, O_RDONLY | O_NOCTTY), 0) == 0 && ::dup2(out.get(), 1) == 1)
            ::execl(TARVANI_COMMAND, "tarvani", subcommand, argument, nullptr);
        ::_exit(126);
    }
    void expectSuccess() const {
        int status = -1;
        EXPECT_EQ(::waitpid(child_, &status, 0), child_);
        EXPECT_EQ(status, 0);
    }

    pid_t child_ = -1;
    platform::UniqueFd output_;
};

TEST_F(RunningCommand, APersonWhoTypesGetsAnAnswerAtOnce) {
    const platform::UniqueFd person(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(person && ::grantpt(person.get()) == 0 && ::unlockpt(person.get()) == 0);
    for (const char* const command : {"cpp", "tokens"}) {
        start(command, "-", ::ptsname(person.get()));
        EXPECT_EQ(::write(person.get(), "word\n", 5), 5);
        EXPECT_TRUE(comes(output_.get())) << command;
        EXPECT_EQ(::write(person.get(), "\4", 1), 1);
        expectSuccess();
    }
}

TEST_F(RunningCommand, ASignalEndsListenWhileThereIsAlwaysWork) {
    // Peers come while it is kept by an output that nobody reads, so that from then on no wait ever waits.
    start("listen", "0");
    char bytes[100'000];
    ASSERT_TRUE(comes(output_.get()) && ::read(output_.get(), bytes, sizeof bytes) > 1);
    const int port = std::atoi(bytes);
    const Client first(port);
    EXPECT_TRUE(first.send(std::string(sizeof bytes - 1, 'x') + "\n"));
    for (int waiting = 0; waiting < 60'000;) ASSERT_EQ(::ioctl(output_.get(), FIONREAD, &waiting), 0);
    const Client late(port);
    EXPECT_TRUE(late.send("late\n"));
    ::kill(child_, SIGTERM);
    std::string printed;
    for (ssize_t count = 1; count > 0 && comes(output_.get());) {
        count = ::read(output_.get(), bytes, sizeof bytes);
        printed.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    expectSuccess();
    EXPECT_EQ(printed.find("late"), std::string::npos);
}
