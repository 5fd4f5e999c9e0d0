// What FS_Info tells of files, sections and helpers' paths.
#include <UT/UT_StringArray.h>
#include <stream/FS_Info.h>

#include <map>

#include "../support/Rules.h"
#include "Streams.h"

using testing::_;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

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
        for (const char* name : {"leaf", "none"}) files.append(name);
        (dirs ? *dirs : files).append("branch");
        return true;
    }
    char getNextSepChar(const char*) override { return '|'; }
    char getPrevSepChar(const char*) override { return ':'; }

    std::vector<std::string> asked;
    std::string claimed;
};

// Files, and directories with "/" behind, each with its record; nothing where there is no listing.
using Listing = std::map<std::string, FS_Stat>;
Listing list(const std::string& path, bool withDirs = true) {
    UT_StringArray files, dirs;
    UT_RefArray<FS_Stat> fileStats, dirStats;
    if (!FS_Info(path.c_str()).getContents(files, withDirs ? &dirs : nullptr, &fileStats, &dirStats)) return {};
    EXPECT_EQ(std::pair(fileStats.entries(), dirStats.entries()), std::pair(files.entries(), dirs.entries()));
    Listing all;
    for (int i = 0; i < fileStats.entries(); ++i) all.emplace(files(i).view(), fileStats(i));
    for (int i = 0; i < dirStats.entries(); ++i) all.emplace(std::string(dirs(i).view()) + "/", dirStats(i));
    return all;
}

class Info : public testing::Test {
protected:
    const ScratchDir scratch;
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}});
    const std::string bytes =
        packedContainer({{"geo", "geometry", 11}, {"inner", inner, 22}, {"empty", packedContainer({}), 3}});
};

TEST_F(Info, TakesAPathApartAndLooksBelowIt) {
    const InDirectory here(scratch.path());
    scratch.write("d/file", "bytes");
    const OwnInfo helper;
    const auto asked = [&](const Columns& c) { return FS_Info(c[0].c_str()).hasAccess(2), helper.asked.back(); };
    const auto below = [](const Columns& c) {
        return FS_Info::statFile(c[0].c_str(), c[1].c_str(), nullptr) ? "yes" : "no";
    };
    expectRules(TARVANI_RULES "/infos.rules", {{"asked", asked}, {"below", below}});
    EXPECT_EQ(helper.asked.back(), "own:dir|leaf");
    EXPECT_TRUE(FS_Info::statFile(nullptr, "d", nullptr));
    EXPECT_FALSE(FS_Info::statFile("d", nullptr, nullptr));
    scratch.setTime("d/file", 1000000);
    FS_Stat stat(0, 0, false, true);
    EXPECT_TRUE(FS_Info::statFile("d", "file", &stat));
    EXPECT_EQ(stat, FS_Stat(1000000, 5, false, true)) << "the mark of a link stays as it was";
    EXPECT_TRUE(FS_Info::statFile("", "d", &stat) && stat.isDirectory);
    // As many levels as a path can name cost neither the stack nor the time of their square.
    std::string deep = "none";
    for (int i = 0; i < 100000; ++i) deep += "?s";
    for (const int mode : {1, 2}) EXPECT_FALSE(FS_Info(deep.c_str()).hasAccess(mode));
}

TEST_F(Info, HelpersAnswerAlone) {
    const std::string file = scratch.write("file", "bytes");
    {
        OwnInfo older, helper;
        const OwnInfo copy(helper);
        helper.claimed = file;
        EXPECT_FALSE(FS_Info(file.c_str()).fileExists()) << "hides the real file";
        EXPECT_THAT(older.asked, IsEmpty());
        EXPECT_EQ(answers(FS_Info("own:leaf")), "er--FR---");
        EXPECT_EQ(answers(FS_Info("own:dir")), "er-d-----");
        EXPECT_EQ(FS_Info("own:x").getModTime(), 77);
        EXPECT_EQ(FS_Info("own:x").getFileDataSize(), std::int64_t{1} << 40);
        EXPECT_EQ((std::string{FS_Info::getNextSepChar("own:x"), FS_Info::getPrevSepChar("own:x")}), "|:");
        EXPECT_EQ((std::string{FS_Info::getNextSepChar(nullptr), FS_Info::getPrevSepChar("other")}), "//");
        // The way up goes by its separators.
        EXPECT_FALSE(FS_Info("own:dir:none").canWriteFile() || FS_Info("own:dir:none").canWriteDirectory());
        helper.claimed = "";
        EXPECT_FALSE(FS_Info("/no-such-file-here").canWriteDirectory());
        EXPECT_EQ(helper.asked.back(), "|") << "a root has its separator back";
        for (const char* nothing : {"", "?geo"}) EXPECT_EQ(answers(FS_Info(nothing)).substr(4), "-----") << nothing;
        EXPECT_THAT(copy.asked, IsEmpty()) << "a copy isn't registered";
    }
    EXPECT_TRUE(FS_Info(file.c_str()).fileExists());
}

