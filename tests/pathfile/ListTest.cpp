// The list: what a pattern finds, its order, and how callers change it.
#include <unistd.h>

#include "../support/Environment.h"
#include "PathFiles.h"

class PathFileList : public PathFiles {};

TEST_F(PathFileList, APatternFindsFilesAndTheirControlVariants) {
    write({"lo/a", "lo/a.hide", "lo/a.append", "lo/a.nosave", "lo/a.other", "lo/.dot.txt", "lo/x.txt", "lo/x.txt.hide",
           "lo/x.txt.nosave", "lo/x.txt.append", "lo/x.txt.other", "lo/d1/b.txt", "lo/d1/b.txt.nosave",
           "lo/d2/b.txt.hide", "lo/d2/c/e", "hi/x.txt"});
    const struct {
        const char* pattern;
        Texts expected;
    } cases[] = {
        {"", {}},
        {" \t\n", {}},
        {nullptr, {}},
        {"none n*", {}},
        {" a \n", {"lo/a", "lo/a.append", "lo/a.hide"}},
        {"a*", {"lo/a.nosave", "lo/a", "lo/a.append", "lo/a.hide", "lo/a.other"}},
        {"x.t*t", {"lo/x.txt.nosave", "lo/x.txt", "lo/x.txt.append", "lo/x.txt.hide", "hi/x.txt"}},
        {"*t.txt", {"lo/.dot.txt"}},
        {"d*/b.txt", {"lo/d1/b.txt", "lo/d2/b.txt.hide"}},  // a literal name has no ".nosave"
        {"d*/b.t*t", {"lo/d1/b.txt.nosave", "lo/d1/b.txt", "lo/d2/b.txt.hide"}},
        {"d*/*/e", {"lo/d2/c/e"}},
        {"d2/c", {"lo/d2/c"}},
        {"a ./d1/b.txt", {"lo/a", "lo/a.append", "lo/a.hide", "lo/./d1/b.txt"}},
    };
    for (const auto& c : cases) EXPECT_EQ(list(c.pattern), c.expected) << text(c.pattern);
}

TEST_F(PathFileList, ATokenBehindACaretTakesAwayWhatEarlierOnesAdded) {
    write({"lo/a.txt", "lo/b.txt", "lo/b.txt.hide", "lo/b.txt.append", "lo/b.txt.nosave", "hi/b.txt", "hi/d/b"});
    const struct {
        const char* pattern;
        Texts expected;
    } cases[] = {
        {"*.txt ^b.txt", {"lo/a.txt", "lo/b.txt.nosave"}},
        {"*.txt ^b.*xt", {"lo/a.txt"}},
        {"^b.txt *.txt", {"lo/a.txt", "lo/b.txt.nosave", "lo/b.txt", "lo/b.txt.append", "lo/b.txt.hide", "hi/b.txt"}},
        {"*.txt ^*.txt a.txt", {"lo/a.txt"}},
        {"a.txt *.txt ^a.txt ^b*", {"lo/a.txt"}},  // found twice, taken away once
        {"a.txt *.txt ^a.txt ^a.txt ^b*", {}},
        {"a.txt *.txt ^*", {"lo/a.txt"}},
        {"d/* ^*/b", {}},
        {"a.txt ^ ^^a.txt", {"lo/a.txt"}},
    };
    for (const auto& c : cases) EXPECT_EQ(list(c.pattern), c.expected) << c.pattern;
}

TEST_F(PathFileList, IsInOrderOfNumbersInNamesThenOfDirectories) {
    write({"lo/f10", "hi/f9", "mid/f9.hide", "mid/f9", "lo/F1", "hi/f9.append"});
    EXPECT_EQ(list("*"), (Texts{"lo/F1", "mid/f9", "mid/f9.hide", "hi/f9", "hi/f9.append", "lo/f10"}));
}

