// The list: what a pattern finds, its order, and what a subclass has of it. cases/lists.cases has how callers use it.
#include "../support/Environment.h"
#include "PathFiles.h"

class PathFileList : public PathFiles {};

TEST_F(PathFileList, KeepsItsRules) {
    const auto tree = [](const Columns& row) {
        empty();
        write(split(row[0]));
        return entriesOf(Found());
    };
    const auto found = [](const Columns& row) { return entriesOf(Found(nullable(row[0]))); };
    const auto read = [&](const Columns& row) { return tree(row), entriesOf(Found(), 1); };
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
        file.appendFileInfo("/x", 0);
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
