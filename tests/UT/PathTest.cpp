// Paths and files: kinds, absolute forms, status, temporary names, variables.
#include "../support/Environment.h"
#include "../support/ScratchDir.h"

#include <UT/UT_FileShortcutUtil.h>
#include <UT/UT_FileStat.h>
#include <UT/UT_FileUtil.h>
#include <UT/UT_Path.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_Tarvani.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_WorkBuffer.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

std::string absoluteOf(const char* path, const char* base = nullptr) {
    UT_String text(path, 1);
    EXPECT_TRUE(UTmakeAbsoluteFilePath(text, base)) << path;
    return std::string(text.view());
}

std::string resolved(const char* path) {
    UT_String out("old", 1);
    const bool done = UT_PathSearch::resolveAbsolutePath(path, out);
    EXPECT_EQ(done, !out.isNull());
    return std::string(out.view());
}

std::string scanned(const char* text, bool expandHome = true, bool keepUnknown = true) {
    const UTVariableLookup lookup = [](const char* name, void*) -> const char* {
        const std::string_view known(name);
        return known == "HOME" ? "/h" : known == "A" ? "$B" : known == "B_2" ? "two" : known == "NONE" ? "" : nullptr;
    };
    UT_WorkBuffer out(std::string_view("old"));
    UTVariableScan(out, text, lookup, nullptr, expandHome, keepUnknown);
    return std::string(out.view());
}

// Kinds and absolute forms.

TEST(Path, KindsAreToldByTheText) {
    UTaddAbsolutePathPrefix("test-kind:");
    UTaddAbsolutePathPrefix("");
    UTaddAbsolutePathPrefix(nullptr);
    const struct {
        const char* path;
        bool absolute, full, root;
    } cases[] = {
        {nullptr, false, false, false}, {"", false, false, false},          {"/", true, true, true},
        {"//", true, true, true},       {"/a", true, true, false},          {"a/b", false, false, false},
        {"./a", false, true, false},    {"../a", false, true, false},       {".a", false, false, false},
        {"..", false, false, false},    {"test-kind:a", true, true, false}, {"TEST-KIND:a", false, false, false},
        {"File:/a", true, true, false}, {"file:a", false, false, false},    {"file:./a", false, true, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path ? c.path : "null");
        EXPECT_EQ(UTisAbsolutePath(c.path), c.absolute);
        EXPECT_EQ(UTfullPathSpecified(c.path), c.full ? 1 : 0);
        EXPECT_EQ(UTisRootPath(c.path), c.root);
    }
}

TEST(Path, MakingAbsoluteKeepsPrefixesAndDots) {
    UTaddAbsolutePathPrefix("t-abs:");
    const ScratchDir dir;
    const InDirectory here(dir.path());
    const struct {
        const char *path, *base;
        std::string absolute;
    } cases[] = {{nullptr, nullptr, ""},
                 {"", nullptr, ""},
                 {"/a/../b//c", nullptr, "/a/../b//c"},
                 {"a//b", nullptr, dir.path("a//b")},
                 {"./a", nullptr, dir.path("./a")},
                 {"t-abs:a", nullptr, "t-abs:a"},
                 {"file:a?b", nullptr, "file:" + dir.path("a?b")},
                 {"FILE:/a", nullptr, "FILE:/a"},
                 {"file:t-abs:a", nullptr, "file:t-abs:a"},
                 {"file:", nullptr, "file:"},
                 {"a", "/base", "/base/a"},
                 {"a", "/base/", "/base/a"},
                 {"a", "base", dir.path("base/a")},
                 {"a", "", dir.path("a")}};
    for (const auto& c : cases) EXPECT_EQ(absoluteOf(c.path, c.base), c.absolute) << (c.path ? c.path : "null");
}

TEST(Path, TheCurrentDirectoryFitsOrIsRefusedAndMayBeMissing) {
    const ScratchDir dir;
    const std::string gone = dir.makeDirectory("gone");
    const InDirectory here(gone);
    std::string buffer(gone.size() + 2, 'x');
    const int length = static_cast<int>(gone.size());
    EXPECT_EQ(getUnixCwd(buffer.data(), length), nullptr) << "no room for the end";
    EXPECT_EQ(buffer[gone.size()], 'x') << "written past the size";
    EXPECT_EQ(getUnixCwd(buffer.data(), length + 1), buffer.data());
    EXPECT_STREQ(buffer.c_str(), gone.c_str());
    EXPECT_EQ(getUnixCwd(nullptr, 10), nullptr);

    ASSERT_EQ(::rmdir(gone.c_str()), 0);
    UT_String path("a", 1), out;
    EXPECT_FALSE(UTmakeAbsoluteFilePath(path, nullptr));
    EXPECT_EQ(path, "a");
    EXPECT_FALSE(UT_PathSearch::resolveAbsolutePath("a", out));
    EXPECT_EQ(getUnixCwd(buffer.data(), length + 1), nullptr);
    EXPECT_STREQ(buffer.c_str(), "") << "not the name of another day";
}