TEST_F(PathFileList, NamesMayHoldAnyByte) {
    Texts names, found;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte == '/') continue;
        names.push_back(std::string("a") + static_cast<char>(byte) + "b.txt");
        root().write("lo/" + names.back(), "");
    }
    const Found file("*.txt");
    for (int i = 0; i < file.getFileInfoCount(0); ++i) {
        EXPECT_EQ(file.getFileInfo(i, 0)->getDirIndex(), kLo);
        found.emplace_back(file.getFileInfo(i, 0)->getFileName());
    }
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(names));

    // A directory that is called like its pattern: what was found is no pattern again.
    write({"lo/c*/x", "lo/cc/x"});
    EXPECT_EQ(list("c*/x"), (Texts{"lo/c*/x", "lo/cc/x"}));
    EXPECT_EQ(list("c*/x ^c*/x"), Texts());
}

TEST_F(PathFileList, DirectoriesThatAreGoneOrClosedAddNothing) {
    write({"mid/a"});
    std::filesystem::remove(path("hi"));
    std::filesystem::remove(path("lo"));
    root().write("lo", "a file in its place");
    EXPECT_EQ(list("* */*"), Texts{"mid/a"});
    std::filesystem::remove(path("lo"));
    EXPECT_EQ(list("*", 2), Texts{});
}

TEST_F(PathFileList, PatternsOfManyStarsAreFast) {
    write({"lo/" + std::string(200, 'a'), "lo/b"});
    std::string pattern;
    for (int i = 0; i < 100; ++i) pattern += "a*";
    EXPECT_EQ(list((pattern + "b").c_str()), Texts{});
    EXPECT_EQ(list(pattern.c_str()).size(), 1u);
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += "*/";
    EXPECT_EQ(list((deep + "*").c_str()), Texts{});
}

TEST_F(PathFileList, IsComputedWhenItIsNeeded) {
    write({"lo/a"});
    UT_PathFile file;
    file.setSearchPath(-1, "*");
    EXPECT_EQ(file.getDirCount(), 3);
    EXPECT_EQ(file.getDir(kLo), path("lo"));
    EXPECT_STREQ(file.getDir(kHi), "$PATHFILE_TEST_ROOT/hi");
    for (const int none : {-1, 3}) EXPECT_EQ(file.getDir(none), nullptr);
    EXPECT_EQ(file.getFileInfoCount(0), 0);
    file.applyStandardFilter();
    write({"lo/b"});
    file.applyStandardFilter();
    EXPECT_EQ(entries(file), Texts{"lo/a"});
    file.setSearchPath(0, file.getSearchPattern());
    EXPECT_EQ(entries(file), Texts{"lo/a"}) << "the old entries stay until the list is needed";
    file.applyStandardFilter();
    EXPECT_EQ(entries(file), (Texts{"lo/a", "lo/b"}));
}

TEST_F(PathFileList, NewFilesGoToTheHomeDirectoryOfThePath) {
    const std::string mid = path("mid"), root_ = root().path(), front = path("mi"), away = "/nowhere";
    const struct {
        const char *home, *pattern;
        int knownPath, index;
        std::string directory;
    } cases[] = {
        {mid.c_str(), "", 0, kMid, "mid"},
        {mid.c_str(), "sub/*.txt", 0, kMid, "mid/sub"},
        {mid.c_str(), "a/x b/y", 0, kMid, "mid/a/x b"},
        {front.c_str(), "*", 0, kMid, "mid"},
        {root_.c_str(), "*", 0, kHi, "hi"},
        {away.c_str(), "*", 0, kLo, "lo"},
        {away.c_str(), "s/*", 2, 0, "/s"},
        {away.c_str(), "*", 2, 0, "(null)"},
    };
    for (const auto& c : cases) {
        const WithVariable home("TARVANI_HOME", c.home);
        const Found file(c.pattern, c.knownPath);
        EXPECT_EQ(file.getHomeDirIndex(), c.index) << c.home;
        EXPECT_EQ(file.getDefaultDirIndex(), c.index) << c.home;
        EXPECT_EQ(relative(file.getDefaultDir()), c.directory) << c.home;
    }
}

