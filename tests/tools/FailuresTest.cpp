// What a failure says, and that it leaves everything as it was.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "../support/Container.h"
#include "TarvaniCommand.h"

class CommandFailures : public TarvaniCommand {
protected:
    void skipUnlessOrdinaryUsersCanRunIt() {
        if (run({"--version"}, {.ordinaryUser = true}).status != 0) GTEST_SKIP() << "the program is out of their reach";
    }
    // Waits until `happened` for as long as a slow machine may need.
    template <class Condition>
    static bool eventually(Condition happened) {
        for (int i = 0; i < 3000 && !happened(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return happened();
    }
};

TEST_F(CommandFailures, ReadingNamesTheLevelAndTheCause) {
    pack("x.idx", {"a", "b", "c"});
    dir_.write("text", "text");
    dir_.write("empty", "");
    dir_.write("newer", "INDX" + packed(1));
    dir_.write("cut", "INDX" + packed(0));
    dir_.write("lie", "INDX" + packed(0) + packed("") + packed(2000000000));
    dir_.write("none.idx", packedContainer({}));
    EXPECT_EQ(printed({"cp", "text", "deep.idx?in?text"}), "");
    const std::string whole = packedContainer({{"s", "0123456789"}});
    dir_.write("short.idx", whole.substr(0, whole.size() - 7));
    Words many;
    for (char c = 'a'; c < 'k'; ++c) many.push_back(std::string(1, c));
    many.front() = std::string(50, 'x');
    pack("many.idx", many);
    const struct {
        const char *path, *reason;
    } cases[] = {
        {"nope", "No such file or directory"},
        {"packed", "Is a directory"},
        {"text/x", "Not a directory"},
        {"x.idx?geo", "no section \"geo\" (3 sections: a, b, c)"},
        {"x.idx?", "no section \"\" (3 sections: a, b, c)"},
        {"none.idx?a", "no section \"a\" (no sections)"},
        {"many.idx?geo",
         "no section \"geo\" (10 sections: xxxxxxxxxxxxxxxxxxx...xxxxxxxxxxxxxxxxxx, b, c, d, e, f, g, "
         "h, ...)"},
        {"nope?a", "nope: No such file or directory"},
        {"text?a", "text: not a container"},
        {"empty?a", "empty: not a container: it is empty"},
        {"newer?a", "newer: container of a newer version (1); this program reads version 0"},
        {"cut?a", "cut: damaged container: it ends in its header"},
        {"lie?a", "lie: damaged container: the table of its 2000000000 sections can't be read whole"},
        {"deep.idx?in?no", "no section \"no\" (1 section: text)"},
        {"deep.idx?in?text?no", "deep.idx?in?text: not a container"},
        {"new\nline", "No such file or directory"},
    };
    for (const auto& c : cases) {
        std::string name = c.path;
        if (const auto end = name.find('\n'); end != std::string::npos) name.replace(end, 1, "\\n");
        EXPECT_EQ(failure({"cat", c.path}), "tarvani: " + name + ": " + c.reason);
    }
    EXPECT_EQ(run({"cat", "short.idx?s"}).err, "tarvani: short.idx?s: cut short: 3 of 10 bytes are there\n");
    EXPECT_EQ(failure({"ls", "text"}), "tarvani: text: neither a directory nor a container");
    for (const char* path : {"newer", "x.idx?a", "x.idx?geo", "x.idx?"}) {
        const std::string line = failure({"ls", path});
        EXPECT_EQ(line, failure({"index", "list", path}));
    }
}

TEST_F(CommandFailures, OnePathThatFailsDoesNotStopTheOthers) {
    dir_.write("a", "a");
    const Outcome outcome = run({"cat", "a", "nope", "a", "gone"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "aa");
    EXPECT_EQ(outcome.err, "tarvani: nope: No such file or directory\ntarvani: gone: No such file or directory\n");
}

TEST_F(CommandFailures, CpAndRmLeaveEverythingAsItWas) {
    pack("x.idx", {"a", "b"});
    dir_.write("text", "text");
    const std::string whole = packedContainer({{"s", "0123456789"}});
    dir_.write("short.idx", whole.substr(0, whole.size() - 7));
    ASSERT_EQ(::symlink("text", dir_.path("soft").c_str()), 0);
    ASSERT_EQ(::link(dir_.path("text").c_str(), dir_.path("hard").c_str()), 0);
    const Words names = dir_.names();
    const std::string before = dir_.read("x.idx");
    const struct {
        Words words;
        const char* line;
    } cases[] = {
        {{"cp", "text", "text"}, "text: is the same as text"},
        {{"cp", "text", "./soft"}, "./soft: is the same as text"},
        {{"cp", "hard", "file:text"}, "file:text: is the same as hard"},
        {{"cp", "x.idx", "x.idx?c"}, "x.idx?c: lies in x.idx, which can't go into itself"},
        {{"cp", "x.idx?a", "x.idx"}, "x.idx: holds x.idx?a, which would be lost with it"},
        {{"cp", "text", "packed"}, "packed: Is a directory; give the name of a file in it"},
        {{"cp", "text", "nope/to"}, "nope/to: no directory \"nope\"; make it first"},
        {{"cp", "text", "nope/to?a"}, "nope/to?a: no directory \"nope\"; make it first"},
        {{"cp", "text", "text/to"}, "text/to: Not a directory"},
        {{"cp", "text", "x.idx?"}, "x.idx?: a section needs a name behind \"?\""},
        {{"cp", "text", "packed/a?b"}, "packed/a?b: packed/a: not a container; it stays as it is"},
        {{"cp", "text", "x.idx?a?b"}, "x.idx?a?b: x.idx?a: not a container; it stays as it is"},
        {{"cp", "nope", "text"}, "nope: No such file or directory"},
        {{"cp", "short.idx?s", "text"}, "short.idx?s: cut short: 3 of 10 bytes are there"},
        {{"cp", "text", "/dev/full"}, "/dev/full: No space left on device"},
        {{"rm", "packed"}, "packed: Is a directory"},
        {{"rm", "nope"}, "nope: No such file or directory"},
        {{"rm", "x.idx?nope"}, "x.idx?nope: no section \"nope\" (2 sections: a, b)"},
        {{"rm", "nope?a"}, "nope?a: nope: No such file or directory"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(failure(c.words), std::string("tarvani: ") + c.line);
        EXPECT_EQ(dir_.names(), names);
        EXPECT_EQ(dir_.read("x.idx"), before);
        EXPECT_EQ(dir_.read("text"), "text");
    }
    EXPECT_EQ(failure({"cp", "-", "text"}, {.closed = {STDIN_FILENO}}), "tarvani: standard input: Bad file descriptor");
    EXPECT_EQ(dir_.read("text"), "text");
}

TEST_F(CommandFailures, AFullOutputIsSeenAlsoAtTheEnd) {
    pack("x.idx", {"a"});
    const Words cases[] = {{"cat", "x.idx?a"},
                           {"cp", "x.idx?a", "-"},
                           {"ls", "x.idx"},
                           {"ls", "--json", "."},
                           {"stat", "x.idx"},
                           {"index", "list", "x.idx"},
                           {"index", "describe", "x.idx"},
                           {"help", "cp"},
                           {"--version"}};
    for (const Words& words : cases) {
        EXPECT_EQ(failure(words, {.output = "/dev/full"}), "tarvani: standard output: No space left on device");
        EXPECT_EQ(failure(words, {.closed = {STDOUT_FILENO}}), "tarvani: standard output: Bad file descriptor");
    }
}

TEST_F(CommandFailures, MessagesNeverLandInAFileThatIsWritten) {
    dir_.write("a", "a");
    EXPECT_EQ(run({"cp", "a", "b"}, {.closed = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}}).status, 0);
    EXPECT_EQ(run({"cp", "nope", "b"}, {.closed = {STDERR_FILENO}}).status, 1);
    EXPECT_EQ(dir_.read("b"), "a");
}

TEST_F(CommandFailures, NothingIsReadAndWrittenAtOnce) {
    dir_.write("log", "line\n");
    EXPECT_EQ(failure({"cat", "log"}, {.output = dir_.path("log")}),
              "tarvani: log: is the file that standard output goes to");
    EXPECT_EQ(dir_.read("log"), "line\n");
    EXPECT_EQ(failure({"cp", "-", "/dev/stdin"}, {.input = "line\n"}),
              "tarvani: /dev/stdin: is the file that standard input comes from");
}

TEST_F(CommandFailures, AFileThatMayNotGrowIsAFailedWrite) {
    pack("x.idx", {"a"});
    dir_.write("large", std::string(200'000, 'x'));
    const std::string before = dir_.read("x.idx");
    const Circumstances limited = {.largestFile = 100'000};
    EXPECT_EQ(failure({"cp", "large", "out"}, limited), "tarvani: out: File too large; the file is incomplete");
    const Words sections[] = {{"cp", "large", "x.idx?a"},
                              {"cp", "large", "new.idx?a"},
                              {"index", "add", "x.idx", "b", "large"},
                              {"index", "create", "x.idx", "large"},
                              {"index", "create", "new.idx", "large"}};
    for (const Words& words : sections) {
        EXPECT_THAT(failure(words, limited), testing::HasSubstr("File too large")) << testing::PrintToString(words);
        EXPECT_EQ(dir_.read("x.idx"), before);
        EXPECT_EQ(dir_.names(), (Words{"large", "out", "packed", "x.idx"}));
    }
    EXPECT_EQ(printed({"cp", "large", "x.idx?a"}), "");
    EXPECT_THAT(failure({"index", "expand", "x.idx", "d"}, limited), testing::HasSubstr("File too large"));
}

TEST_F(CommandFailures, OrdinaryUsersMeetTheRightsOfFilesAndDirectories) {
    skipUnlessOrdinaryUsersCanRunIt();
    if (IsSkipped()) return;
    pack("x.idx", {"a"});
    dir_.write("secret", "s");
    dir_.write("shut/f", "f");
    dir_.write("shut/g.idx", packedContainer({{"a", ""}}));
    ::chmod(dir_.path("secret").c_str(), 0600);
    for (const char* name : {"x.idx", "shut/f"}) ::chmod(dir_.path(name).c_str(), 0444);
    ::chmod(dir_.path("shut").c_str(), 0555);
    const std::string before = dir_.read("x.idx");
    const struct {
        Words words;
        const char* line;
    } cases[] = {
        {{"cat", "secret"}, "secret: Permission denied"},
        {{"cat", "secret?a"}, "secret?a: secret: Permission denied"},
        {{"cp", "x.idx", "secret"}, "secret: Permission denied"},
        {{"cp", "x.idx?a", "shut/new"}, "shut/new: shut: Permission denied to make a file in it"},
        {{"cp", "x.idx?a", "shut/new?a"}, "shut/new?a: shut: Permission denied to make a file in it"},
        {{"cp", "shut/f", "x.idx?a"}, "x.idx?a: x.idx: Permission denied to write it"},
        {{"rm", "x.idx"}, "x.idx: Permission denied: it is write-protected"},
        {{"rm", "x.idx?a"}, "x.idx?a: x.idx: Permission denied"},
        {{"rm", "shut/g.idx"}, "shut/g.idx: Permission denied"},
        {{"index", "create", "shut/new", "x.idx"}, "shut/new: shut: Permission denied to make a file in it"},
        {{"index", "create", "new.idx", "secret"}, "secret: Permission denied"},
        {{"index", "expand", "x.idx", "shut"}, "shut: Permission denied"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(failure(c.words, {.ordinaryUser = true}), testing::StartsWith(std::string("tarvani: ") + c.line));
    EXPECT_EQ(dir_.read("x.idx"), before);
    EXPECT_EQ(dir_.names(), (Words{"packed", "secret", "shut", "x.idx"}));
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
    pack("x.idx", {"a"});
    const std::string before = dir_.read("x.idx");
    ASSERT_EQ(::mkfifo(dir_.path("pipe").c_str(), 0600), 0);
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
        ::kill(child, c.signal);
        const Outcome outcome = finish(child);
        ::close(fd);
        EXPECT_EQ(outcome.status, -c.signal) << c.to;
        EXPECT_EQ(outcome.err, c.err);
        EXPECT_TRUE(temporaries().empty()) << c.to;
        EXPECT_EQ(dir_.read("x.idx"), before);
    }
    EXPECT_EQ(dir_.names(), (Words{"packed", "pipe", "plain", "x.idx"}));
}
