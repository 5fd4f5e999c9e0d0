// The list: what a pattern finds, its order, and how callers change it.
#include <map>

#include "../support/Environment.h"
#include "PathFiles.h"

class PathFileList : public PathFiles {};

TEST_F(PathFileList, HoldsWhatThePatternFindsInTheOrderOfReading) {
    const struct {
        Texts files;
        std::vector<std::pair<const char*, Texts>> lists;  // by pattern
    } sets[] = {
        {{"lo/a", "lo/a.hide", "lo/a.append", "lo/a.nosave", "lo/a.other", "lo/.dot.txt", "lo/x.txt", "lo/x.txt.hide",
          "lo/x.txt.nosave", "lo/x.txt.append", "lo/x.txt.other", "lo/d1/b.txt", "lo/d1/b.txt.nosave",
          "lo/d2/b.txt.hide", "lo/d2/c/e", "hi/x.txt"},
         {{" \t\n", {}},
          {nullptr, {}},
          {"none n*", {}},
          {" a.hide  a \n", {"lo/a", "lo/a.append", "lo/a.hide", "lo/a.hide"}},
          {"a*", {"lo/a.nosave", "lo/a", "lo/a.append", "lo/a.hide", "lo/a.other"}},
          {"x.t*t", {"lo/x.txt.nosave", "lo/x.txt", "lo/x.txt.append", "lo/x.txt.hide", "hi/x.txt"}},
          {"*t.txt", {"lo/.dot.txt"}},
          {"d*/b.txt", {"lo/d1/b.txt", "lo/d2/b.txt.hide"}},  // a literal name has no ".nosave"
          {"d*/b.t*t", {"lo/d1/b.txt.nosave", "lo/d1/b.txt", "lo/d2/b.txt.hide"}},
          {"d*/*/e", {"lo/d2/c/e"}},
          {"a ./d2/c", {"lo/a", "lo/a.append", "lo/a.hide", "lo/./d2/c"}}}},
        // A token behind a caret takes away what earlier ones added.
        {{"lo/a.txt", "lo/b.txt", "lo/b.txt.hide", "lo/b.txt.append", "lo/b.txt.nosave", "hi/b.txt", "hi/d/b"},
         {{"*.txt ^b.txt", {"lo/a.txt", "lo/b.txt.nosave"}},
          {"*.txt ^b.*xt", {"lo/a.txt"}},
          {"^b.txt b.*t", {"lo/b.txt.nosave", "lo/b.txt", "lo/b.txt.append", "lo/b.txt.hide", "hi/b.txt"}},
          {"*.txt ^*.txt a.txt", {"lo/a.txt"}},
          {"a.txt *.txt ^a.txt ^b*", {"lo/a.txt"}},  // found twice, taken away once
          {"a.txt *.txt ^a.txt ^a.txt ^b*", {}},
          {"d/* ^*/b", {}},
          {"a.txt ^ ^^a.txt", {"lo/a.txt"}}}},
        // In order of the numbers in names, then of directories.
        {{"lo/f10", "hi/f9", "mid/f9.hide", "mid/f9", "lo/F1", "hi/f9.append"},
         {{"*", {"lo/F1", "mid/f9", "mid/f9.hide", "hi/f9", "hi/f9.append", "lo/f10"}}}},
        // Of several suffixes ".hide" decides, then ".nosave".
        {{"lo/a", "lo/a.hide.nosave", "lo/a.append.nosave"},
         {{"*", {"lo/a.append.nosave", "lo/a", "lo/a.hide.nosave"}}}},
        // Names may hold any byte, and what was found is no pattern again.
        {{"lo/\\ \n[?]^.txt", "lo/\x01\xff.txt"}, {{"*.txt", {"lo/\x01\xff.txt", "lo/\\ \n[?]^.txt"}}}},
        {{"lo/c*/x", "lo/cc/x"}, {{"c*/x", {"lo/c*/x", "lo/cc/x"}}, {"c*/x ^c*/x", {}}}},
    };
    for (const auto& set : sets) {
        empty();
        write(set.files);
        for (const auto& [pattern, expected] : set.lists) EXPECT_EQ(list(pattern), expected) << text(pattern);
    }
}

