// What FS_Info tells of files, sections and helpers' paths.
#include <UT/UT_StringArray.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stream/FS_Info.h>

#include <filesystem>

#include "../support/Container.h"
#include "../support/ScratchDir.h"
#include "AsUser.h"
#include "Reading.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

// All answers about one path, a letter for each that is yes: exists, read, write, directory; then file exists, can
// read, can write, can write into the directory, can be deleted.
std::string answers(const FS_Info& info) {
    std::string text;
    const auto add = [&](bool yes, char letter) { text += yes ? letter : '-'; };
    add(info.hasAccess(0), 'e');
    add(info.hasAccess(1), 'r');
    add(info.hasAccess(2), 'w');
    add(info.getIsDirectory(), 'd');
    add(info.fileExists(), 'F');
    add(info.canReadFile(), 'R');
    add(info.canWriteFile(), 'W');
    add(info.canWriteDirectory(), 'D');
    add(info.canDeleteFile(), 'X');
    return text;
}

void setMode(const std::string& path, unsigned mode) {
    std::filesystem::permissions(path, static_cast<std::filesystem::perms>(mode));
}

// Claims paths that begin with "own:" and separates them by ":" upwards and "|" downwards.
class OwnInfo : public FS_InfoHelper {
public:
    bool canHandle(const char* path) override {
        asked.push_back(path);
        return std::string_view(path).starts_with("own:") || path == claimed;
    }
    bool hasAccess(const char* path, int mode) override {
        return path != claimed && (mode & 2) == 0 && std::string_view(path).find("none") == std::string_view::npos;
    }
    bool getIsDirectory(const char* path) override { return std::string_view(path) == "own:dir"; }
    int getModTime(const char*) override { return 77; }
    std::int64_t getSize(const char*) override { return std::int64_t{1} << 40; }
    bool getContents(const char* path, UT_StringArray& files, UT_StringArray* dirs) override {
        if (!getIsDirectory(path)) return false;
        files.append("leaf");
        files.append("none");
        (dirs ? *dirs : files).append("branch");
        return true;
    }
    char getNextSepChar(const char*) override { return '|'; }
    char getPrevSepChar(const char*) override { return ':'; }

    std::vector<std::string> asked;
    std::string claimed;
};

class Info : public testing::Test {
protected:
    // One path is listed; true and false are part of the text.
    std::string list(const std::string& path, bool withDirs = true) {
        UT_StringArray files, dirs;
        UT_RefArray<FS_Stat> fileStats, dirStats;
        std::string text = FS_Info(path.c_str()).getContents(files, withDirs ? &dirs : nullptr, &fileStats, &dirStats)
                               ? "true"
                               : "false";
        EXPECT_EQ(fileStats.entries(), files.entries()) << path;
        EXPECT_EQ(dirStats.entries(), dirs.entries()) << path;
        for (const UT_String& name : files) text.append(" ").append(name.view());
        for (const UT_String& name : dirs) text.append(" ").append(name.view()).append("/");
        return text;
    }

    const ScratchDir scratch;
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}});
    const std::string bytes =
        packedContainer({{"geo", "geometry", 11}, {"inner", inner, 22}, {"empty", packedContainer({}), 3}});
};

