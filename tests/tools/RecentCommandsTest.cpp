// recent: what is left in the user's history files, and what is said when that can't be.
#include <sys/stat.h>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

class RecentCommands : public TarvaniCommand {
protected:
    RecentCommands() : home_("TARVANI_HOME", dir_.path("home").c_str()) {}

private:
    WithVariable home_;
};

TEST_F(RecentCommands, AddAndRemoveChangeTheFiles) {
    EXPECT_EQ(printed({"recent", "list", "GEO"}), "");
    EXPECT_FALSE(dir_.exists("home"));
    EXPECT_EQ(printed({"recent", "add", "GEO", "/p/q/r.geo"}), "");
    EXPECT_EQ(dir_.read("home/file.history"), "GEO\n{\n/p/q/r.geo\n}\n");
    EXPECT_EQ(dir_.read("home/dir.history"), "GEO\n{\n/p/q/\n}\n");
    EXPECT_EQ(printed({"recent", "add", "geo", "a.geo", "/x/b.geo"}), "");
    EXPECT_EQ(printed({"recent", "add", "SCN", "s.scn"}), "");
    EXPECT_EQ(printed({"recent", "list", "GEO"}), "/x/b.geo\na.geo\n/p/q/r.geo\n");
    EXPECT_EQ(printed({"recent", "list", "--json", "GEO"}), "[\"/x/b.geo\",\"a.geo\",\"/p/q/r.geo\"]\n");
    EXPECT_EQ(printed({"recent", "dirs", "GEO"}), "/x/\n/p/q/\n");
    EXPECT_EQ(printed({"recent", "remove", "GEO", "/x/b.geo", "a.geo"}), "");
    EXPECT_EQ(printed({"recent", "remove", "SCN", "./s.scn"}), "");  // kept as an absolute name
    EXPECT_EQ(dir_.read("home/file.history"), "GEO\n{\n/p/q/r.geo\n}\n");
    EXPECT_EQ(dir_.read("home/dir.history"), "GEO\n{\n/p/q/\n/x/\n}\n");
    EXPECT_EQ(printed({"recent", "types"}),
              "SCN\nPIC\nGEO\nRAMP\nCAPT\nCLIP\nPAINT\nLUT\nCMD\nMIDI\nTXT\nVOL\nCHAN\nFONT\nLIB\nMISC\nSIM\n"
              "SIMDATA\nDAE\nFBX\nGAL\nMOV\nICON\n");
}

TEST_F(RecentCommands, ManyAtOnceLoseNothing) {
    constexpr int kCommands = 20;  // as many names as a list has
    std::vector<pid_t> commands;
    Words names;
    for (int i = 0; i < kCommands; ++i) {
        names.push_back("/d" + std::to_string(i) + "/a");
        commands.push_back(start({"recent", "add", "GEO", names.back()}));
    }
    for (const pid_t command : commands) EXPECT_EQ(finish(command).status, 0);
    const std::string files = printed({"recent", "list", "GEO"}), directories = printed({"recent", "dirs", "GEO"});
    for (const std::string& name : names) {
        EXPECT_NE(files.find(name + "\n"), files.npos) << name;
        EXPECT_NE(directories.find(name.substr(0, name.size() - 1) + "\n"), directories.npos) << name;
    }
    EXPECT_THAT(dir_.names("home"), ElementsAre("dir.history", "file.history"));
}

TEST_F(RecentCommands, AFailureLeavesTheFilesAsTheyWere) {
    const std::string old = "GEO\n{\n/old\n}\n";
    const std::string file = dir_.write("home/file.history", old);
    const struct {
        Words words;
        std::string line;
    } cases[] = {
        {{"recent", "remove", "GEO", "/old", "/none"}, "/none: not among the recent files of GEO"},
        {{"recent", "add", "GEO", ""}, "\"\": an empty path names nothing"},
        {{"recent", "add", "GEO", "/a", " b"},
         " b: a line of " + file + " can't hold it: a line feed, or white space or \"}\" in front"},
    };
    for (const auto& c : cases) EXPECT_EQ(failure(c.words), "tarvani: " + c.line);
    const std::string full = failure({"recent", "add", "GEO", "/" + std::string(5000, 'x')}, {.largestFile = 4000});
    EXPECT_THAT(full, StartsWith("tarvani: " + file + ": "));
    EXPECT_THAT(full, EndsWith("File too large; nothing was written"));
    for (const char* type : {"", "GEOS", "?"}) {
        const Outcome outcome = run({"recent", "add", type, "/a"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, StartsWith("tarvani: wrong usage: no type \"" + std::string(type) + "\""));
    }
    EXPECT_EQ(dir_.read("home/file.history"), old);
    EXPECT_THAT(dir_.names("home"), ElementsAre("file.history"));
}

TEST_F(RecentCommands, AFileThatCannotBeReadIsNotReplaced) {
    if (run({"--version"}, {.ordinaryUser = true}).status != 0) GTEST_SKIP() << "the program is out of their reach";
    const std::string file = dir_.write("home/file.history", "GEO\n{\n/old\n}\n");
    ASSERT_EQ(::chmod(dir_.path("home").c_str(), 0777), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0222), 0);
    for (const char* command : {"add", "remove"})
        EXPECT_EQ(failure({"recent", command, "GEO", "/old"}, {.ordinaryUser = true}),
                  "tarvani: " + file + ": Permission denied");
    EXPECT_EQ(dir_.read("home/file.history"), "GEO\n{\n/old\n}\n");
    dir_.makeDirectory("home/dir.history");
    EXPECT_EQ(failure({"recent", "dirs", "GEO"}), "tarvani: " + dir_.path("home/dir.history") + ": Is a directory");
}
