// Search paths: splitting, expansion, the known paths, and what is found where.
#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/ScratchDir.h"

#include <UT/UT_PathSearch.h>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using Names = std::vector<std::string>;

Names listOf(const UT_StringArray& array) {
    Names names;
    for (const UT_String& text : array) names.emplace_back(text.view());
    return names;
}

Names directoriesOf(const char* text) {
    return listOf(UT_PathSearch(text, -1, "", 0).expandedDirs);
}

std::string found(const UT_PathSearch& path, const char* name) {
    UT_String result("old", 1);
    const int known = path.findFile(result, name);
    EXPECT_EQ(known, !result.isNull());
    return std::string(result.view());
}

// The directories of a known path, told by another process, since each reads the known paths once.
std::string knownPath(UT_KnownPath path) {
    const ScratchDir dir;
    const auto tell = [&] {
        std::string text;
        for (const UT_String& directory : UT_PathSearch::getInstance(path)->expandedDirs)
            text += std::string(directory.view()) + "|";
        dir.write("told", text);
        return true;
    };
    return inChild(tell) == 0 ? dir.read("told") : "the child failed";
}

// Three directories, of which the third is missing, and the path along them.
class Search : public testing::Test {
protected:
    Search() {
        dir.write("one/a", "");
        dir.write("one/sub/x.dll", "");
        dir.write("two/a", "");
        dir.write("two/b", "");
        dir.makeDirectory("one/b");  // no file
    }
    ScratchDir dir;
    const std::string text = dir.path("one") + ":" + dir.path("three") + ";" + dir.path("two") + "/";
    const UT_PathSearch path{text.c_str(), -1, "", 0};
};

// The directories of a path.

TEST(PathText, IsSplitAtColonsAndSemicolonsButNotInsideAddresses) {
    EXPECT_THAT(directoriesOf("/a:/b;c"), ElementsAre("/a", "/b", "c"));
    EXPECT_THAT(directoriesOf("http://h/x:/b"), ElementsAre("http://h/x", "/b"));
    EXPECT_THAT(directoriesOf("/a/:::/b//:/"), ElementsAre("/a", "/b", "/"));
    EXPECT_TRUE(directoriesOf(nullptr).empty());
    EXPECT_TRUE(directoriesOf("::;").empty());
}

TEST(PathText, AnEmptyElementStandsForTheDefaults) {
    const auto with = [](const char* text, int length) {
        return listOf(UT_PathSearch("/d:/e", -1, text, length).expandedDirs);
    };
    EXPECT_THAT(with("", 0), ElementsAre("/d", "/e"));
    EXPECT_THAT(with(nullptr, -1), ElementsAre("/d", "/e"));
    EXPECT_THAT(with("/a", -1), ElementsAre("/a"));
    EXPECT_THAT(with("/a:", -1), ElementsAre("/a", "/d", "/e"));
    EXPECT_THAT(with("/a::/b", -1), ElementsAre("/a", "/d", "/e", "/b"));
    constexpr char kWithoutEnd[] = {'/', 'a'};
    EXPECT_THAT(with(kWithoutEnd, 2), ElementsAre("/a"));

    UT_PathSearch path("/a", -1, "", 0);
    path.extendPath(nullptr, -1, "/b:$NO_SUCH_VARIABLE:/c", -1);
    path.appendPath("/d:e");
    path.appendPath("");
    path.appendPath(nullptr);
    EXPECT_THAT(listOf(path.expandedDirs), ElementsAre("/a", "/b", "$NO_SUCH_VARIABLE", "/c", "/d:e"));
}

TEST(PathText, KeepsTheDirectoriesAsTheyAreWrittenToo) {
    const WithVariable place("TARVANI_TEST", "/place/");
    const WithVariable nothing("TARVANI_TEST_EMPTY", "");
    const UT_PathSearch path("$TARVANI_TEST:$TARVANI_TEST_EMPTY:${TARVANI_TEST}sub/", -1, "", 0);
    EXPECT_THAT(listOf(path.condensedDirs), ElementsAre("$TARVANI_TEST", "${TARVANI_TEST}sub"));
    EXPECT_THAT(listOf(path.expandedDirs), ElementsAre("/place/", "/place/sub"));
    EXPECT_EQ(path.pathDirs.entries(), 2);
}

// The known paths.

TEST(KnownPath, DefaultsBeginInTheHomeDirectory) {
    const WithVariable home("TARVANI_HOME", "/my/home/");
    const WithVariable zero("TARVANI_PATH", nullptr), one("TARVANI_DSO_PATH", nullptr),
        two("TARVANI_SITE_DSO_PATH", nullptr);
    EXPECT_THAT(knownPath(UT_PATH_DEFAULT), testing::MatchesRegex("/my/home[|]/.*/tarvani[|]"));
    EXPECT_THAT(knownPath(UT_PATH_DSO), testing::MatchesRegex("/my/home/dso[|]/.*/tarvani/dso[|]"));
    EXPECT_EQ(knownPath(UT_PATH_SITE_DSO), "");
    for (int unknown : {-1, UT_PathSearch::kKnownPaths, 1000}) {
        EXPECT_EQ(knownPath(static_cast<UT_KnownPath>(unknown)), "");
        EXPECT_EQ(UT_PathSearch::getVariable(static_cast<UT_KnownPath>(unknown)), nullptr);
    }
}

