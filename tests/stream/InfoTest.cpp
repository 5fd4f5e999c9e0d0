// What FS_Info tells of files, sections and helpers' paths.
#include <UT/UT_StringArray.h>
#include <stream/FS_Info.h>

#include <optional>

#include "Streams.h"

using testing::MatchesRegex;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

// All answers about one path, a letter for each that is yes: exists, read, write, directory; then file exists, can
// read, can write, can write into the directory, can be deleted.
std::string answers(const FS_Info& info) {
    const std::pair<bool, char> all[] = {
        {info.hasAccess(0), 'e'},     {info.hasAccess(1), 'r'},        {info.hasAccess(2), 'w'},
        {info.getIsDirectory(), 'd'}, {info.fileExists(), 'F'},        {info.canReadFile(), 'R'},
        {info.canWriteFile(), 'W'},   {info.canWriteDirectory(), 'D'}, {info.canDeleteFile(), 'X'}};
    std::string text;
    for (const auto& [yes, letter] : all) text += yes ? letter : '-';
    return text;
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
        for (const char* name : {"leaf", "none"}) files.append(name);
        (dirs ? *dirs : files).append("branch");
        return true;
    }
    char getNextSepChar(const char*) override { return '|'; }
    char getPrevSepChar(const char*) override { return ':'; }

    std::vector<std::string> asked;
    std::string claimed;
};

// A listing: files, and directories with "/" behind, each with time, size and mark of a link as far as they are known.
// Nothing where there is no listing.
using Names = std::optional<std::vector<std::string>>;
Names list(const std::string& path, bool withDirs = true) {
    UT_StringArray files, dirs;
    UT_RefArray<FS_Stat> fileStats, dirStats;
    if (!FS_Info(path.c_str()).getContents(files, withDirs ? &dirs : nullptr, &fileStats, &dirStats)) return {};
    EXPECT_EQ(fileStats.entries(), files.entries()) << path;
    EXPECT_EQ(dirStats.entries(), dirs.entries()) << path;
    Names all(std::in_place);
    const auto append = [&](const UT_StringArray& names, const UT_RefArray<FS_Stat>& stats, const char* behind) {
        for (unsigned i = 0; i < static_cast<unsigned>(names.entries()); ++i) {
            const FS_Stat& s = stats(i);
            all->push_back(std::string(names(i).view()) + behind);
            if (!(s == FS_Stat())) all->back() += " " + std::to_string(s.modTime) + " " + std::to_string(s.size);
            all->back() += s.isShortcut ? " link" : "";
            all->back() += s.isDirectory ? " dir" : "";
        }
    };
    append(files, fileStats, "");
    append(dirs, dirStats, "/");
    return all;
}

class Info : public testing::Test {
protected:
    std::string writeWithMode(const char* name, unsigned mode, std::string_view content) const {
        const std::string path = scratch.write(name, content);
        std::filesystem::permissions(path, static_cast<std::filesystem::perms>(mode));
        return path;
    }

    const ScratchDir scratch;
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}});
    const std::string bytes =
        packedContainer({{"geo", "geometry", 11}, {"inner", inner, 22}, {"empty", packedContainer({}), 3}});
};

TEST_F(Info, AnswersForFilesDirectoriesAndSectionsAsAUser) {
    const std::string free = writeWithMode("open/free", 0666, "bytes"), prefixed = "file:" + free;
    writeWithMode("open/locked", 0444, "bytes");
    writeWithMode("open/secret", 0, "bytes");
    writeWithMode("closed/free", 0666, "bytes");
    for (const char* name : {"blind", "shut"}) scratch.makeDirectory(name);
    writeWithMode("open/x.idx", 0666, bytes);
    writeWithMode("open/locked.idx", 0444, bytes);
    for (const auto& [name, mode] :
         {std::pair("open", 0777u), {"closed", 0755u}, {"blind", 0333u}, {"shut", 0222u}, {"", 0755u}})
        std::filesystem::permissions(scratch.path(name), static_cast<std::filesystem::perms>(mode));
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
        {"../blind/new", "------WDX"},
        {"../shut", "e-wd-----"},  // into which nobody gets
        {"../shut/new", "--------X"},
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
        {"/", "er-d-----"},
        {"", "---------"},
        {nullptr, "---------"},
    };
    const InDirectory here(scratch.path("open"));
    checkInChild(true, [&] {
        for (const auto& c : cases) EXPECT_EQ(answers(FS_Info(c.path)), c.expected) << (c.path ? c.path : "null");
    });
    EXPECT_FALSE(FS_Info("/no-such-file-here").canWriteFile()) << "its directory has an empty name";
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
    for (const int mode : {1, 2}) EXPECT_FALSE(FS_Info(deep.c_str()).hasAccess(mode));
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
        EXPECT_EQ(FS_Info("own:x").getModTime(), 77);
        EXPECT_EQ(FS_Info("own:x").getFileDataSize(), std::int64_t{1} << 40);
        EXPECT_EQ(FS_Info::getNextSepChar("own:x"), '|');
        EXPECT_EQ(FS_Info::getPrevSepChar("own:x"), ':');
        EXPECT_EQ(FS_Info::getPrevSepChar("other"), '/');
        EXPECT_EQ(FS_Info::getNextSepChar(nullptr), '/');
        // The way up goes by its separators.
        EXPECT_FALSE(FS_Info("own:dir:none").canWriteFile() || FS_Info("own:dir:none").canWriteDirectory());
        helper.claimed = "";
        EXPECT_FALSE(FS_Info("/no-such-file-here").canWriteDirectory());
        EXPECT_EQ(helper.asked.back(), "|") << "a root has its separator back";
        const OwnInfo copy(helper);
        for (const char* nothing : {"", "?geo", static_cast<const char*>(nullptr)}) {
            const FS_Info info(nothing);
            EXPECT_FALSE(info.fileExists() || info.canReadFile() || info.canWriteFile() || info.canWriteDirectory() ||
                         info.canDeleteFile());
        }
        EXPECT_NE(older.asked.back(), "") << "nobody is asked for a path of no length";
        FS_Info("x").hasAccess(0);
        EXPECT_EQ(older.asked.back(), "x");
        EXPECT_EQ(helper.asked.size(), copy.asked.size() + 1) << "a copy isn't registered";
    }
    EXPECT_TRUE(FS_Info(file.c_str()).fileExists());
}

