// Paths and files: what a path means, the current directory, status, and names of temporary files.
#include "../support/Environment.h"
#include "../support/Rules.h"
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
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr const char* kNull = nullptr;

// Works in a scratch directory, in which relative paths begin.
class Paths : public testing::Test {
protected:
    // With "HERE" for the directory.
    std::string shown(std::string_view path) const {
        std::string text(path);
        const std::size_t place = text.find(dir.path());
        return place == text.npos ? text : text.replace(place, dir.path().size(), "HERE");
    }
    const ScratchDir dir;
    const InDirectory here{dir.path()};
};

std::string kindOf(const Columns& row) {
    const char* const path = row[0].c_str();
    return std::string(UTisAbsolutePath(path) ? "absolute " : "") + (UTfullPathSpecified(path) ? "full" : "") +
           (UTisRootPath(path) ? " root" : "");
}

std::string condensed(const Columns& row) {
    const WithVariable home("HOME", row[1].c_str());
    UT_String text(row[0].c_str(), 1);
    const int done = UT_PathSearch::condenseCommon(text);
    EXPECT_EQ(done, text != row[0].c_str());
    return text.buffer();
}

// Another column is the directory.
std::string endingOfTemporary(const Columns& row) {
    const std::string begins = "/tmp/tarvani-XXXXXX";
    const WithVariable place("TMPDIR", row.size() > 1 ? row[1].c_str() : "");
    UT_String name("old");
    const bool made = row[0].empty() ? UTgetTmpName(name, nullptr) : UTcreateTempFileName(name, row[0].c_str());
    EXPECT_NE(made, name.isNull());
    if (!made) return "none";
    EXPECT_EQ(UT_FileUtil::removeFile(name.buffer()), 0);
    return std::string(name.view().substr(begins.size()));
}

// Another column asks that neither the home directory nor unknown variables stay.
std::string scanned(const Columns& row) {
    const UTVariableLookup lookup = [](const char* name, void*) -> const char* {
        const std::string_view known(name);
        return known == "HOME" ? "/h" : known == "A" ? "$B" : known == "B_2" ? "two" : known == "NONE" ? "" : nullptr;
    };
    UT_WorkBuffer out(std::string_view("old"));
    UTVariableScan(out, row[0].c_str(), lookup, nullptr, row.size() == 1, row.size() == 1);
    return std::string(out.view());
}

TEST_F(Paths, KeepTheirRules) {
    for (const char* prefix : {"test:", "", kNull}) UTaddAbsolutePathPrefix(prefix);
    dir.write("file", "");
    dir.makeDirectory("sub");
    ASSERT_EQ(::mkfifo("pipe", 0600) + ::symlink("sub", "link") + ::symlink("file", "toFile") + ::symlink("no", "lost"),
              0);
    const auto absolute = [this](const Columns& row) {
        UT_String text(row[0].c_str(), 1);
        EXPECT_TRUE(UTmakeAbsoluteFilePath(text, row.size() > 1 ? row[1].c_str() : nullptr));
        return shown(text.view());
    };
    const auto resolved = [this](const Columns& row) {
        UT_String out("old", 1);
        const bool done = UT_PathSearch::resolveAbsolutePath(row[0].c_str(), out);
        EXPECT_NE(done, out.isNull());
        return out.isNull() ? "none" : shown(out.view());
    };
    const auto ledTo = [this](const Columns& row) {
        const char* const types[] = {"other", "file", "directory", "link"};
        UT_FileStat stat;
        EXPECT_EQ(statLastRead(row[0].c_str(), stat), 0);
        UT_String target("old", 1);
        bool isDirectory = true;
        const bool leads = UT_FileShortcutUtil().resolve(row[0].c_str(), target, false, &isDirectory);
        EXPECT_NE(leads, target.isNull());
        // What a link stands for is asked about, not the link itself.
        EXPECT_EQ(UTisValidDirectory(row[0].c_str()), isDirectory || stat.type == UT_FileStat::DIRECTORY);
        EXPECT_TRUE(UTisValidDirectory(row[0].c_str()) || UT_FileUtil::getFileSize(row[0].c_str()) == 0);
        return types[stat.type] + (leads ? " to " + shown(target.view()) : "") + (isDirectory ? "/" : "");
    };
    const auto made = [](const Columns& row) {
        return TarvaniMakeDirectory(row[0].c_str(), 0777) == 0 ? "made" : std::strerror(errno);
    };
    expectRules(TARVANI_RULES "/paths.rules", {{"kind", kindOf},
                                               {"absolute", absolute},
                                               {"resolved", resolved},
                                               {"condensed", condensed},
                                               {"leads", ledTo},
                                               {"made", made},
                                               {"temporary", endingOfTemporary},
                                               {"variables", scanned}});
}

