// listen.
#include <UT/UT_NetSocket.h>
#include <platform/UniqueFd.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <memory>

#include "../support/Network.h"
#include "TarvaniCommand.h"

using testing::HasSubstr;
using testing::MatchesRegex;

class ListenCommand : public TarvaniCommand {
protected:
    // The command, with a shell as its child whose descriptor 3 is a connection to it.
    Outcome beside(const std::string& script, Words options = {}) {
        Words words = {"listen", "0"};
        words.insert(words.end(), options.begin(), options.end());
        const std::string connected = "exec 3<>/dev/tcp/127.0.0.1/$TARVANI_PORT; " + script;
        for (const std::string& word : {std::string("--exec"), std::string("bash"), std::string("-c"), connected})
            words.push_back(word);
        return run(words);
    }
};

TEST_F(ListenCommand, PrintsThePortAndTheMessagesAndEndsAsItsChildDoes) {
    // The wait stands for a person who reads: what comes together with the end of a connection is no message.
    const Outcome printed = beside("printf 'one\\ntwo\\n' >&3; sleep 0.3; exit 3");
    EXPECT_EQ(printed.status, 3);
    EXPECT_EQ(printed.err, "");
    EXPECT_THAT(printed.out, MatchesRegex("[0-9]+\none\ntwo\n"));
    const Outcome echoed = beside("echo word >&3; read -r answer <&3; echo got $answer; kill -9 $$", {"--echo"});
    EXPECT_EQ(echoed.status, 128 + SIGKILL);
    EXPECT_THAT(echoed.out, MatchesRegex("[0-9]+\ngot word\n"));
    const Outcome refused = beside("read -r answer <&3 || echo refused", {"--mask", "0.0.0.1,0.0.0.+", "--echo"});
    EXPECT_THAT(refused.out, HasSubstr("refused\n"));
    // The listening socket isn't the child's.
    EXPECT_THAT(beside("exec 3>&-; ls -l /proc/self/fd | grep -c socket").out, HasSubstr("\n0\n"));
}

TEST_F(ListenCommand, EndsCleanlyByASignalAndPassesItOn) {
    for (const int signal : {SIGINT, SIGTERM}) {
        std::unique_ptr<UT_NetSocket> free(UT_NetSocket::newSocket(0, true, false));
        const int port = free->port;
        free.reset();
        const pid_t child = start({"listen", std::to_string(port), "--echo"});
        // An answer tells that it has come so far as to expect signals.
        for (std::string answer; answer != "x\n";) {
            const Client client(port);
            if (client.isConnected() && client.send("x\n")) answer = client.receive(2);
        }
        ::kill(child, signal);
        const Outcome outcome = finish(child);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, std::to_string(port) + "\n");
    }
    EXPECT_EQ(beside("trap 'exit 7' TERM; kill -TERM $PPID; while :; do sleep 0.01; done").status, 7);
}

TEST_F(ListenCommand, ASignalEndsItWhileThereIsAlwaysWork) {
    // Peers come while it is kept by an output that nobody reads, so that from then on no wait ever waits.
    const std::string pipe = dir_.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const platform::UniqueFd output(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    const Circumstances piped{.output = pipe};
    const pid_t child = start({"listen", "0"}, piped);
    char bytes[100'000];
    ASSERT_TRUE(comes(output.get()));
    ASSERT_GT(::read(output.get(), bytes, sizeof bytes), 1);
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
    const Outcome outcome = finish(child, piped);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(printed.find("late"), std::string::npos);
}

TEST_F(ListenCommand, SaysWhyItCannotListen) {
    const std::unique_ptr<UT_NetSocket> taken(UT_NetSocket::newSocket(0, true, false));
    const std::string port = std::to_string(taken->port);
    expect({{"listen " + port, "", "port " + port + ": can't be listened at: in use, or not allowed"}});
    const Outcome missing = run({"listen", "0", "--exec", "./none"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "tarvani: ./none: No such file or directory\n");
    EXPECT_EQ(run({"listen", "0", "--exec", "true"}, {.output = "/dev/full"}).status, 1);
    for (const Words& words : {Words{"listen"},
                               {"listen", "65536"},
                               {"listen", "0", "--exec"},
                               {"listen", "0", "--mask", "+.+.+.+,1.2.3"},
                               {"listen", "0", "--mask", ", "}})
        EXPECT_EQ(run(words).status, 2) << testing::PrintToString(words);
}