TEST_F(Info, LooksAtOneNameBelowAnother) {
    const std::string file = scratch.write("d/file", "bytes"), d = scratch.path("d"), slash = d + "/";
    scratch.setTime("d/file", 1000000);
    OwnInfo helper;
    const struct {
        const char *base, *name;
        bool there;
    } cases[] = {{d.c_str(), "file", true},     {slash.c_str(), "file", true}, {"elsewhere", file.c_str(), true},
                 {nullptr, file.c_str(), true}, {"", d.c_str(), true},         {d.c_str(), "", false},
                 {d.c_str(), nullptr, false},   {d.c_str(), "none", false},    {"own:dir", "leaf", true}};
    for (const auto& c : cases) EXPECT_EQ(FS_Info::statFile(c.base, c.name, nullptr), c.there);
    EXPECT_EQ(helper.asked.back(), "own:dir|leaf");
    EXPECT_TRUE(FS_Info::statFile("own:dir|", "leaf", nullptr));
    EXPECT_EQ(helper.asked.back(), "own:dir|leaf");
    FS_Stat stat(0, 0, false, true);
    EXPECT_TRUE(FS_Info::statFile(d.c_str(), "file", &stat));
    EXPECT_EQ(stat, FS_Stat(1000000, 5, false, true)) << "the mark of a link stays as it was";
    EXPECT_TRUE(FS_Info::statFile("", d.c_str(), &stat) && stat.isDirectory);

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
    EXPECT_THAT(list("FILE:" + d + "/").value(),
                UnorderedElementsAre("file 1000 5", ".hidden 1000 5", "to-file 1000 4 link", "dangling 1000 7 link",
                                     "to-sub/ 1000 3 link dir", MatchesRegex("sub/ 1000 [0-9]+ dir")));
    const std::vector<std::string> flat = list(d, false).value();
    EXPECT_EQ(flat.size(), 6u) << "sub-directories among the files";
    for (const std::string& record : flat) EXPECT_THAT(record, Not(MatchesRegex(".* (link|dir)")));
    UT_StringArray names, files, dirs;
    EXPECT_TRUE(FS_Info(d.c_str()).getContents(files, &dirs, nullptr, nullptr));
    EXPECT_EQ(dirs.entries(), 2) << "without records too";
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(FS_Info(d.c_str()).getContents(names, nullptr, nullptr, nullptr));
    EXPECT_EQ(names.entries(), 12) << "added to what was there";
}

TEST_F(Info, ListsContainersSectionsAndWhatAHelperServes) {
    const std::string container = scratch.write("x.idx", bytes);
    scratch.write("plain", "bytes");
    scratch.write("none.idx", packedContainer({}));
    scratch.makeDirectory("empty");
    const struct {
        std::string path;
        bool withDirs;
        Names names;
    } cases[] = {
        {container, true, {{"geo", "empty", "inner/"}}},
        {"file:" + container, true, {{"geo", "empty", "inner/"}}},
        {container, false, {{"geo", "inner", "empty"}}},
        {container + "?inner", true, {{"deep"}}},
        {container + "?geo", true, Names(std::in_place)},
        {container + "?nothing", true, Names(std::in_place)},
        {scratch.path("empty"), true, Names(std::in_place)},
        {scratch.path("plain"), true, {}},
        {scratch.path("none.idx"), true, {}},
        {scratch.path("nothing"), true, {}},
        {"", true, {}},
        {"own:dir", true, {{"leaf 77 1099511627776", "none", "branch/ 77 1099511627776"}}},
        {"own:dir", false, {{"leaf 77 1099511627776", "none", "branch 77 1099511627776"}}},
        {"own:x", true, {}},
    };
    const OwnInfo helper;
    for (const auto& c : cases) EXPECT_EQ(list(c.path, c.withDirs), c.names) << c.path;

    // Records come for all names that the array holds, also for those of before.
    UT_StringArray names;
    UT_RefArray<FS_Stat> stats;
    for (const char* served : {"own:dir", "own:x", "own:dir"})
        FS_Info(served).getContents(names, nullptr, &stats, nullptr);
    EXPECT_EQ(names.entries(), 6);
    EXPECT_EQ(stats.entries(), 3 + 6);

    // One opening, whatever the number of sections.
    std::vector<PackedSection> sections;
    for (int i = 0; i < 20; ++i) sections.push_back({"s" + std::to_string(i), inner, i});
    const std::string path = scratch.write("x.idx", packedContainer({{"outer", packedContainer(sections)}}));
    const TestHelper counter;
    UT_StringArray files, dirs;
    EXPECT_TRUE(FS_Info((path + "?outer").c_str()).getContents(files, &dirs, nullptr, nullptr));
    EXPECT_EQ(dirs.entries(), 20);
    EXPECT_THAT(counter.asked, ElementsAre(path));
}

}  // namespace