TEST(Path, ResolvingTakesOutDotsAsText) {
    UTaddAbsolutePathPrefix("t-res:");
    const ScratchDir dir;
    const InDirectory here(dir.path());
    const struct {
        const char* path;
        std::string resolved;
    } cases[] = {{nullptr, ""},
                 {"", ""},
                 {"file:", ""},
                 {"/", "/"},
                 {"//a///b/", "/a/b/"},
                 {"/a/./b/../c", "/a/c"},
                 {"/../../a", "/a"},
                 {"/a/..", "/"},
                 {"/a/b/../", "/a/"},
                 {"/a/...", "/a/..."},
                 {"x/../y", dir.path("y")},
                 {"file:/a/../b", "file:/b"},
                 {"t-res:a/../b", "t-res:a/../b"}};
    for (const auto& c : cases) EXPECT_EQ(resolved(c.path), c.resolved) << (c.path ? c.path : "null");
}

TEST(Path, OnlyAWholeHomeDirectoryIsCondensed) {
    const WithVariable home("HOME", "/home/ann/");
    const struct {
        const char *path, *condensed;
    } cases[] = {
        {"/home/ann/a", "~/a"}, {"/home/ann", "~"}, {"/home/anna/a", "/home/anna/a"}, {"a/home/ann", "a/home/ann"}};
    for (const auto& c : cases) {
        UT_String path(c.path, 1);
        EXPECT_EQ(UT_PathSearch::condenseCommon(path), std::string(c.path) != c.condensed);
        EXPECT_EQ(path, c.condensed);
    }
    const WithVariable root("HOME", "/");
    UT_String path("/etc", 1);
    EXPECT_EQ(UT_PathSearch::condenseCommon(path), 0);
}

// Files.