TEST_F(Info, AnswersForFilesDirectoriesAndSectionsAsAUser) {
    for (const char* directory : {"open", "closed"}) scratch.makeDirectory(directory);
    const struct {
        const char* name;
        unsigned mode;
    } files[] = {{"open/free", 0666}, {"open/locked", 0444}, {"open/secret", 0}, {"closed/free", 0666}};
    for (const auto& file : files) setMode(scratch.write(file.name, "bytes"), file.mode);
    setMode(scratch.write("open/x.idx", bytes), 0666);
    setMode(scratch.write("open/locked.idx", bytes), 0444);
    setMode(scratch.path("open"), 0777);
    setMode(scratch.path("closed"), 0755);
    setMode(scratch.path(), 0755);

    const std::string prefixed = "file:" + scratch.path("open/free");
    const struct {
        const char *path, *expected;
    } cases[] = {
        {"../open", "erwd---D-"},
        {"../open/", "erwd---D-"},
        {"free", "erw-FRW-X"},
        {"locked", "er--FR---"},
        {"secret", "e---F----"},
        {"../closed", "er-d-----"},
        {"../closed/free", "erw-FRW--"},
        // What isn't there is a question about its directory.
        {"../open/new", "------WDX"},
        {"new", "------WDX"},
        {"a/b/c", "------WDX"},
        {"a//b/", "------WDX"},
        {"../closed/new", "--------X"},
        {"free/below", "--------X"},
        // Sections.
        {"x.idx?geo", "erw-FRW-X"},
        {"x.idx?inner", "erwd-----"},
        {"x.idx?empty", "erw-FRW-X"},
        {"x.idx?inner?deep", "erw-FRW-X"},
        {"x.idx?none", "--w---WDX"},
        {"x.idx?", "erw-FRW-X"},
        {"none.idx?geo", "------WDX"},
        {"locked.idx?geo", "er--FR---"},
        // "file:" is taken off for all but the question whether it is a directory.
        {prefixed.c_str(), "erw-FRW-X"},
        {"file:../open", "erw-FRW--"},
        {"", "---------"},
    };
    const InDirectory here(scratch.path("open"));
    for (const auto& c : cases) {
        const auto ask = [&] { return answers(FS_Info(c.path)); };
        EXPECT_EQ(asOrdinaryUser(ask), c.expected) << c.path;
    }
    EXPECT_EQ(answers(FS_Info(nullptr)), "---------");
    EXPECT_EQ(answers(FS_Info("/")), ::geteuid() == 0 ? "erwd---D-" : "er-d-----");
    EXPECT_FALSE(FS_Info("/no-such-file-here").canWriteFile()) << "its directory has an empty name";
}

TEST_F(Info, TellsTimesAndSizes) {
    const std::string file = scratch.write("file", "seven b");
    scratch.setTime("file", 1000000);
    scratch.write("sparse", "");
    scratch.cutAt("sparse", 3LL << 30);
    const std::string container = scratch.write("x.idx", bytes);
    const struct {
        std::string path;
        int time;
        std::int64_t size;
    } cases[] = {
        {file, 1000000, 7},
        {"File:" + file, 1000000, 7},
        {scratch.path("none"), 0, 0},
        {container + "?geo", 11, 8},
        {"file:" + container + "?inner?deep", 33, 10},
        {container + "?none", 0, 0},
        {file + "?geo", 0, 0},
        {"own:x", 77, std::int64_t{1} << 40},
    };
    const OwnInfo helper;
    for (const auto& c : cases) {
        EXPECT_EQ(FS_Info(c.path.c_str()).getModTime(), c.time) << c.path;
        EXPECT_EQ(FS_Info(c.path.c_str()).getFileDataSize(), c.size) << c.path;
    }
    EXPECT_EQ(FS_Info(scratch.path("sparse").c_str()).getFileDataSize(), 3LL << 30);
    EXPECT_EQ(FS_Info(nullptr).getModTime() + FS_Info(nullptr).getFileDataSize(), 0);
}

TEST_F(Info, CutsOneSlashAtTheVeryEnd) {
    OwnInfo helper;
    const struct {
        const char *path, *asked;
    } cases[] = {{"dir", "dir"}, {"dir/", "dir"}, {"dir//", "dir/"}, {"C:/", "C:/"},  {"/", "/"},
                 {"x?", "x"},    {"x?/", "x"},    {"dir/?s", "dir"}, {"a?b?s/", "a"}, {"FILE:a", "FILE:a"}};
    for (const auto& c : cases) {
        FS_Info(c.path).hasAccess(2);
        ASSERT_FALSE(helper.asked.empty());
        EXPECT_EQ(helper.asked.back(), c.asked) << c.path;
    }
    // As many levels as a path can name cost neither the stack nor the time of their square.
    std::string deep = "none";
    for (int i = 0; i < 100000; ++i) deep += "?s";
    EXPECT_FALSE(FS_Info(deep.c_str()).hasAccess(2));
    EXPECT_FALSE(FS_Info(deep.c_str()).hasAccess(1));
}

