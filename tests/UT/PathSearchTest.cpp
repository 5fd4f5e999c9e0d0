// Search paths: splitting, expansion, the known paths, and what is found where.
#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/Rules.h"
#include "../support/ScratchDir.h"

#include <UT/UT_PathSearch.h>
#include <gmock/gmock.h>

namespace {

using testing::MatchesRegex;

// Each text with a bar behind it.
std::string barred(const UT_StringArray& array) {
    std::string all;
    for (const UT_String& text : array) all.append(text.view()) += '|';
    return all;
}

// The directories of a known path, told by another process, since each reads the known paths once.
std::string knownPath(int number) {
    const ScratchDir dir;
    const auto path = static_cast<UT_KnownPath>(number);
    const auto tell = [&] {
        return !dir.write("told", barred(UT_PathSearch::getInstance(path)->expandedDirs)).empty();
    };
    return inChild(tell) == 0 ? dir.read("told") : "the child failed";
}

TEST(PathText, GrowsByPathsAndByDirectoriesThatAreNotSplitAndKeepsThemAsWritten) {
    const WithVariable place("TARVANI_TEST", "/place/"), nothing("TARVANI_TEST_EMPTY", "");
    constexpr char kWithoutEnd[] = {'/', 'a'};
    UT_PathSearch path(nullptr, -1, kWithoutEnd, 2);
    path.extendPath("/d", -1, nullptr, -1);
    path.extendPath(nullptr, -1, "$TARVANI_TEST:$TARVANI_TEST_EMPTY:${TARVANI_TEST}b/:$NO_SUCH_VARIABLE", -1);
    for (const char* directory : {"/d:e", "", static_cast<const char*>(nullptr)}) path.appendPath(directory);
    EXPECT_EQ(barred(path.condensedDirs), "/a|/d|$TARVANI_TEST|${TARVANI_TEST}b|$NO_SUCH_VARIABLE|/d:e|");
    EXPECT_EQ(barred(path.expandedDirs), "/a|/d|/place/|/place/b|$NO_SUCH_VARIABLE|/d:e|");
    EXPECT_EQ(path.pathDirs.entries(), 6);
}

// The known paths.

TEST(KnownPath, DefaultsBeginInTheHomeDirectory) {
    const WithVariable home("TARVANI_HOME", "/my/home/"), zero("TARVANI_PATH", nullptr),
        one("TARVANI_DSO_PATH", nullptr), two("TARVANI_SITE_DSO_PATH", nullptr);
    EXPECT_THAT(knownPath(UT_PATH_DEFAULT), MatchesRegex("/my/home[|]/.*/tarvani[|]"));
    EXPECT_THAT(knownPath(UT_PATH_DSO), MatchesRegex("/my/home/dso[|]/.*/tarvani/dso[|]"));
    for (const int empty : {int{UT_PATH_SITE_DSO}, -1, int{UT_PathSearch::kKnownPaths}, 1000})
        EXPECT_EQ(knownPath(empty), "");
    EXPECT_EQ(UT_PathSearch::getVariable(static_cast<UT_KnownPath>(UT_PathSearch::kKnownPaths)), nullptr);
}

TEST(KnownPath, OfPlugInsHoldsOnlyAbsoluteDirectories) {
    const WithVariable home("TARVANI_HOME", "relative");
    for (const int number : {0, 1, 2, 3}) {
        const char* const variable = UT_PathSearch::getVariable(static_cast<UT_KnownPath>(number));
        const WithVariable directories(variable, ".:/a:b:http://h/x");
        EXPECT_EQ(knownPath(number), number == UT_PATH_DEFAULT ? ".|/a|b|http://h/x|" : "/a|");
    }
    const WithVariable one("TARVANI_DSO_PATH", "/a:");
    EXPECT_THAT(knownPath(UT_PATH_DSO), MatchesRegex("/a[|]/.*/tarvani/dso[|]")) << "nor is a relative home taken";
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

// Three directories, of which one is missing, and the path along them. In "one" the name "b" is a directory.
class Search : public testing::Test {
protected:
    Search() {
        for (const char* name : {"one/a", "one/sub/x.dll", "two/a", "two/b", "b"}) dir.write(name, "");
        dir.makeDirectory("one/b");
    }
    const ScratchDir dir;
    const InDirectory here{dir.path()};
    const UT_PathSearch path{"one:three;two/", -1, "", 0};
};

TEST_F(Search, KeepsItsRules) {
    const auto answer = [](int done, const UT_String& result) {
        EXPECT_EQ(done, !result.isNull());
        return std::string(result.view());
    };
    const auto directories = [](const Columns& row) {
        const char* const defaults = row.size() > 1 ? row[1].c_str() : nullptr;
        return barred(UT_PathSearch(defaults, -1, row[0].c_str(), -1).expandedDirs);
    };
    const auto first = [&](const Columns& row) {
        UT_String result(row[0].c_str(), 1);  // the name may be the result's own text
        return answer(path.findFile(result, result.buffer()), result);
    };
    const auto firstOf = [&](const Columns& row) {
        UT_String result("old", 1);
        return answer(path.findFileFromList(result, UT_PathSearch(row[0].c_str(), -1, "", 0).pathDirs), result);
    };
    expectRules(TARVANI_RULES "/searches.rules",
                {{"directories", directories}, {"first", first}, {"firstOf", firstOf}});
    UT_String result("old", 1);
    EXPECT_EQ(path.findFile(result, nullptr), 0);
    EXPECT_TRUE(result.isNull());
    EXPECT_EQ(answer(path.findFile(result, dir.path("one/a").c_str()), result), dir.path("one/a"));
}

TEST_F(Search, FindsAllInSearchOrderAndTheMatchingNamesOfASubdirectoryOnce) {
    UT_StringArray out, names;
    out.append("before");
    EXPECT_EQ(path.findAllFiles("a", out), 2);
    EXPECT_EQ(path.findAllFiles("c", out) + path.findAllFiles(nullptr, out), 0);
    EXPECT_EQ(barred(out), "before|one/a|two/a|");
    for (const char* name : {"one/sub/b.dll", "one/sub/b.txt", "two/sub/x.dll", "two/sub/a.dll"}) dir.write(name, "");
    dir.makeDirectory("two/sub/0.dll");
    EXPECT_EQ(path.matchAllFilesInSubdirectory(".dll", "sub", false, names, false), 3);
    EXPECT_EQ(barred(names), "b.dll|x.dll|a.dll|");
    EXPECT_EQ(path.matchAllFilesInSubdirectory(nullptr, nullptr, false, names, false), 2)
        << "the directories themselves";
}

}  // namespace
