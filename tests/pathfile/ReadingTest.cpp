// Which entries count, and the one text that they make.
#include <UT/UT_WorkBuffer.h>
#include <unistd.h>

#include "PathFiles.h"

class PathFileReading : public PathFiles {
protected:
    struct Line {
        std::string text, file;
        int number;
        bool operator==(const Line&) const = default;
        friend void PrintTo(const Line& line, std::ostream* out) {
            *out << line.file << ":" << line.number << ":" << line.text;
        }
    };
    using Lines = std::vector<Line>;

    static Line next(UT_PathFile& file) {
        UT_WorkBuffer line;
        if (!file.getLine(line)) return {"(end)", relative(file.getCurrentFileName()), 0};
        return {line.buffer(), relative(file.getCurrentFileName()), file.getCurrentLineNumber()};
    }
    static Lines rest(UT_PathFile& file) {
        Lines lines;
        for (Line line = next(file); line.text != "(end)"; line = next(file)) lines.push_back(line);
        return lines;
    }
};

TEST_F(PathFileReading, ALaterEntryReplacesHidesOrAppends) {
    const struct {
        Texts files, expected;
    } cases[] = {
        {{"lo/a", "mid/a"}, {"mid/a"}},
        {{"lo/a", "mid/a.append", "hi/a.append"}, {"lo/a", "mid/a.append", "hi/a.append"}},
        {{"lo/a", "mid/a.append", "hi/a"}, {"hi/a"}},
        {{"lo/a", "mid/a.hide"}, {}},
        {{"lo/a.hide", "mid/a"}, {"mid/a"}},
        {{"lo/a", "mid/a.hide", "hi/a.append"}, {"hi/a.append"}},
        {{"lo/a.append"}, {"lo/a.append"}},
        {{"lo/a", "mid/a.nosave"}, {"mid/a.nosave"}},
        {{"hi/a.nosave", "hi/a"}, {"hi/a"}},
        {{"hi/a", "hi/a.hide"}, {}},
        {{"lo/a", "lo/a.append", "hi/b", "hi/ab.hide"}, {"lo/a", "lo/a.append", "hi/b"}},  // names don't mix
        {{"lo/a", "hi/a.hide.append"}, {"lo/a"}},  // hides nothing, since it appends, and doesn't count, since it hides
    };
    for (const auto& c : cases) {
        empty();
        write(c.files);
        EXPECT_EQ(entries(Found(), 1), c.expected) << testing::PrintToString(c.files);
    }
}

TEST_F(PathFileReading, LinesOfAllFilesFollowEachOtherAndNoneSpansTwo) {
    root().write("lo/a", "one\ntwo");
    root().write("lo/b", "");
    root().write("lo/c", "\n\nx\n");
    root().makeDirectory("lo/d");
    write({"lo/e.hide", "mid/f"});
    UT_PathFile file;
    file.setSearchPath(0, "*");
    EXPECT_EQ(file.getCurrentFileName(), nullptr);
    file.applyStandardFilter();
    EXPECT_EQ(rest(file), (Lines{{"one", "lo/a", 1},
                                 {"two", "lo/a", 2},
                                 {"", "lo/c", 1},
                                 {"", "lo/c", 2},
                                 {"x", "lo/c", 3},
                                 {"mid/f", "mid/f", 1}}));
    EXPECT_EQ(file.getCurrentFileName(), nullptr);
    EXPECT_EQ(next(file).text, "(end)");
    file.setSearchPath(0, "*");
    EXPECT_EQ(next(file), (Line{"one", "lo/a", 1})) << "setting the path starts over";
}

TEST_F(PathFileReading, FilesThatCantBeOpenedArePassedOver) {
    write({"lo/a", "lo/gone", "lo/z"});
    ASSERT_EQ(::symlink("nowhere", path("lo/link").c_str()), 0);
    Found file;
    EXPECT_EQ(entries(file), (Texts{"lo/a", "lo/gone", "lo/link", "lo/z"}));
    std::filesystem::remove(path("lo/gone"));
    EXPECT_EQ(rest(file), (Lines{{"lo/a", "lo/a", 1}, {"lo/z", "lo/z", 1}}));
    EXPECT_EQ(list("link"), Texts{}) << "a literal name is looked at, and through a link";
}

TEST_F(PathFileReading, AnotherSearchPathDropsTheOpenFileAndTheFilter) {
    root().write("lo/a", "1\n2\n");
    write({"lo/b", "mid/b.hide", "hi/b"});
    UT_PathFile file;
    file.setSearchPath(0, "a");
    EXPECT_EQ(next(file).text, "1");
    file.setSearchPath(0, "b");
    EXPECT_EQ(file.getCurrentFileName(), nullptr);
    EXPECT_EQ(rest(file), (Lines{{"lo/b", "lo/b", 1}, {"mid/b.hide", "mid/b.hide", 1}, {"hi/b", "hi/b", 1}}));
}

// What the caller changes shows at the next line, although the place in the list isn't looked for anew.
TEST_F(PathFileReading, TheListMayChangeBetweenLines) {
    write({"lo/a", "lo/b", "lo/c", "lo/d", "lo/e", "other/f"});
    UT_PathFile file;
    file.setSearchPath(0, "*");
    EXPECT_EQ(next(file).text, "lo/a");
    EXPECT_EQ(next(file).text, "lo/b");
    file.getFileInfo(2, 0)->setFilteredFlag(1);
    EXPECT_EQ(next(file).text, "lo/d");
    file.removeFileInfo(path("lo/e").c_str());
    EXPECT_EQ(file.getFileInfoCount(1), 3);
    EXPECT_EQ(file.getFileInfo(3, 1), nullptr);
    file.appendFileInfo(path("other/f").c_str());
    EXPECT_EQ(next(file).text, "other/f");
    EXPECT_EQ(next(file).text, "(end)");
    EXPECT_EQ(entries(file, 1), (Texts{"lo/a", "lo/b", "lo/d", "other/f"})) << "walked from the front again";
    file.getFileInfo(2, 0)->setFilteredFlag(0);
    EXPECT_EQ(relative(file.getFileInfo(2, 1)->getFullPath()), "lo/c");
}

TEST_F(PathFileReading, TheFilterStepsOverEntriesWithoutANameAndClearsNoMark) {
    write({"lo/a", "mid/a"});
    Found file;
    file.appendFileInfo(new UT_PathFileInfo(&file));
    file.appendFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    file.getFileInfo(1, 0)->setFilteredFlag(3);
    file.applyStandardFilter();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(file.getFileInfo(i, 0)->getFilteredFlag(), i < 2 ? 1 : 0);
    EXPECT_EQ(file.getFileInfoCount(1), 1);
    EXPECT_EQ(file.getFileInfoCount(0), 4);
    EXPECT_EQ(next(file).text, "(end)");
}
