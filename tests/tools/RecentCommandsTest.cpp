// recent: what is left in the user's history files, and what is said when that can't be.
#include <sys/stat.h>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

using testing::HasSubstr;
using testing::MatchesRegex;

class RecentCommands : public TarvaniCommand {
protected:
    const std::string old_ = "GEO\n{\n/old\n}\n";

private:
    const WithVariable home_{"TARVANI_HOME", dir_.path("home").c_str()};
};

TEST_F(RecentCommands, AddAndRemoveChangeTheFiles) {
    expect({{"recent list GEO"}});
    EXPECT_FALSE(dir_.exists("home"));
    expect({
        {"recent add GEO /p/q/r.geo"},
        {"cat home/file.history home/dir.history", "GEO\n{\n/p/q/r.geo\n}\nGEO\n{\n/p/q/\n}\n"},
        {"recent add geo a.geo /x/b.geo"},
        {"recent add SCN s.scn"},
        {"recent list GEO", "/x/b.geo\na.geo\n/p/q/r.geo\n"},
        {"recent list --json GEO", "[\"/x/b.geo\",\"a.geo\",\"/p/q/r.geo\"]\n"},
        {"recent dirs GEO", "/x/\n/p/q/\n"},
        {"recent remove GEO /x/b.geo a.geo"},
        {"recent remove SCN ./s.scn"},  // kept as an absolute name
        {"cat home/file.history home/dir.history", "GEO\n{\n/p/q/r.geo\n}\nGEO\n{\n/p/q/\n/x/\n}\n"},
        {"recent types",
         "SCN\nPIC\nGEO\nRAMP\nCAPT\nCLIP\nPAINT\nLUT\nCMD\nMIDI\nTXT\nVOL\nCHAN\nFONT\nLIB\nMISC\nSIM\nSIMDATA\nDAE\n"
         "FBX\nGAL\nMOV\nICON\n"},
    });
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
    const std::string files = printed("recent list GEO"), directories = printed("recent dirs GEO");
    for (const std::string& name : names) {
        EXPECT_NE(files.find(name + "\n"), files.npos) << name;
        EXPECT_NE(directories.find(name.substr(0, name.size() - 1) + "\n"), directories.npos) << name;
    }
    EXPECT_EQ(dir_.names("home"), (Words{"dir.history", "file.history"}));
}

TEST_F(RecentCommands, AFailureLeavesTheFilesAsTheyWere) {
    const std::string file = dir_.write("home/file.history", old_);
    expect({
        {"recent remove GEO /old /none", "", "/none: not among the recent files of GEO"},
        {"recent add GEO ''", "", "\"\": an empty path names nothing"},
        {"recent add GEO /a ' b'", "",
         " b: a line of home/file.history can't hold it: a line feed, or white space or \"}\" in front"},
        {"recent add GEO /" + std::string(5000, 'x'),
         "",
         MatchesRegex("home/file.history: .*File too large; nothing was written"),
         {.largestFile = 4000}},
        {"recent add GEOS /a", "", HasSubstr("wrong usage: no type \"GEOS\""), {}, 2},
    });
    EXPECT_EQ(dir_.read("home/file.history"), old_);
    EXPECT_EQ(dir_.names("home"), Words{"file.history"});
    dir_.makeDirectory("home/dir.history");
    expect({{"recent dirs GEO", "", "home/dir.history: Is a directory"}});
    if (!servesOrdinaryUsers()) GTEST_SKIP() << "the program is out of their reach";
    ASSERT_EQ(::chmod(dir_.path("home").c_str(), 0777) + ::chmod(file.c_str(), 0222), 0);
    for (const char* line : {"recent add GEO /old", "recent remove GEO /old"})
        expect({{line, "", "home/file.history: Permission denied", {.ordinaryUser = true}}});
    EXPECT_EQ(dir_.read("home/file.history"), old_);
}
