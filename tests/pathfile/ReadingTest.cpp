// Which entries count, and the one text that they make.
#include <UT/UT_WorkBuffer.h>
#include <unistd.h>

#include "PathFiles.h"

class PathFileReading : public PathFiles {
protected:
    // The next line as FILE:NUMBER:TEXT. At the end "-", since there is no file.
    static std::string next(UT_PathFile& file) {
        UT_WorkBuffer line;
        const bool found = file.getLine(line);
        const std::string name = relative(file.getCurrentFileName());
        return found ? name + ":" + std::to_string(file.getCurrentLineNumber()) + ":" + line.buffer() : name;
    }
    static Texts rest(UT_PathFile& file) {
        Texts lines;
        for (std::string line = next(file); line != "-"; line = next(file)) lines.push_back(line);
        return lines;
    }
};

// One that is empty, a directory, gone or nowhere is passed over.
TEST_F(PathFileReading, LinesOfAllFilesFollowEachOtherAndNoneSpansTwo) {
    const std::pair<const char*, const char*> files[] = {
        {"lo/a", "one\ntwo"},     {"lo/b", ""},     {"lo/c", "\n\nx\n"}, {"lo/e.hide", "hidden"},
        {"lo/f?x", "no section"}, {"lo/gone", "x"}, {"mid/z", "z"}};
    for (const auto& [name, bytes] : files) root().write(name, bytes);
    root().makeDirectory("lo/d");
    ASSERT_EQ(::symlink("nowhere", path("lo/link").c_str()), 0);
    UT_PathFile file;
    file.setSearchPath(0, "*");
    EXPECT_EQ(file.getCurrentFileName(), nullptr);
    file.applyStandardFilter();
    std::filesystem::remove(path("lo/gone"));
    EXPECT_EQ(entries(file, 1), (Texts{"lo/a", "lo/b", "lo/c", "lo/d", "lo/f?x", "lo/gone", "lo/link", "mid/z"}));
    EXPECT_EQ(rest(file), (Texts{"lo/a:1:one", "lo/a:2:two", "lo/c:1:", "lo/c:2:", "lo/c:3:x", "mid/z:1:z"}));
    EXPECT_EQ(next(file), "-");
    EXPECT_EQ(list("link"), Texts{}) << "a literal name is looked at, and through a link";
    // Setting the path starts over, without the open file and the filter.
    file.setSearchPath(0, "*");
    EXPECT_EQ(next(file), "lo/a:1:one");
    file.setSearchPath(0, "e*");
    EXPECT_EQ(file.getCurrentFileName(), nullptr);
    EXPECT_EQ(file.getCurrentLineNumber(), 0);
    EXPECT_EQ(rest(file), Texts{"lo/e.hide:1:hidden"});
}

// What the caller changes shows at the next line, although the place in the list isn't looked for anew.
TEST_F(PathFileReading, TheListMayChangeBetweenLines) {
    write({"lo/a", "lo/b", "lo/c", "lo/d", "lo/e", "other/f"});
    UT_PathFile file;
    file.setSearchPath(0, "*");
    EXPECT_EQ(next(file), "lo/a:1:lo/a");
    EXPECT_EQ(next(file), "lo/b:1:lo/b");
    file.getFileInfo(2, 0)->setFilteredFlag(1);
    EXPECT_EQ(next(file), "lo/d:1:lo/d");
    file.removeFileInfo(path("lo/e").c_str());
    EXPECT_EQ(file.getFileInfo(3, 1), nullptr);
    file.appendFileInfo(path("other/f").c_str());
    EXPECT_EQ(next(file), "other/f:1:other/f");
    EXPECT_EQ(next(file), "-");
    EXPECT_EQ(entries(file, 1), (Texts{"lo/a", "lo/b", "lo/d", "other/f"})) << "walked from the front again";
    file.getFileInfo(2, 0)->copy(file.getFileInfo(0, 0), UT_PF_COPY_ALL);
    EXPECT_EQ(entries(file, 1), (Texts{"lo/a", "lo/b", "lo/a", "lo/d", "other/f"})) << "the mark was copied too";
}

TEST_F(PathFileReading, TheFilterStepsOverEntriesWithoutANameAndClearsNoMark) {
    write({"lo/a", "mid/a"});
    Found file;
    file.appendFileInfo(new UT_PathFileInfo(&file));
    file.appendFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    file.appendFileInfo(path("hi/a").c_str());
    file.getFileInfo(4, 0)->setFilteredFlag(1);
    file.applyStandardFilter();
    for (const int i : {0, 1, 2, 4}) EXPECT_EQ(file.getFileInfo(i, 0)->getFilteredFlag(), i == 2 ? 0 : 1) << i;
    EXPECT_EQ(file.getFileInfoCount(1), 1);
    EXPECT_EQ(next(file), "-");
}