TEST(Files, StatusTellsLinksFromWhatTheyStandFor) {
    const ScratchDir dir;
    const std::string file = dir.write("file", "");
    dir.makeDirectory("sub");
    ASSERT_EQ(::symlink("sub", dir.path("link").c_str()), 0);
    ASSERT_EQ(::symlink("file", dir.path("fileLink").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", dir.path("dangling").c_str()), 0);
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);

    const struct {
        const char* name;
        UT_FileStat::FileType type;
        const char* target;  // null: resolves to nothing
        bool isDirectory;
    } cases[] = {
        {"file", UT_FileStat::REGULAR, nullptr, false},      {"sub", UT_FileStat::DIRECTORY, nullptr, false},
        {"link", UT_FileStat::SHORTCUT, "sub", true},        {"fileLink", UT_FileStat::SHORTCUT, "file", false},
        {"dangling", UT_FileStat::SHORTCUT, nullptr, false}, {"pipe", UT_FileStat::UNKNOWN, nullptr, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        UT_FileStat stat;
        EXPECT_EQ(statLastRead(dir.path(c.name).c_str(), stat), 0);
        EXPECT_EQ(stat.type, c.type);
        UT_String target("old", 1);
        bool isDirectory = true;
        EXPECT_EQ(UT_FileShortcutUtil().resolve(dir.path(c.name).c_str(), target, false, &isDirectory),
                  c.target != nullptr);
        EXPECT_EQ(target, c.target
                              ? UT_String(std::string_view(std::filesystem::canonical(dir.path(c.target)).string()))
                              : UT_String());
        EXPECT_EQ(isDirectory, c.isDirectory);
    }

    dir.cutAt("file", 5'000'000'000);
    dir.setTime("file", 1000000);
    UT_FileStat stat;
    EXPECT_EQ(statLastRead(file.c_str(), stat), 0);
    EXPECT_EQ(stat.size, 5'000'000'000);
    EXPECT_EQ(stat.time, 1000000);
    EXPECT_LT(UTaccess(file.c_str(), 1), 0) << "nobody may run it, not even the superuser";
    EXPECT_EQ(UT_FileUtil::getFileSize(dir.path("fileLink").c_str()), 5'000'000'000);
    const std::string none = dir.path("missing");
    for (const char* missing : {none.c_str(), static_cast<const char*>(nullptr)}) {
        EXPECT_LT(UTaccess(missing, 0), 0);
        EXPECT_EQ(UT_FileUtil::getFileSize(missing), 0);
        EXPECT_EQ(UT_FileUtil::removeFile(missing), -1);
        EXPECT_EQ(statLastRead(missing, stat), -1);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(stat.type, UT_FileStat::UNKNOWN) << "an earlier entry's values stay";
        EXPECT_EQ(stat.size + stat.time, 0);
    }
}

TEST(Files, DirectoriesAreMadeWithTheirParents) {
    const ScratchDir dir;
    const std::string deep = dir.path("a/b//c/");
    EXPECT_EQ(TarvaniMakeDirectory(deep.c_str(), 0777), 0);
    EXPECT_EQ(UTisValidDirectory(dir.path("a/b/c").c_str()), 1);
    EXPECT_EQ(TarvaniMakeDirectory(deep.c_str(), 0777), 0) << "it exists";
    const std::string file = dir.write("file", "");
    EXPECT_EQ(UTisValidDirectory(file.c_str()), 0);
    EXPECT_EQ(TarvaniMakeDirectory(file.c_str(), 0777), -1);
    EXPECT_EQ(errno, EEXIST);
    const std::string below = file + "/below";
    for (const char* path : {below.c_str(), "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(TarvaniMakeDirectory(path, 0777), -1);
}

// Temporary files.

TEST(TemporaryName, EndsInTheLastComponentOfItsBaseOrIsNull) {
    const ScratchDir dir;
    const WithVariable place("TMPDIR", dir.path().c_str());
    const struct {
        const char* base;
        std::string ending;
    } cases[] = {
        {"http://h/a/page.html?x=1&y", "-page.html_x_1_y"}, {"a b\n\xc3\xa9.c", "-a_b___.c"}, {"dir/", ""}, {"", ""}};
    for (const auto& c : cases) {
        UT_String name;
        ASSERT_TRUE(UTcreateTempFileName(name, c.base));
        EXPECT_THAT(std::string(name.view()), testing::StartsWith(dir.path("tarvani-")));
        EXPECT_THAT(std::string(name.view()), testing::EndsWith(c.ending));
    }
    UT_String name;
    ASSERT_TRUE(UTcreateTempFileName(name, ("x" + std::string(500, 'y') + ".png").c_str()));
    EXPECT_TRUE(name.endsWith(".png"));
    EXPECT_LT(name.length() - static_cast<int>(dir.path().size()), 90);

    const WithVariable nowhere("TMPDIR", dir.path("missing").c_str());
    EXPECT_FALSE(UTgetTmpName(name, nullptr));
    EXPECT_TRUE(name.isNull()) << "no file can be made there";
}

// Variables.

TEST(Variables, ReferencesAreReplacedOnce) {
    const struct {
        const char *text, *expanded;
    } cases[] = {{nullptr, ""},      {"", ""},
                 {"$A", "$B"},       {"x${B_2}y$B_2/$B_2.z", "xtwoytwo/two.z"},
                 {"$B_23", "$B_23"}, {"[$NONE]", "[]"},
                 {"$", "$"},         {"$$A$", "$$B$"},
                 {"${A", "${A"},     {"${}${ A}${A-b}$1", "${}${ A}${A-b}$1"},
                 {"${A$A", "${A$B"}, {"~/a~/", "/h/a~/"},
                 {"~", "~"},         {"a~/b", "a~/b"}};
    for (const auto& c : cases) EXPECT_EQ(scanned(c.text), c.expanded) << (c.text ? c.text : "null");
    EXPECT_EQ(scanned("~/$X-${X}-$1-$", false, false), "~/--$1-$");
}

TEST(Variables, ComeFromTheEnvironmentAndMayReplaceTheirOwnText) {
    const WithVariable variable("TARVANI_TEST", "value");
    UT_WorkBuffer buffer(std::string_view("$TARVANI_TEST/$TARVANI_TEST"));
    EXPECT_EQ(UTVariableScan(buffer, buffer.buffer(), nullptr, nullptr, true, true), 2);
    EXPECT_EQ(buffer.view(), "value/value");
    UT_String string("$TARVANI_TEST/$TARVANI_TEST_UNKNOWN");
    string.expandVariables();
    EXPECT_EQ(string, "value/$TARVANI_TEST_UNKNOWN");
    EXPECT_EQ(TarvaniGetenv(nullptr), nullptr);
}

}  // namespace
