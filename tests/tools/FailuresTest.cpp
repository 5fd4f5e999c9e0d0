// What a failure says, and that it leaves everything as it was.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "../support/Container.h"
#include "TarvaniCommand.h"

using testing::HasSubstr;
using testing::StartsWith;

class CommandFailures : public TarvaniCommand {
protected:
    CommandFailures() {
        pack("x.idx", {"a", "b"});
        dir_.write("text", "text");
        const std::string whole = packedContainer({{"s", "0123456789"}});
        dir_.write("short.idx", whole.substr(0, whole.size() - 7));
    }
    // Waits until `happened` for as long as a slow machine may need.
    template <class Condition>
    static bool eventually(Condition happened) {
        for (int i = 0; i < 3000 && !happened(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return happened();
    }
};

TEST_F(CommandFailures, ReadingNamesTheLevelAndTheCause) {
    dir_.write("empty", "");
    dir_.write("newer", "INDX" + packed(1));
    dir_.write("cut", "INDX" + packed(0));
    dir_.write("lie", "INDX" + packed(0) + packed("") + packed(2000000000));
    dir_.write("none.idx", packedContainer({}));
    std::vector<PackedSection> many(10, {"n", ""});
    many[0].name = std::string(50, 'x');
    dir_.write("many.idx", packedContainer(many));
    expect({
        {"cp text deep.idx?in?text"},
        {"cat nope", "", "nope: No such file or directory"},
        {"cat packed", "", "packed: Is a directory"},
        {"cat 'new\nline'", "", "new\\nline: No such file or directory"},
        {"cat none.idx?a", "", "none.idx?a: no section \"a\" (no sections)"},
        {"cat many.idx?geo", "",
         "many.idx?geo: no section \"geo\" (10 sections: xxxxxxxxxxxxxxxxxxx...xxxxxxxxxxxxxxxxxx, n, n, n, n, n, n, "
         "n, "
         "...)"},
        {"cat nope?a", "", "nope?a: nope: No such file or directory"},
        {"cat text?a", "", "text?a: text: not a container"},
        {"cat empty?a", "", "empty?a: empty: not a container: it is empty"},
        {"cat newer?a", "", "newer?a: newer: container of a newer version (1); this program reads version 0"},
        {"cat cut?a", "", "cut?a: cut: damaged container: it ends in its header"},
        {"cat lie?a", "", "lie?a: lie: damaged container: the table of its 2000000000 sections can't be read whole"},
        {"cat deep.idx?in?no", "", "deep.idx?in?no: no section \"no\" (1 section: text)"},
        {"cat short.idx?s", "012", "short.idx?s: cut short: 3 of 10 bytes are there"},
        {"ls text", "", "text: neither a directory nor a container"},
        {"cat text nope text gone", "texttext", "nope: No such file or directory\ngone: No such file or directory"},
    });
    for (const char* path : {"newer", "x.idx?a", "x.idx?geo", "x.idx?"})
        EXPECT_EQ(run("ls " + std::string(path)).err, run("index list " + std::string(path)).err);
}

TEST_F(CommandFailures, CpAndRmLeaveEverythingAsItWas) {
    ASSERT_EQ(::link(dir_.path("text").c_str(), dir_.path("hard").c_str()), 0);
    const Words names = dir_.names();
    const std::string before = dir_.read("x.idx");
    const std::vector<Call> runs = {
        {"cp text text", "", "text: is the same as text"},
        {"cp hard file:text", "", "file:text: is the same as hard"},
        {"cp x.idx?a x.idx", "", "x.idx: holds x.idx?a, which would be lost with it"},
        {"cp text packed", "", "packed: Is a directory; give the name of a file in it"},
        {"cp text x.idx?", "", "x.idx?: a section needs a name behind \"?\""},
        {"cp text packed/a?b", "", "packed/a?b: packed/a: not a container; it stays as it is"},
        {"cp text x.idx?a?b", "", "x.idx?a?b: x.idx?a: not a container; it stays as it is"},
        {"cp short.idx?s text", "", "short.idx?s: cut short: 3 of 10 bytes are there"},
        {"cp text /dev/full", "", "/dev/full: No space left on device"},
        {"cp - text", "", "standard input: Bad file descriptor", {.closed = {STDIN_FILENO}}},
        {"rm packed", "", "packed: Is a directory"},
        {"rm x.idx?nope", "", "x.idx?nope: no section \"nope\" (2 sections: a, b)"},
        // Nothing is read and written at once.
        {"cat text", "", "text: is the file that standard output goes to", {.output = dir_.path("text")}},
        {"cp - /dev/stdin", "", "/dev/stdin: is the file that standard input comes from", {.input = "line\n"}},
    };
    for (const Call& each : runs) {
        expect({each});
        EXPECT_EQ(dir_.names(), names) << each.line;
        EXPECT_EQ(dir_.read("x.idx"), before) << each.line;
        EXPECT_EQ(dir_.read("text"), "text") << each.line;
    }
}

TEST_F(CommandFailures, AFullOutputIsSeenAlsoAtTheEnd) {
    for (const char* line : {"cat x.idx?a", "cp x.idx?a -", "ls x.idx", "ls --json .", "stat x.idx", "index list x.idx",
                             "index describe x.idx", "help cp", "--version", "cpp text", "tokens text"})
        expect({{line, "", "standard output: No space left on device", {.output = "/dev/full"}},
                {line, "", "standard output: Bad file descriptor", {.closed = {STDOUT_FILENO}}}});
}

TEST_F(CommandFailures, MessagesNeverLandInAFileThatIsWritten) {
    expect({{"cp text b", "", "", {.closed = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}}},
            {"cp nope b", "", "", {.closed = {STDERR_FILENO}}, 1}});
    EXPECT_EQ(dir_.read("b"), "text");
}

TEST_F(CommandFailures, AFileThatMayNotGrowIsAFailedWrite) {
    dir_.write("large", std::string(200'000, 'x'));
    const std::string before = dir_.read("x.idx");
    const Circumstances limited = {.largestFile = 100'000};
    expect({{"cp large out", "", "out: File too large; the file is incomplete", limited}});
    const Words names = dir_.names();
    for (const char* line : {"cp large x.idx?a", "cp large new.idx?a", "index add x.idx b large",
                             "index create x.idx large", "index create new.idx large"}) {
        expect({{line, "", HasSubstr("File too large"), limited}});
        EXPECT_EQ(dir_.read("x.idx"), before) << line;
        EXPECT_EQ(dir_.names(), names) << line;
    }
    expect({{"cp large x.idx?a"}, {"index expand x.idx d", "", HasSubstr("File too large"), limited}});
}

TEST_F(CommandFailures, OrdinaryUsersMeetTheRightsOfFilesAndDirectories) {
    if (!servesOrdinaryUsers()) GTEST_SKIP() << "the program is out of their reach";
    dir_.write("secret", "s");
    dir_.write("shut/f", "f");
    ::chmod(dir_.path("secret").c_str(), 0600);
    for (const char* name : {"x.idx", "shut/f"}) ::chmod(dir_.path(name).c_str(), 0444);
    ::chmod(dir_.path("shut").c_str(), 0555);
    const std::string before = dir_.read("x.idx");
    const Words names = dir_.names();
    const struct {
        const char *line, *err;
    } cases[] = {
        {"cat secret", "secret: Permission denied"},
        {"cat secret?a", "secret?a: secret: Permission denied"},
        {"cp x.idx?a shut/new", "shut/new: shut: Permission denied to make a file in it"},
        {"cp shut/f x.idx?a", "x.idx?a: x.idx: Permission denied to write it"},
        {"rm x.idx", "x.idx: Permission denied: it is write-protected"},
        {"rm x.idx?a", "x.idx?a: x.idx: Permission denied"},
        {"index expand x.idx shut", "shut: Permission denied"},
    };
    for (const auto& c : cases) expect({{c.line, "", StartsWith(c.err), {.ordinaryUser = true}}});
    EXPECT_EQ(dir_.read("x.idx"), before);
    EXPECT_EQ(dir_.names(), names);
}

TEST_F(CommandFailures, AClosedPipeEndsItQuietly) {
    dir_.write("large", std::string(1'000'000, 'x'));
    ASSERT_EQ(::mkfifo(dir_.path("pipe").c_str(), 0600), 0);
    for (const bool ignored : {false, true}) {
        const auto before = std::signal(SIGPIPE, ignored ? SIG_IGN : SIG_DFL);
        const Circumstances piped = {.output = dir_.path("pipe")};
        const pid_t child = start({"cat", "large"}, piped);
        std::signal(SIGPIPE, before);
        ::close(::open(dir_.path("pipe").c_str(), O_RDONLY));  // a reader that comes and goes at once
        const Outcome outcome = finish(child, piped);
        EXPECT_EQ(outcome.status, ignored ? 1 : -SIGPIPE);
        EXPECT_EQ(outcome.err, "");
    }
}

TEST_F(CommandFailures, AnInterruptRemovesTemporariesAndLeavesTheOldState) {
    const std::string before = dir_.read("x.idx");
    ASSERT_EQ(::mkfifo(dir_.path("pipe").c_str(), 0600), 0);
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
        const int fd = ::open(dir_.path("pipe").c_str(), O_WRONLY);
        ASSERT_EQ(::write(fd, "some", 4), 4);
        const bool plain = *c.err != '\0';
        EXPECT_TRUE(eventually([&] { return plain ? dir_.exists("plain") : !temporaries().empty(); })) << c.to;
        // The file or the temporary is there; that it is known to the program as well takes a moment more.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (!plain) {
            EXPECT_EQ(dir_.names(), names);
        }
        ::kill(child, c.signal);
        const Outcome outcome = finish(child);
        ::close(fd);
        EXPECT_EQ(outcome.status, -c.signal) << c.to;
        EXPECT_EQ(outcome.err, c.err);
        EXPECT_TRUE(temporaries().empty()) << c.to;
        EXPECT_EQ(dir_.read("x.idx"), before);
    }
}
