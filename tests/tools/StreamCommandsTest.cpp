// cat, cp, rm, ls, stat, where: what they do when all goes well.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "TarvaniCommand.h"

class StreamCommands : public TarvaniCommand {};

TEST_F(StreamCommands, CatPrintsFilesSectionsAndStandardInputInTheOrderGiven) {
    pack("x.idx", {"a", "b"});
    dir_.write("file", "1\n");
    EXPECT_EQ(printed({"cat", "file", "x.idx?b", "-", "FILE:x.idx?a"}, {.input = "typed"}), "1\nbtypeda");
    const std::string large(300'000, 'x');
    dir_.write("large", large);
    EXPECT_EQ(printed({"cat", "large", "file"}), large + "1\n");
}

TEST_F(StreamCommands, NamesOfFilesMayLookLikeAnythingTheCommandKnows) {
    for (const char* name : {"[a,b]", "{}", "cat", "-x", "\1[", "a b", "%%"}) {
        dir_.write(name, name);
        EXPECT_EQ(printed({"cat", "--", name, name}), std::string(name) + name);
        EXPECT_EQ(printed({"cp", "--", name, "copy"}), "");
        EXPECT_EQ(dir_.read("copy"), name);
    }
}

TEST_F(StreamCommands, CpReplacesASectionInTheSameFile) {
    pack("s.idx", {"a", "b", "big"});
    ASSERT_EQ(::link(dir_.path("s.idx").c_str(), dir_.path("hard").c_str()), 0);
    dir_.write("new", "what is new");
    EXPECT_EQ(printed({"cp", "new", "s.idx?a"}), "");
    EXPECT_EQ(printed({"cat", "hard?a", "hard?b", "hard?big"}), "what is newbbig");
    EXPECT_EQ(printed({"cp", "s.idx?a", "s.idx?copy"}), "");
    EXPECT_EQ(printed({"cat", "s.idx?copy"}), "what is new");
}

TEST_F(StreamCommands, RmRemovesWhatItIsGivenAndNothingElse) {
    pack("x.idx", {"a", "b"});
    dir_.write("gone", "");
    dir_.write("kept", "k");
    ::chmod(dir_.path("kept").c_str(), 0444);
    ASSERT_EQ(::symlink("kept", dir_.path("link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", dir_.path("dangling").c_str()), 0);
    EXPECT_EQ(printed({"rm", "gone", "x.idx?a", "link", "dangling"}), "");
    EXPECT_EQ(dir_.names(), (Words{"kept", "packed", "x.idx"}));
    EXPECT_EQ(printed({"index", "list", "x.idx"}), "1\t1000\tb\n");
}

TEST_F(StreamCommands, LsSortsAndMarksWhatHasContents) {
    dir_.write("d/b", "12345");
    dir_.setTime("d/b", 77);
    dir_.write("d/a/inner", "");
    dir_.setTime("d/a", 78);
    EXPECT_EQ(printed({"ls", "d"}), "a/\nb\n");
    EXPECT_THAT(printed({"ls", "-l", "d"}), testing::EndsWith("5\t77\tb\n"));
    pack("x.idx", {"z", "m"});
    EXPECT_EQ(printed({"ls", "-l", "x.idx"}), "1\t1000\tm\n1\t1000\tz\n");
    EXPECT_EQ(printed({"ls", "d", "x.idx"}), "d:\na/\nb\n\nx.idx:\nm\nz\n");
    EXPECT_EQ(printed({"ls", "--json", "x.idx"}),
              R"([{"path":"x.idx","entries":[{"name":"m","directory":false,"size":1,"modified":1000},)"
              R"({"name":"z","directory":false,"size":1,"modified":1000}]}])"
              "\n");
    EXPECT_EQ(printed({"index", "create", "none.idx"}), "");
    EXPECT_EQ(printed({"ls", "none.idx"}), "");
}

TEST_F(StreamCommands, StatTellsWhatIsKnown) {
    pack("x.idx", {"a"});
    const std::string nothing =
        "exists: false\ndirectory: false\nsize: 0\nmodified: 0\nreadable: false\nwritable: false\n";
    EXPECT_EQ(
        printed({"stat", "x.idx?a"}),
        "path: x.idx?a\nexists: true\ndirectory: false\nsize: 1\nmodified: 1000\nreadable: true\nwritable: true\n");
    for (const char* path : {"x.idx?b", "x.idx?", "no", "no?a", ""})
        EXPECT_EQ(printed({"stat", path}), std::string("path: ") + path + "\n" + nothing);
    EXPECT_THAT(printed({"stat", "file:packed"}), testing::HasSubstr("exists: true\ndirectory: true\n"));
    EXPECT_EQ(
        printed({"stat", "--json", "no"}),
        R"([{"path":"no","exists":false,"directory":false,"size":0,"modified":0,"readable":false,"writable":false}])"
        "\n");
}

TEST_F(StreamCommands, WhereSearchesAKnownPath) {
    dir_.write("one/f", "");
    dir_.write("two/f", "");
    const std::string one = dir_.path("one"), two = dir_.path("two");
    ::setenv("TARVANI_PATH", (one + ":" + two).c_str(), 1);
    EXPECT_EQ(printed({"where", "f"}), one + "/f\n");
    EXPECT_EQ(printed({"where", "--all", "f"}), one + "/f\n" + two + "/f\n");
    EXPECT_THAT(printed({"paths"}), testing::HasSubstr("\n0 TARVANI_PATH: " + one + ":" + two + "\n"));
    EXPECT_EQ(failure({"where", "g"}),
              "tarvani: g: not found in " + one + ":" + two + " (set TARVANI_PATH to look elsewhere)");
    ::unsetenv("TARVANI_PATH");
}

TEST_F(StreamCommands, HelpAndVersionGoToStandardOutput) {
    EXPECT_THAT(printed({"--version"}), testing::MatchesRegex("tarvani [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    const struct {
        Words words;
        const char* begin;
    } cases[] = {{{"help", "cp"}, "Usage: tarvani cp "},
                 {{"cp", "--help"}, "Usage: tarvani cp "},
                 {{"help", "index", "create"}, "Usage: tarvani index create "},
                 {{"index", "create", "--help"}, "Usage: tarvani index create "},
                 {{"help"}, "Usage: tarvani "}};
    for (const auto& c : cases) EXPECT_THAT(printed(c.words), testing::HasSubstr(c.begin));
}

TEST_F(StreamCommands, WrongUsageGivesStatusTwoAndOneLine) {
    const Words cases[] = {{},
                           {"frob"},
                           {"cp", "a"},
                           {"cp", "a", "b", "c"},
                           {"cat"},
                           {"cat", "--frob", "a"},
                           {"help", "frob"},
                           {"index"},
                           {"index", "frob"},
                           {"index", "move", "x.idx", "1", "one", "1"},
                           {"where", "--path", "4", "f"}};
    for (const Words& words : cases) {
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(words);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, testing::MatchesRegex("tarvani: wrong usage: [^\n]*\n"));
    }
}