TEST_F(PathFileList, DirectoriesThatAreGoneAddNothing) {
    write({"mid/a"});
    std::filesystem::remove(path("hi"));
    std::filesystem::remove(path("lo"));
    root().write("lo", "a file in its place");
    EXPECT_EQ(list("* */*"), Texts{"mid/a"});
    std::string deep;  // deeper than the stack bears
    for (int i = 0; i < 100'000; ++i) deep += "*/";
    EXPECT_EQ(list((deep + "*").c_str()), Texts{});
    std::filesystem::remove(path("lo"));
    EXPECT_EQ(list("*", 2), Texts{});
}

TEST_F(PathFileList, IsComputedWhenItIsNeeded) {
    write({"lo/a"});
    UT_PathFile file;
    EXPECT_STREQ(file.getSearchPattern(), "");
    EXPECT_EQ(file.getDirCount(), 3) << "those of path 0";
    file.setSearchPath(-1, "*");
    const std::map<int, std::string> directories = {
        {-1, "-"}, {kLo, "lo"}, {kMid, "mid"}, {kHi, "$PATHFILE_TEST_ROOT/hi"}, {3, "-"}};
    for (const auto& [index, directory] : directories) EXPECT_EQ(relative(file.getDir(index)), directory);
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
    const struct {
        std::string home;
        const char* pattern;
        int knownPath, index;
        const char* directory;
    } cases[] = {
        {path("mid"), "", 0, kMid, "mid"},
        {path("mid"), "a/x b/y", 0, kMid, "mid/a/x b"},  // followed by what the pattern has before its last slash
        {path("mi"), "*", 0, kMid, "mid"},
        {path("mid"), "/x", 0, kMid, "mid"},
        {root().path(), "*", 0, kHi, "hi"},
        {"$PATHFILE_TEST_NONE", "*", 0, kHi, "hi"},  // all lie in no home
        {"/nowhere", "*", 0, kLo, "lo"},
        {"/nowhere", "s/*", 2, 0, "/s"},
        {"/nowhere", "*", 2, 0, "-"},
    };
    const WithVariable none("PATHFILE_TEST_NONE", "");
    for (const auto& c : cases) {
        const WithVariable home("TARVANI_HOME", c.home.c_str());
        const Found file(c.pattern, c.knownPath);
        EXPECT_EQ(file.getHomeDirIndex(), c.index) << c.home;
        EXPECT_EQ(file.getDefaultDirIndex(), c.index) << c.home;
        EXPECT_EQ(relative(file.getDefaultDir()), c.directory) << c.home;
    }
}

TEST_F(PathFileList, CallersAddAndRemoveEntries) {
    write({"lo/a", "lo/b"});
    Found file;
    EXPECT_STREQ(file.appendFileInfo(path("lo/a").c_str())->getDiskPath(), "");
    file.appendFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    EXPECT_EQ(file.getFileInfoCount(0), 4);
    EXPECT_EQ(file.getFileInfoCount(1), 3);
    UT_PathFileInfo* const first = file.getFileInfo(0, 0);
    file.removeFileInfo(path("lo/a").c_str());
    EXPECT_EQ(file.getFileInfo(0, 0), first) << "the later of two goes";
    for (const int index : {-1, 3}) {
        file.removeFileInfo(index);
        for (const int unfiltered : {0, 1}) EXPECT_EQ(file.getFileInfo(index, unfiltered), nullptr);
    }
    for (const char* path : {"none", static_cast<const char*>(nullptr)}) file.removeFileInfo(path);
    file.removeFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    EXPECT_EQ(file.getFileInfoCount(0), 3);
    file.removeFileInfo(2);
    file.appendFileInfo(first);
    EXPECT_EQ(entries(file), (Texts{"lo/a", "lo/b", "lo/a"}));
    file.sortFileInfos([](UT_PathFileInfo* const* a, UT_PathFileInfo* const* b) {
        return std::string((*b)->getFileName()).compare((*a)->getFileName());
    });
    EXPECT_EQ(entries(file), (Texts{"lo/b", "lo/a", "lo/a"}));
    file.removeFileInfo(1);
    EXPECT_EQ(entries(file), Texts{"lo/b"}) << "with the entry every place that it had goes";
    const std::unique_ptr<UT_PathFileInfo> kept(file.getFileInfo(0, 0));
    file.clearFileInfoList();
    file.applyStandardFilter();
    EXPECT_EQ(file.getFileInfoCount(0), 0) << "the list counts as computed";
    EXPECT_EQ(relative(kept->getFullPath()), "lo/b") << "the entries are the caller's now";
}

TEST_F(PathFileList, ASubclassMakesTheEntriesAndKeepsItsPlace) {
    struct Counted : UT_PathFileInfo {
        Counted(UT_PathFile* list, int& count) : UT_PathFileInfo(list), count_(count) { ++count_; }
        ~Counted() override { --count_; }
        int& count_;
    };
    struct Counting : UT_PathFile {
        explicit Counting(int& count) : count_(count) {}
        using UT_PathFile::addMatchingFiles;
        using UT_PathFile::midRead;
        using UT_PathFile::removeMatchingFiles;
        UT_PathFileInfo* createFileInfo() override { return new Counted(this, count_); }
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
        std::filesystem::remove(path("lo/a"));
        file.removeMatchingFiles(path("lo/a").data(), 0);
        EXPECT_EQ(count, 2) << "what is gone from disk stays in the list";
        const InDirectory there(path("lo"));
        file.addMatchingFiles(std::string("b*").data(), 0);
        EXPECT_STREQ(file.getFileInfo(2, 0)->getFullPath(), "./b");
        file.appendFileInfo(file.getFileInfo(0, 0));
        file.midRead = true;
        testing::internal::CaptureStderr();
        file.setSearchPath(0, "a");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "UT_FilePath: Can't change file path in mid-read.\r\n");
        EXPECT_STREQ(file.getSearchPattern(), "* ^b");
    }
    EXPECT_EQ(count, 0);
}

TEST_F(PathFileList, ACopyStartsWithAListOfItsOwn) {
    write({"lo/a"});
    Found file, assigned("x", 1);
    UT_PathFile copied(file);
    UT_PathFile &target = assigned, &itself = file;
    target = file;
    itself = file;
    EXPECT_EQ(entries(file), Texts{"lo/a"});
    for (UT_PathFile* copy : {&copied, &target}) {
        EXPECT_EQ(copy->getFileInfoCount(0), 0);
        EXPECT_EQ(relative(copy->getDefaultDir()), "mid");
        EXPECT_EQ(copy->getDefaultDirIndex() + copy->getHomeDirIndex(), kMid + kMid);
        copy->applyStandardFilter();
        EXPECT_EQ(entries(*copy), Texts{"lo/a"});
    }
}