TEST_F(Info, HelpersAnswerAlone) {
    const std::string file = scratch.write("file", "bytes");
    {
        OwnInfo older, helper;
        helper.claimed = file;
        EXPECT_FALSE(FS_Info(file.c_str()).fileExists()) << "hides the real file";
        EXPECT_TRUE(older.asked.empty());
        EXPECT_EQ(answers(FS_Info("own:leaf")), "er--FR---");
        EXPECT_EQ(answers(FS_Info("own:dir")), "er-d-----");
        EXPECT_EQ(FS_Info::getNextSepChar("own:x"), '|');
        EXPECT_EQ(FS_Info::getPrevSepChar("own:x"), ':');
        EXPECT_EQ(FS_Info::getPrevSepChar("other"), '/');
        EXPECT_EQ(FS_Info::getNextSepChar(nullptr), '/');
        const OwnInfo copy(helper);
        FS_Info("x").hasAccess(0);
        EXPECT_EQ(older.asked.back(), "x");
        EXPECT_EQ(helper.asked.size(), copy.asked.size() + 1) << "a copy isn't registered";
    }
    EXPECT_TRUE(FS_Info(file.c_str()).fileExists());
}

TEST_F(Info, LooksAtOneNameBelowAnother) {
    const std::string file = scratch.write("d/file", "bytes");
    scratch.setTime("d/file", 1000000);
    FS_Stat stat(0, 0, false, true);
    EXPECT_TRUE(FS_Info::statFile(scratch.path("d").c_str(), "file", &stat));
    EXPECT_EQ(stat, FS_Stat(1000000, 5, false, true)) << "the mark of a link stays as it was";
    EXPECT_TRUE(FS_Info::statFile(scratch.path("d/").c_str(), "file", nullptr));
    EXPECT_TRUE(FS_Info::statFile("elsewhere", file.c_str(), nullptr));
    EXPECT_TRUE(FS_Info::statFile(nullptr, file.c_str(), nullptr));
    EXPECT_FALSE(FS_Info::statFile(scratch.path().c_str(), "", nullptr));
    EXPECT_FALSE(FS_Info::statFile(scratch.path().c_str(), nullptr, nullptr));
    EXPECT_TRUE(FS_Info::statFile("", scratch.path("d").c_str(), &stat));
    EXPECT_TRUE(stat.isDirectory);
    EXPECT_FALSE(FS_Info::statFile(scratch.path("d").c_str(), "none", &stat));

    OwnInfo helper;
    EXPECT_TRUE(FS_Info::statFile("own:dir", "leaf", &stat));
    EXPECT_EQ(helper.asked.back(), "own:dir|leaf");

    FS_Stat sequence(5, 10, true);
    sequence.updateSequenceStat(FS_Stat(-7, 1));
    sequence.updateSequenceStat(FS_Stat(5000000000L, 2));
    EXPECT_EQ(sequence, FS_Stat(2147483647, 13, true));
}

