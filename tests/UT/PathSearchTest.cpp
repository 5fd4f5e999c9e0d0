// Search paths: splitting, expansion, the known paths, and what is found where.
#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/Rules.h"
#include "../support/ScratchDir.h"

#include <UT/UT_PathSearch.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

// Each text with a bar behind it.
std::string barred(const UT_StringArray& array) {
    std::string all;
    for (const UT_String& text : array) all.append(text.view()) += '|';
    return all;
}

// The directories of a known path when only these variables are set, of the product's own one no more than its end.
// Told by another process, since each reads the known paths once.
std::string known(const Columns& row) {
    const ScratchDir dir;
    const auto tell = [&] {
        for (const char* variable : {"TARVANI_PATH", "TARVANI_DSO_PATH", "TARVANI_SITE_DSO_PATH",
                                     "TARVANI_USER_DSO_PATH", "TARVANI_HOME", "XDG_CONFIG_HOME"})
            ::unsetenv(variable);
        std::istringstream variables(row[1]);
        for (std::string name, value; std::getline(variables, name, '=') && std::getline(variables, value, ' ');)
            ::setenv(name.c_str(), value.c_str(), 1);
        const auto path = static_cast<UT_KnownPath>(std::stoi(row[0]));
        std::string all = barred(UT_PathSearch::getInstance(path)->expandedDirs);
        if (all.ends_with("/tarvani|") || all.ends_with("/tarvani/dso|")) {
            const std::size_t last = all.rfind('|', all.size() - 2) + 1;
            all.replace(last, all.rfind("/tarvani") - last, "...");
        }
        return !dir.write("told", all).empty();
    };
    EXPECT_EQ(inChild(tell), 0);
    return dir.read("told");
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

TEST(KnownPath, BeginsWhereTheUserDatabaseSaysIfNoVariableDoes) {
    const WithVariable own("TARVANI_HOME", nullptr), config("XDG_CONFIG_HOME", nullptr), home("HOME", nullptr);
    UT_String out;
    UT_PathSearch::getHomeTarvani(out);
    EXPECT_TRUE(out.endsWith("/.config/tarvani"));
    const WithVariable place("TARVANI_TEST", "/place"), named("TARVANI_HOME", "$TARVANI_TEST/ours/");
    UT_PathSearch::getHomeTarvani(out);
    EXPECT_EQ(out, "/place/ours");
    EXPECT_EQ(UT_PathSearch::getVariable(static_cast<UT_KnownPath>(UT_PathSearch::kKnownPaths)), nullptr);
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
                {{"directories", directories}, {"known", known}, {"first", first}, {"firstOf", firstOf}});
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
