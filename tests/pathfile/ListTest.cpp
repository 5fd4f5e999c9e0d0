// The list: what a pattern finds, its order, and how callers change it.
#include <UT/UT_WorkBuffer.h>

#include "../support/Environment.h"
#include "PathFiles.h"

class PathFileList : public PathFiles {};

TEST_F(PathFileList, KeepsItsRules) {
    const auto tree = [](const Columns& row) {
        empty();
        write(split(row[0]));
        return joined(list("*"));
    };
    const auto found = [](const Columns& row) { return joined(list(nullable(row[0]))); };
    const auto read = [&](const Columns& row) { return tree(row), joined(entries(Found(), 1)); };
    const auto newFiles = [](const Columns& row) {
        const bool isTest = !row[0].starts_with('/') && !row[0].starts_with('$');
        const WithVariable none("PATHFILE_TEST_NONE", ""),
            home("TARVANI_HOME", isTest ? root().path(row[0]).c_str() : row[0].c_str());
        const Found file(row[1].c_str(), std::stoi(row[2]));
        EXPECT_EQ(file.getHomeDirIndex(), file.getDefaultDirIndex());
        return std::to_string(file.getDefaultDirIndex()) + " " + relative(file.getDefaultDir());
    };
    expectRules(TARVANI_RULES "/lists.rules",
                {{"tree", tree}, {"list", found}, {"read", read}, {"newFiles", newFiles}});
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
    Texts directories;
    for (int i = -1; i < 4; ++i) directories.push_back(relative(file.getDir(i)));
    EXPECT_EQ(joined(directories), "- lo mid $PATHFILE_TEST_ROOT/hi -");
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
        return std::string((*a)->getFileName()).compare((*b)->getFileName());
    });
    EXPECT_EQ(entries(file), (Texts{"lo/a", "lo/a", "lo/b"}));
    file.removeFileInfo(0);
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
    write({"lo/a", "mid/a"});
    Found file, assigned("a", 1);
    UT_WorkBuffer line;
    EXPECT_TRUE(assigned.getLine(line));
    UT_PathFile copied(file);
    UT_PathFile &target = assigned, &itself = file;
    target = file;
    itself = file;
    EXPECT_EQ(entries(file), (Texts{"lo/a", "mid/a"}));
    for (UT_PathFile* copy : {&copied, &target}) {
        EXPECT_EQ(copy->getFileInfoCount(0), 0);
        EXPECT_EQ(relative(copy->getDefaultDir()), "mid");
        EXPECT_EQ(copy->getDefaultDirIndex() + copy->getHomeDirIndex(), kMid + kMid);
        copy->applyStandardFilter();
        EXPECT_EQ(entries(*copy), (Texts{"lo/a", "mid/a"}));
        EXPECT_TRUE(copy->getLine(line)) << "with a reader of its own";
        EXPECT_STREQ(line.buffer(), "mid/a");
    }
}
