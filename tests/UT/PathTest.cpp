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

#include "Table.h"

namespace {

constexpr const char* kNull = nullptr;

// Kinds and absolute forms.

// Works in a scratch directory, in which relative paths begin.
class Paths : public testing::Test {
protected:
    Paths() { UTaddAbsolutePathPrefix("test:"); }
    // With "HERE" for the directory.
    std::string shown(std::string_view path) const {
        std::string text(path);
        const std::size_t place = text.find(dir.path());
        return place == text.npos ? text : text.replace(place, dir.path().size(), "HERE");
    }
    const ScratchDir dir;
    const InDirectory here{dir.path()};
};

TEST_F(Paths, AreOfKindsThatTheTextTells) {
    for (const char* nothing : {"", kNull}) UTaddAbsolutePathPrefix(nothing);
    const auto expect = [](bool absolute, bool full, bool root, std::initializer_list<const char*> paths) {
        for (const char* path : paths) {
            SCOPED_TRACE(path ? path : "null");
            EXPECT_EQ(UTisAbsolutePath(path), absolute);
            EXPECT_EQ(UTfullPathSpecified(path), full ? 1 : 0);
            EXPECT_EQ(UTisRootPath(path), root);
        }
    };
    expect(true, true, true, {"/", "//"});
    expect(true, true, false, {"/a", "test:a", "File:/a"});
    expect(false, true, false, {"./a", "../a", "file:./a"});
    expect(false, false, false, {kNull, "", "a/b", ".a", "..", "TEST:a", "file:a"});
}

TEST_F(Paths, MadeAbsoluteKeepPrefixesAndDots) {
    const auto absolute = [this](const char* base) {
        return [this, base](const std::string& path) {
            UT_String text(path.c_str(), 1);
            EXPECT_TRUE(UTmakeAbsoluteFilePath(text, base));
            return shown(text.view());
        };
    };
    expectRows(absolute(nullptr), {" -> ", "/a/../b//c -> /a/../b//c", "test:a -> test:a", "file:test:a -> file:test:a",
                                   "FILE:/a -> FILE:/a", "file: -> file:", "a//b -> HERE/a//b", "./a -> HERE/./a",
                                   "file:a?b -> file:HERE/a?b"});
    for (const char* base : {"/base", "/base/"}) expectRows(absolute(base), {"a -> /base/a"});
    expectRows(absolute("base"), {"a -> HERE/base/a"});
    expectRows(absolute(""), {"a -> HERE/a"});
}

TEST_F(Paths, AreResolvedAsText) {
    const auto resolved = [this](const std::string& path) {
        UT_String out("old", 1);
        const bool done = UT_PathSearch::resolveAbsolutePath(path.c_str(), out);
        EXPECT_EQ(done, !out.isNull());
        return out.isNull() ? "none" : shown(out.view());
    };
    expectRows(resolved, {" -> none", "file: -> none", "/ -> /", "//a///b/ -> /a/b/", "/a/./b/../c -> /a/c",
                          "/../../a -> /a", "/a/.. -> /", "/a/b/../ -> /a/", "/a/... -> /a/...", "x/../y -> HERE/y",
                          "file:/a/../b -> file:/b", "test:a/../b -> test:a/../b"});
    UT_String null, out("old", 1);
    EXPECT_TRUE(UTmakeAbsoluteFilePath(null, nullptr) && null.isNull());
    EXPECT_FALSE(UT_PathSearch::resolveAbsolutePath(nullptr, out) || !out.isNull());
}

TEST_F(Paths, BeginInACurrentDirectoryThatFitsOrIsRefusedAndMayBeMissing) {
    const std::string gone = dir.makeDirectory("gone");
    const InDirectory there(gone);
    std::string buffer(gone.size() + 2, 'x');
    const int length = static_cast<int>(gone.size());
    EXPECT_EQ(getUnixCwd(buffer.data(), length), nullptr) << "no room for the end";
    EXPECT_EQ(buffer[gone.size()], 'x') << "written past the size";
    EXPECT_EQ(getUnixCwd(buffer.data(), length + 1), buffer.data());
    EXPECT_STREQ(buffer.c_str(), gone.c_str());
    EXPECT_EQ(getUnixCwd(nullptr, 10), nullptr);

    ASSERT_EQ(::rmdir(gone.c_str()), 0);
    UT_String path("a", 1), out;
    EXPECT_FALSE(UTmakeAbsoluteFilePath(path, nullptr) || UT_PathSearch::resolveAbsolutePath("a", out));
    EXPECT_EQ(path, "a");
    EXPECT_EQ(getUnixCwd(buffer.data(), length + 1), nullptr);
    EXPECT_STREQ(buffer.c_str(), "") << "not the name of another day";
}

TEST_F(Paths, AreCondensedByAWholeHomeDirectoryOnly) {
    const auto condensed = [](const std::string& path) {
        UT_String text(path.c_str(), 1);
        const int done = UT_PathSearch::condenseCommon(text);
        EXPECT_EQ(done, text != path.c_str());
        return std::string(text.view());
    };
    const WithVariable home("HOME", "/home/ann/");
    expectRows(condensed,
               {"/home/ann/a -> ~/a", "/home/ann -> ~", "/home/anna/a -> /home/anna/a", "a/home/ann -> a/home/ann"});
    const WithVariable root("HOME", "/");
    expectRows(condensed, {"/etc -> /etc"});
}

// Files.

TEST_F(Paths, LeadToFilesAndLinksThatAreToldApart) {
    dir.write("file", "");
    dir.makeDirectory("sub");
    ASSERT_EQ(::mkfifo("pipe", 0600) + ::symlink("sub", "link") + ::symlink("file", "toFile") + ::symlink("no", "lost"),
              0);
    // The type, what it resolves to if that is another path, and whether that is a directory.
    const auto told = [this](const std::string& name) {
        UT_FileStat stat;
        EXPECT_EQ(statLastRead(name.c_str(), stat), 0);
        UT_String target("old", 1);
        bool isDirectory = true;
        const bool leads = UT_FileShortcutUtil().resolve(name.c_str(), target, false, &isDirectory);
        EXPECT_NE(leads, target.isNull());
        return std::to_string(stat.type) + " " + shown(target.view()) + (isDirectory ? "/" : "");
    };
    static_assert(UT_FileStat::UNKNOWN == 0 && UT_FileStat::REGULAR == 1 && UT_FileStat::DIRECTORY == 2);
    expectRows(told,
               {"pipe -> 0 ", "file -> 1 ", "sub -> 2 ", "link -> 3 HERE/sub/", "toFile -> 3 HERE/file", "lost -> 3 "});
}

TEST_F(Paths, TellTheStatusOfFilesAndWhetherThereAreAny) {
    dir.write("file", "");
    dir.cutAt("file", 5'000'000'000);
    dir.setTime("file", 1000000);
    UT_FileStat stat;
    EXPECT_EQ(statLastRead("file", stat), 0);
    EXPECT_TRUE(stat.size == 5'000'000'000 && stat.time == 1000000);
    EXPECT_EQ(UT_FileUtil::getFileSize("file"), 5'000'000'000);
    EXPECT_LT(UTaccess("file", 1), 0) << "nobody may run it, not even the superuser";
    EXPECT_EQ(UTaccess("file", 4), 0);
    EXPECT_EQ(UT_FileUtil::removeFile("file"), 0);
    EXPECT_FALSE(dir.exists("file"));
    for (const char* missing : {"missing", kNull}) {
        EXPECT_LT(UTaccess(missing, 0), 0);
        EXPECT_EQ(UT_FileUtil::getFileSize(missing), 0);
        EXPECT_EQ(UT_FileUtil::removeFile(missing), -1);
        EXPECT_EQ(statLastRead(missing, stat), -1);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_TRUE(stat.type == UT_FileStat::UNKNOWN && stat.size + stat.time == 0)
            << "an earlier entry's values stay";
    }
}

TEST_F(Paths, BecomeDirectoriesWithTheirParents) {
    for (int i = 0; i < 2; ++i) EXPECT_EQ(TarvaniMakeDirectory("a/b//c/", 0777), 0) << "the second time it exists";
    dir.write("file", "");
    EXPECT_EQ(UTisValidDirectory("a/b/c") - UTisValidDirectory("file"), 1);
    for (const char* path : {"file/below", "", kNull, "file"}) EXPECT_EQ(TarvaniMakeDirectory(path, 0777), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(Paths, OfTemporariesEndInTheLastComponentOfTheirBase) {
    const WithVariable place("TMPDIR", dir.path().c_str());
    UT_String name;
    const auto ending = [&](const std::string& base) {
        EXPECT_TRUE(UTcreateTempFileName(name, base.c_str()));
        EXPECT_THAT(std::string(name.view()), testing::StartsWith(dir.path("tarvani-")));
        return std::string(name.view().substr(dir.path("tarvani-XXXXXX").size()));
    };
    expectRows(ending,
               {"http://h/a/page.html?x=1&y -> -page.html_x_1_y", "a b\n\xc3\xa9.c -> -a_b___.c", "dir/ -> ", " -> "});
    EXPECT_EQ(ending(std::string(500, 'y') + ".png"), "-" + std::string(60, 'y') + ".png");
    const WithVariable nowhere("TMPDIR", dir.path("missing").c_str());
    EXPECT_FALSE(UTgetTmpName(name, nullptr));
    EXPECT_TRUE(name.isNull()) << "no file can be made there";
}

// Variables.

std::string scanned(const char* text, bool expandHome, bool keepUnknown) {
    const UTVariableLookup lookup = [](const char* name, void*) -> const char* {
        const std::string_view known(name);
        return known == "HOME" ? "/h" : known == "A" ? "$B" : known == "B_2" ? "two" : known == "NONE" ? "" : nullptr;
    };
    UT_WorkBuffer out(std::string_view("old"));
    UTVariableScan(out, text, lookup, nullptr, expandHome, keepUnknown);
    return std::string(out.view());
}

TEST(Variables, ReferencesAreReplacedOnce) {
    expectRows([](const std::string& text) { return scanned(text.c_str(), true, true); },
               {" -> ", "$A -> $B", "x${B_2}y$B_2/$B_2.z -> xtwoytwo/two.z", "[$NONE] -> []", "$B_23 -> $B_23",
                "$ -> $", "$$A$ -> $$B$", "${A -> ${A", "${}${ A}${A-b}$1 -> ${}${ A}${A-b}$1", "${A$A -> ${A$B",
                "~/a~/ -> /h/a~/", "~ -> ~", "a~/b -> a~/b"});
    EXPECT_EQ(scanned("~/$X-${X}-$1-$", false, false), "~/--$1-$");
    EXPECT_EQ(scanned(nullptr, true, true), "");
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