TEST(Stat, OfASequenceHasTheLastTimeAndTheSumOfSizes) {
    FS_Stat sequence(5, 10, true);
    sequence.updateSequenceStat(FS_Stat(-7, 1));
    sequence.updateSequenceStat(FS_Stat(5000000000L, 2));
    EXPECT_EQ(sequence, FS_Stat(2147483647, 13, true));
    for (const FS_Stat& other : {FS_Stat(1), FS_Stat(0, 1), FS_Stat(0, 0, true), FS_Stat(0, 0, false, true)})
        EXPECT_FALSE(other == FS_Stat());
}

TEST_F(Info, ListsADirectory) {
    const std::string d = scratch.makeDirectory("d");
    scratch.makeDirectory("d/sub");
    for (const char* name : {"d/file", "d/.hidden"}) scratch.write(name, "bytes");
    for (const auto& [target, name] : {std::pair("sub", "to-sub"), {"file", "to-file"}, {"nowhere", "dangling"}})
        std::filesystem::create_symlink(target, d + "/" + name);
    for (const std::string& name : scratch.names("d")) scratch.setTime("d/" + name, 1000);
    const std::int64_t size = FS_Info((d + "/sub").c_str()).getFileDataSize();
    EXPECT_EQ(list("FILE:" + d + "/"), (Listing{{"file", {1000, 5}},
                                                {".hidden", {1000, 5}},
                                                {"to-file", {1000, 4, false, true}},
                                                {"dangling", {1000, 7, false, true}},
                                                {"to-sub/", {1000, 3, true, true}},
                                                {"sub/", {1000, size, true}}}));
    // Without an array for directories nobody looks what an entry is.
    EXPECT_EQ(list(d, false), (Listing{{"file", {1000, 5}},
                                       {".hidden", {1000, 5}},
                                       {"to-file", {1000, 4}},
                                       {"dangling", {1000, 7}},
                                       {"to-sub", {1000, 3}},
                                       {"sub", {1000, size}}}));
    UT_StringArray names, dirs;
    EXPECT_TRUE(FS_Info(d.c_str()).getContents(names, &dirs, nullptr, nullptr));
    EXPECT_TRUE(FS_Info(d.c_str()).getContents(names, nullptr, nullptr, nullptr));
    EXPECT_FALSE(FS_Info(nullptr).getContents(names, &dirs, nullptr, nullptr));
    EXPECT_EQ(names.entries(), 4 + 6) << "added to what was there";
}

TEST_F(Info, ListsContainersAndWhatAHelperServes) {
    const std::string path = scratch.write("x.idx", packedContainer({{"outer", bytes}})), outer = path + "?outer";
    EXPECT_THAT(list(outer, false), UnorderedElementsAre(Pair("geo", _), Pair("inner", _), Pair("empty", _)));
    const OwnInfo helper;
    const FS_Stat served(77, std::int64_t{1} << 40);
    EXPECT_EQ(list("own:dir"), (Listing{{"leaf", served}, {"none", {}}, {"branch/", served}}));
    EXPECT_EQ(list("own:dir", false), (Listing{{"leaf", served}, {"none", {}}, {"branch", served}}));
    // Asking a server or a device takes its time, and a container can name thousands.
    const std::string away = scratch.write("away.idx", containerBytes({{path, ""}}));
    EXPECT_EQ(list(away), (Listing{{path, {}}}));

    // Records come for all names that the array holds, also for those of before.
    UT_StringArray names, dirs;
    UT_RefArray<FS_Stat> stats;
    for (const char* own : {"own:dir", "own:x", "own:dir"}) FS_Info(own).getContents(names, nullptr, &stats, nullptr);
    EXPECT_EQ(stats.entries(), 3 + 6);

    // One opening, whatever the number of sections.
    const TestHelper counter;
    FS_Info(outer.c_str()).getContents(names, &dirs, nullptr, nullptr);
    EXPECT_EQ(dirs.entries(), 1);
    EXPECT_THAT(counter.asked, ElementsAre(path));
}

TEST_F(Info, LooksIntoSectionsThatShareBytesForSoManyOfThemOnly) {
    const std::string shared = containerBytes({{"a", std::string(100000, '.')}});
    std::string all = containerHead(1000);
    for (int i = 0; i < 1000; ++i) all += tableEntry("n", 0, i + 1 < 1000 ? 0 : static_cast<int>(shared.size()));
    const std::string path = scratch.write("x.idx", all + shared);
    UT_StringArray names, dirs;
    FS_Info(path.c_str()).getContents(names, &dirs, nullptr, nullptr);
    EXPECT_EQ(dirs.entries(), 64 * (all.size() + shared.size()) / shared.size());
    EXPECT_EQ(names.entries() + dirs.entries(), 1000);
}

}  // namespace
