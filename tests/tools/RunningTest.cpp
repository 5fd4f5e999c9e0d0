// The command while it runs: at a terminal, behind a pipe that closes, and when a signal comes.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <platform/UniqueFd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "../support/Network.h"
#include "../support/ScratchDir.h"
#include "../support/Sections.h"

using Words = std::vector<std::string>;

class RunningCommand : public testing::Test {
protected:
    // Runs it in dir_, between two files.
    pid_t start(Words words, const std::string& input = "/dev/null", const std::string& output = "/dev/null") {
        words.insert(words.begin(), "tarvani");
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        const pid_t child = ::fork();
        if (child != 0) return child;
        std::signal(SIGINT, SIG_DFL);  // which is ignored where the tests run in the background of a shell
        ::setenv("TMPDIR", temporary_.path().c_str(), 1);
        if (::chdir(dir_.path().c_str()) != 0) ::_exit(125);
        const int in = ::open(input.c_str(), O_RDONLY | O_NOCTTY), err = ::creat(captured_.path("err").c_str(), 0600);
        const int out = ::open(output.c_str(), O_WRONLY | O_CREAT, 0600);
        if (::dup2(in, 0) == 0 && ::dup2(out, 1) == 1 && ::dup2(err, 2) == 2) ::execv(TARVANI_COMMAND, argv.data());
        ::_exit(126);
    }
    // The exit status, or the negative number of the signal that ended it.
    static int finish(pid_t child) {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    // A pipe by the name of `name`, to be read without waiting.
    platform::UniqueFd pipe(const std::string& name) {
        EXPECT_EQ(::mkfifo(dir_.path(name).c_str(), 0600), 0);
        return platform::UniqueFd(::open(dir_.path(name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
    // Waits until `happened` for as long as a slow machine may need.
    template <class Condition>
    static bool eventually(Condition happened) {
        for (int i = 0; i < 3000 && !happened(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return happened();
    }

    ScratchDir dir_, temporary_, captured_;
};

TEST_F(RunningCommand, APersonWhoTypesGetsAnAnswerAtOnce) {
    const platform::UniqueFd person(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(person && ::grantpt(person.get()) == 0 && ::unlockpt(person.get()) == 0);
    for (const std::string command : {"cpp", "tokens"}) {
        const auto output = pipe(command);
        const pid_t child = start({command, "-"}, ::ptsname(person.get()), command);
        EXPECT_EQ(::write(person.get(), "word\n", 5), 5);
        EXPECT_TRUE(comes(output.get())) << command;
        EXPECT_EQ(::write(person.get(), "\4", 1), 1);
        EXPECT_EQ(finish(child), 0);
    }
}

TEST_F(RunningCommand, AClosedPipeEndsItQuietly) {
    dir_.write("large", std::string(1'000'000, 'x'));
    for (const bool ignored : {false, true}) {
        auto reader = pipe(ignored ? "ignored" : "default");
        const auto before = std::signal(SIGPIPE, ignored ? SIG_IGN : SIG_DFL);
        const pid_t child = start({"cat", "large"}, "/dev/null", ignored ? "ignored" : "default");
        std::signal(SIGPIPE, before);
        EXPECT_TRUE(comes(reader.get()));
        reader.reset();
        EXPECT_EQ(finish(child), ignored ? 1 : -SIGPIPE);
        EXPECT_EQ(captured_.read("err"), "");
    }
}

TEST_F(RunningCommand, AnInterruptRemovesTemporariesAndLeavesTheOldState) {
    const std::string before = containerBytes({{"a", "old"}});
    dir_.write("x.idx", before);
    const auto kept = pipe("pipe");
    const Words names = dir_.names();
    const struct {
        int signal;
        const char *to, *err;
    } cases[] = {
        {SIGINT, "x.idx?a", ""},
        {SIGTERM, "new.idx?a?b", ""},
        {SIGHUP, "x.idx?new", ""},
        {SIGINT, "plain", "tarvani: plain: interrupted; the file is incomplete\n"},
    };
    for (const auto& c : cases) {
        const pid_t child = start({"cp", "pipe", c.to});
        const platform::UniqueFd writer(::open(dir_.path("pipe").c_str(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(::write(writer.get(), "some", 4), 4);
        const bool plain = *c.err != '\0';
        EXPECT_TRUE(eventually([&] { return plain ? dir_.exists("plain") : !temporary_.names().empty(); })) << c.to;
        // The file or the temporary is there; that it is known to the program as well takes a moment more.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (!plain) {
            EXPECT_EQ(dir_.names(), names);
        }
        ::kill(child, c.signal);
        EXPECT_EQ(finish(child), -c.signal) << c.to;
        EXPECT_EQ(captured_.read("err"), c.err);
        EXPECT_EQ(temporary_.names(), Words{}) << c.to;
        EXPECT_EQ(dir_.read("x.idx"), before);
    }
}

TEST_F(RunningCommand, ListenEndsCleanlyByASignal) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const std::string name = std::to_string(signal);
        const auto output = pipe(name);
        const pid_t child = start({"listen", "0", "--echo"}, "/dev/null", name);
        char port[10] = "";
        ASSERT_TRUE(comes(output.get()) && ::read(output.get(), port, sizeof port - 1) > 1);
        const Client client(std::atoi(port));
        // An answer tells that it has come so far as to expect signals.
        EXPECT_TRUE(client.send("x\n") && client.receive(2) == "x\n");
        ::kill(child, signal);
        EXPECT_EQ(finish(child), 0);
        EXPECT_EQ(::read(output.get(), port, 1), 0) << "printed behind the port";
    }
}

TEST_F(RunningCommand, ASignalEndsListenWhileThereIsAlwaysWork) {
    // Peers come while it is kept by an output that nobody reads, so that from then on no wait ever waits.
    const auto output = pipe("pipe");
    const pid_t child = start({"listen", "0"}, "/dev/null", "pipe");
    char bytes[100'000];
    ASSERT_TRUE(comes(output.get()) && ::read(output.get(), bytes, sizeof bytes) > 1);
    const int port = std::atoi(bytes);
    const Client first(port);
    EXPECT_TRUE(first.send(std::string(sizeof bytes - 1, 'x') + "\n"));
    for (int waiting = 0; waiting < 60'000;) ASSERT_EQ(::ioctl(output.get(), FIONREAD, &waiting), 0);
    const Client late(port);
    EXPECT_TRUE(late.send("late\n"));
    ::kill(child, SIGTERM);
    std::string printed;
    for (ssize_t count = 1; count > 0 && comes(output.get());) {
        count = ::read(output.get(), bytes, sizeof bytes);
        printed.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    EXPECT_EQ(finish(child), 0) << captured_.read("err");
    EXPECT_EQ(printed.find("late"), std::string::npos);
}