TEST_F(Paths, ThatAreNullAreNoPaths) {
    EXPECT_FALSE(UTisAbsolutePath(kNull) || UTfullPathSpecified(kNull) || UTisRootPath(kNull));
    UT_String null, out("old", 1);
    EXPECT_TRUE(UTmakeAbsoluteFilePath(null, nullptr) && null.isNull());
    EXPECT_FALSE(UT_PathSearch::resolveAbsolutePath(kNull, out) || !out.isNull());
    UT_WorkBuffer buffer(std::string_view("old"));
    UTVariableScan(buffer, kNull, nullptr, nullptr, true, true);
    EXPECT_TRUE(buffer.isEmpty());
    EXPECT_EQ(TarvaniGetenv(kNull), nullptr);
    EXPECT_EQ(getUnixCwd(nullptr, 10), nullptr);
    EXPECT_EQ(TarvaniMakeDirectory(kNull, 0777), -1);
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

    ASSERT_EQ(::rmdir(gone.c_str()), 0);
    UT_String path("a", 1), out;
    EXPECT_FALSE(UTmakeAbsoluteFilePath(path, nullptr) || UT_PathSearch::resolveAbsolutePath("a", out));
    EXPECT_EQ(path, "a");
    EXPECT_EQ(getUnixCwd(buffer.data(), length + 1), nullptr);
    EXPECT_STREQ(buffer.c_str(), "") << "not the name of another day";
}

TEST_F(Paths, TellTheStatusOfFilesAndWhetherThereAreAny) {
    dir.write("file", "");
    dir.cutAt("file", 5'000'000'000);
    dir.setTime("file", 1000000);
    UT_FileStat stat;
    EXPECT_EQ(statLastRead("file", stat), 0);
    EXPECT_TRUE(stat.size == 5'000'000'000 && stat.time == 1000000);
    EXPECT_EQ(UT_FileUtil::getFileSize("file"), stat.size);
    EXPECT_TRUE(UTaccess("file", 4) == 0 && UTaccess("file", 1) < 0) << "even the superuser may not run it";
    EXPECT_TRUE(UT_FileUtil::removeFile("file") == 0 && !dir.exists("file"));
    for (const char* missing : {"missing", kNull}) {
        EXPECT_TRUE(UTaccess(missing, 0) < 0 && UT_FileUtil::getFileSize(missing) == 0);
        EXPECT_EQ(UT_FileUtil::removeFile(missing) + statLastRead(missing, stat), -2);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_TRUE(stat.type == UT_FileStat::UNKNOWN && stat.size + stat.time == 0)
            << "an earlier entry's values stay";
    }
}

TEST(Variables, ComeFromTheEnvironmentAndMayReplaceTheirOwnText) {
    const WithVariable variable("TARVANI_TEST", "value");
    UT_WorkBuffer buffer(std::string_view("$TARVANI_TEST/$TARVANI_TEST"));
    EXPECT_EQ(UTVariableScan(buffer, buffer.buffer(), nullptr, nullptr, true, true), 2);
    EXPECT_EQ(buffer.view(), "value/value");
    UT_String string("$TARVANI_TEST/$TARVANI_TEST_UNKNOWN");
    string.expandVariables();
    EXPECT_EQ(string, "value/$TARVANI_TEST_UNKNOWN");
}

}  // namespace