TEST_F(Info, ListsADirectory) {
    scratch.write("d/file", "bytes");
    scratch.write("d/.hidden", "");
    scratch.makeDirectory("d/sub");
    std::filesystem::create_symlink("sub", scratch.path("d/to-sub"));
    std::filesystem::create_symlink("file", scratch.path("d/to-file"));
    std::filesystem::create_symlink("nowhere", scratch.path("d/dangling"));
    for (const char* name : {"d/file", "d/.hidden", "d/sub", "d/to-sub", "d/to-file", "d/dangling"})
        scratch.setTime(name, 1000);

    UT_StringArray files, dirs;
    files.append("stays");
    UT_RefArray<FS_Stat> fileStats, dirStats;
    EXPECT_TRUE(FS_Info(("FILE:" + scratch.path("d/")).c_str()).getContents(files, &dirs, &fileStats, &dirStats));
    const auto told = [](const UT_StringArray& names, int first, const UT_RefArray<FS_Stat>& stats) {
        std::vector<std::string> all;
        for (const FS_Stat& stat : stats) {
            EXPECT_EQ(stat.modTime, 1000);
            all.push_back(std::string(names(first++).view()) + (stat.isShortcut ? " link" : "") +
                          (stat.isDirectory ? "/" : " " + std::to_string(stat.size)));
        }
        return all;
    };
    EXPECT_EQ(files(0), "stays");
    EXPECT_THAT(told(files, 1, fileStats),
                UnorderedElementsAre("file 5", ".hidden 0", "to-file link 4", "dangling link 7"));
    EXPECT_THAT(told(dirs, 0, dirStats), UnorderedElementsAre("sub/", "to-sub link/"));

    UT_StringArray all;
    UT_RefArray<FS_Stat> allStats;
    EXPECT_TRUE(FS_Info(scratch.path("d").c_str()).getContents(all, nullptr, &allStats, nullptr));
    EXPECT_EQ(all.entries(), 6) << "sub-directories among the files";
    for (const FS_Stat& stat : allStats) EXPECT_FALSE(stat.isDirectory || stat.isShortcut);
    EXPECT_TRUE(FS_Info(scratch.path("d").c_str()).getContents(all, nullptr, nullptr, nullptr));
    EXPECT_EQ(all.entries(), 12);
}

TEST_F(Info, ListsContainersSectionsAndWhatAHelperServes) {
    const std::string container = scratch.write("x.idx", bytes);
    scratch.write("plain", "bytes");
    scratch.write("none.idx", packedContainer({}));
    scratch.makeDirectory("empty");
    const struct {
        std::string path;
        bool withDirs;
        std::string expected;
    } cases[] = {
        {container, true, "true geo empty inner/"},
        {"file:" + container, true, "true geo empty inner/"},
        {container, false, "true geo inner empty"},
        {container + "?inner", true, "true deep"},
        {container + "?geo", true, "true"},
        {container + "?nothing", true, "true"},
        {scratch.path("plain"), true, "false"},
        {scratch.path("none.idx"), true, "false"},
        {scratch.path("nothing"), true, "false"},
        {scratch.path("empty"), true, "true"},
        {"", true, "false"},
        {"own:dir", true, "true leaf none branch/"},
        {"own:dir", false, "true leaf none branch"},
        {"own:x", true, "false"},
    };
    const OwnInfo helper;
    for (const auto& c : cases) EXPECT_EQ(list(c.path, c.withDirs), c.expected) << c.path;

    UT_StringArray files;
    EXPECT_FALSE(FS_Info(nullptr).getContents(files, nullptr, nullptr, nullptr));
    UT_RefArray<FS_Stat> stats;
    EXPECT_TRUE(FS_Info("own:dir").getContents(files, nullptr, &stats, nullptr));
    EXPECT_EQ(stats(0), FS_Stat(77, std::int64_t{1} << 40));
    EXPECT_EQ(stats(1), FS_Stat()) << "an entry that can't be looked at";
}

TEST_F(Info, ListsAContainerWithOneOpening) {
    std::vector<PackedSection> sections;
    for (int i = 0; i < 20; ++i) sections.push_back({"s" + std::to_string(i), inner, i});
    const std::string path = scratch.write("x.idx", packedContainer({{"outer", packedContainer(sections)}}));
    TestHelper helper;
    UT_StringArray files, dirs;
    EXPECT_TRUE(FS_Info((path + "?outer").c_str()).getContents(files, &dirs, nullptr, nullptr));
    EXPECT_EQ(dirs.entries(), 20);
    EXPECT_THAT(helper.asked, ElementsAre(path));
}

}  // namespace