TEST(KnownPath, OfPlugInsHoldsOnlyAbsoluteDirectories) {
    const WithVariable home("TARVANI_HOME", "relative");
    for (const int number : {1, 2, 3}) {
        const auto path = static_cast<UT_KnownPath>(number);
        const WithVariable variable(UT_PathSearch::getVariable(path), ".:/a:b:http://h/x");
        EXPECT_EQ(knownPath(path), "/a|");
    }
    const WithVariable zero("TARVANI_PATH", ".:/a");
    EXPECT_EQ(knownPath(UT_PATH_DEFAULT), ".|/a|");
    const WithVariable one("TARVANI_DSO_PATH", "/a:");
    EXPECT_THAT(knownPath(UT_PATH_DSO), testing::MatchesRegex("/a[|]/.*/tarvani/dso[|]"));
}

TEST(KnownPath, TheHomeDirectoryOfTheProductHasThreeSources) {
    const auto home = [](const char* own, const char* config, const char* user) {
        const WithVariable a("TARVANI_HOME", own), b("XDG_CONFIG_HOME", config), c("HOME", user);
        UT_String out;
        UT_PathSearch::getHomeTarvani(out);
        return std::string(out.view());
    };
    EXPECT_EQ(home("~/t//", "/config", "/home/ann"), "/home/ann/t");
    EXPECT_EQ(home("", "/config", "/home/ann"), "/config/tarvani");
    EXPECT_EQ(home(nullptr, "config", "/home/ann"), "/home/ann/.config/tarvani");
    EXPECT_THAT(home(nullptr, nullptr, nullptr), testing::EndsWith("/.config/tarvani")) << "the user database tells";
}

// Searches.

TEST_F(Search, FindsTheFirstFileAndPassesOverDirectories) {
    EXPECT_EQ(found(path, "a"), dir.path("one/a"));
    EXPECT_EQ(found(path, "b"), dir.path("two/b"));
    EXPECT_EQ(found(path, "sub/x.dll"), dir.path("one/sub/x.dll"));
    EXPECT_EQ(found(path, dir.path("two/b").c_str()), dir.path("two/b"));
    for (const char* missing : {"c", "", static_cast<const char*>(nullptr), "/a"}) EXPECT_EQ(found(path, missing), "");

    const InDirectory here(dir.path("two"));
    EXPECT_EQ(found(path, "./b"), "./b");
    EXPECT_EQ(found(path, "../a"), "") << "it says itself where it is";

    UT_String name("b", 1);
    EXPECT_EQ(path.findFile(name, name.buffer()), 1);
    EXPECT_EQ(name, dir.path("two/b").c_str()) << "the name was the result's own text";
}

TEST_F(Search, FindsAllFilesInSearchOrder) {
    UT_StringArray out;
    out.append("before");
    EXPECT_EQ(path.findAllFiles("a", out), 2);
    EXPECT_THAT(listOf(out), ElementsAre("before", dir.path("one/a"), dir.path("two/a")));
    EXPECT_EQ(path.findAllFiles("c", out), 0);
    EXPECT_EQ(path.findAllFiles(nullptr, out), 0);
}

TEST_F(Search, GoesThroughAListDirectoryByDirectory) {
    UT_StringArray names;
    for (const char* name : {"", "b", "a"}) names.append(name);
    UT_String result;
    EXPECT_TRUE(path.findFileFromList(result, names));
    EXPECT_EQ(result, dir.path("one/a").c_str()) << "b stands first in the list but in a later directory";
    dir.write("one/c", "");
    names(0) = "c";
    EXPECT_TRUE(path.findFileFromList(result, names));
    EXPECT_EQ(result, dir.path("one/c").c_str());
    names.clear();
    EXPECT_FALSE(path.findFileFromList(result, names));
    EXPECT_TRUE(result.isNull());
}

TEST_F(Search, MatchesEachNameOnceSortedWithinADirectory) {
    for (const char* name : {"one/sub/b.dll", "one/sub/b.txt", "two/sub/x.dll", "two/sub/a.dll"}) dir.write(name, "");
    dir.makeDirectory("two/sub/0.dll");
    UT_StringArray out;
    EXPECT_EQ(path.matchAllFilesInSubdirectory(".dll", "sub", false, out, false), 3);
    EXPECT_THAT(listOf(out), ElementsAre("b.dll", "x.dll", "a.dll"));
    EXPECT_EQ(path.matchAllFilesInSubdirectory(nullptr, nullptr, false, out, false), 2) << "the directories themselves";
}

}  // namespace
