// cat, cp, rm, ls, stat, where: what they do when all goes well.
#include <sys/stat.h>
#include <unistd.h>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

using testing::EndsWith;
using testing::HasSubstr;

class StreamCommands : public TarvaniCommand {};

TEST_F(StreamCommands, CatAndCpTakeFilesSectionsAndStandardInput) {
    pack("x.idx", {"a", "b", "big"});
    dir_.write("file", "1\n");
    const std::string large(300'000, 'x');
    dir_.write("large", large);
    ASSERT_EQ(::link(dir_.path("x.idx").c_str(), dir_.path("hard").c_str()), 0);
    expect({
        {"cat file x.idx?b - FILE:x.idx?a", "1\nbtypeda", "", {.input = "typed"}},
        {"cat large file", large + "1\n"},
        {"cp file x.idx?a"},
        {"cat hard?a hard?b hard?big", "1\nbbig"},  // the same file
        {"cp x.idx?a x.idx?copy"},
        {"cat x.idx?copy", "1\n"},
    });
    // Names may look like anything that the command knows.
    for (const std::string name : {"[a,b]", "{}", "cat", "-x", "\1[", "a b", "%%"}) {
        dir_.write(name, name);
        expect({{"cat -- '" + name + "' '" + name + "'", name + name}, {"cp -- '" + name + "' copy"}});
        EXPECT_EQ(dir_.read("copy"), name);
    }
}

TEST_F(StreamCommands, RmRemovesWhatItIsGivenAndNothingElse) {
    pack("x.idx", {"a", "b"});
    dir_.write("gone", "");
    dir_.write("kept", "k");
    ::chmod(dir_.path("kept").c_str(), 0444);
    ASSERT_EQ(::symlink("kept", dir_.path("link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", dir_.path("dangling").c_str()), 0);
    expect({{"rm gone x.idx?a link dangling"}, {"index list x.idx", "1\t1000\tb\n"}});
    EXPECT_EQ(dir_.names(), (Words{"kept", "packed", "x.idx"}));
}

TEST_F(StreamCommands, LsAndStatTellWhatIsKnown) {
    dir_.write("d/b", "12345");
    dir_.setTime("d/b", 77);
    dir_.write("d/a/inner", "");
    pack("x.idx", {"z", "m"});
    expect({
        {"ls d", "a/\nb\n"},
        {"ls -l d", EndsWith("5\t77\tb\n")},
        {"ls -l x.idx", "1\t1000\tm\n1\t1000\tz\n"},
        {"ls d x.idx", "d:\na/\nb\n\nx.idx:\nm\nz\n"},
        {"ls --json x.idx", R"([{"path":"x.idx","entries":[{"name":"m","directory":false,"size":1,"modified":1000},)"
                            R"({"name":"z","directory":false,"size":1,"modified":1000}]}])"
                            "\n"},
        {"index create none.idx"},
        {"ls none.idx"},
        {"stat x.idx?z",
         "path: x.idx?z\nexists: true\ndirectory: false\nsize: 1\nmodified: 1000\nreadable: true\nwritable: true\n"},
        {"stat file:packed", HasSubstr("exists: true\ndirectory: true\n")},
        {"stat --json no",
         R"([{"path":"no","exists":false,"directory":false,"size":0,"modified":0,"readable":false,"writable":false}])"
         "\n"},
    });
    for (const std::string path : {"x.idx?b", "x.idx?", "no?a", ""})
        expect({{"stat '" + path + "'", "path: " + path +
                                            "\nexists: false\ndirectory: false\nsize: 0\nmodified: 0\nreadable: false\n"
                                            "writable: false\n"}});
}

TEST_F(StreamCommands, WhereSearchesAKnownPath) {
    dir_.write("one/f", "");
    dir_.write("two/f", "");
    const WithVariable path("TARVANI_PATH", (dir_.path("one") + ":" + dir_.path("two")).c_str());
    expect({{"where f", "one/f\n"},
            {"where --all f", "one/f\ntwo/f\n"},
            {"paths", HasSubstr("\n0 TARVANI_PATH: one:")},
            {"where g", "", testing::MatchesRegex("g: not found in .*two \\(set TARVANI_PATH to look elsewhere\\)")}});
}

TEST_F(StreamCommands, WrongUsageGivesStatusTwoAndOneLine) {
    expect({{"--version", testing::MatchesRegex("tarvani [0-9]+\\.[0-9]+\\.[0-9]+\n")}});
    expectWrongUsage({"", "frob", "cp a", "cp a b c", "cat", "cat --frob a", "help frob", "index", "index frob",
                      "index move x.idx 1 one 1", "where --path 4 f"});
}