TEST_F(PathFileList, CallersAddAndRemoveEntries) {
    write({"lo/a", "lo/b"});
    Found file;
    UT_PathFileInfo* const again = file.appendFileInfo(path("lo/a").c_str());
    EXPECT_STREQ(again->getDiskPath(), "");
    file.appendFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    EXPECT_EQ(file.getFileInfoCount(0), 4);
    EXPECT_EQ(file.getFileInfoCount(1), 3);
    UT_PathFileInfo* const first = file.getFileInfo(0, 0);
    file.removeFileInfo(path("lo/a").c_str());
    EXPECT_EQ(file.getFileInfo(0, 0), first) << "the later of two goes";
    EXPECT_EQ(file.getFileInfoCount(0), 3);
    for (const int index : {-1, 3}) {
        file.removeFileInfo(index);
        EXPECT_EQ(file.getFileInfo(index, 0), nullptr);
        EXPECT_EQ(file.getFileInfo(index, 1), nullptr);
    }
    file.removeFileInfo("none");
    file.removeFileInfo(static_cast<const char*>(nullptr));
    file.removeFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    file.removeFileInfo(2);
    file.appendFileInfo(first);
    EXPECT_EQ(entries(file), (Texts{"lo/a", "lo/b", "lo/a"}));
    file.sortFileInfos([](UT_PathFileInfo* const* a, UT_PathFileInfo* const* b) {
        return std::string((*b)->getFileName()).compare((*a)->getFileName());
    });
    EXPECT_EQ(entries(file), (Texts{"lo/b", "lo/a", "lo/a"}));
    file.removeFileInfo(1);
    EXPECT_EQ(entries(file), Texts{"lo/b"}) << "with the entry every place that it had goes";
    UT_PathFileInfo* const kept = file.getFileInfo(0, 0);
    file.appendFileInfo(kept);
    file.clearFileInfoList();
    EXPECT_EQ(file.getFileInfoCount(0), 0);
    EXPECT_EQ(relative(kept->getFullPath()), "lo/b");
    delete kept;
}

TEST_F(PathFileList, ASubclassMakesTheEntriesAndKeepsItsPlace) {
    struct Counted : UT_PathFileInfo {
        explicit Counted(UT_PathFile* list, int& count) : UT_PathFileInfo(list), count_(count) { ++count_; }
        ~Counted() override { --count_; }
        int& count_;
    };
    struct Counting : UT_PathFile {
        explicit Counting(int& count) : count_(count) {}
        using UT_PathFile::removeMatchingFiles;
        UT_PathFileInfo* createFileInfo() override { return new Counted(this, count_); }
        void keepPlace(bool keep) { midRead = keep; }
        int& count_;
    };
    write({"lo/a", "lo/b", "mid/a.hide"});
    int count = 0;
    {
        Counting file(count);
        file.setSearchPath(0, "* ^b");
        file.applyStandardFilter();
        file.appendFileInfo("/x");
        EXPECT_EQ(count, 3);
        file.appendFileInfo(file.getFileInfo(1, 0));  // twice in the list, deleted once
        file.removeMatchingFiles(path("mid/a").data(), 0);
        EXPECT_EQ(count, 2);
        file.appendFileInfo(file.getFileInfo(0, 0));
        file.keepPlace(true);
        testing::internal::CaptureStderr();
        file.setSearchPath(0, "a");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "UT_FilePath: Can't change file path in mid-read.\r\n");
        EXPECT_STREQ(file.getSearchPattern(), "* ^b");
    }
    EXPECT_EQ(count, 0);
}

TEST_F(PathFileList, ACopyStartsWithAListOfItsOwn) {
    write({"lo/a"});
    const Found file;
    UT_PathFile copied(file);
    Found other("x", 1);
    UT_PathFile& assigned = other;
    assigned = file;
    for (UT_PathFile* copy : {&copied, &assigned}) {
        EXPECT_EQ(copy->getFileInfoCount(0), 0);
        copy->applyStandardFilter();
        EXPECT_EQ(entries(*copy), Texts{"lo/a"});
    }
}
