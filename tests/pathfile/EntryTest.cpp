// One entry: its path, its parts, and how it is copied.
#include "PathFiles.h"

class Entry : public PathFiles {
protected:
    Entry() { list_.setSearchPath(0, "*"); }

    static std::string parts(UT_PathFileInfo& info) {
        std::string all = text(info.getDirectory());  // first: the others may take the path apart
        for (const char* part : {info.getFileName(), info.getBaseName(), info.getExtension()}) all += " " + text(part);
        return all + (info.getHideFlag() ? " hide" : "") + (info.getAppendFlag() ? " append" : "") +
               (info.getNoSaveFlag() ? " nosave" : "");
    }

    UT_PathFile list_;
};

TEST_F(Entry, APathComesApart) {
    const struct {
        const char *path, *expected;
    } cases[] = {{"/d/a.txt.hide", "/d a.txt a .txt hide"},
                 {"/d/a.hide.append", "/d a a (null) hide append"},
                 {"/d/a.nosave.hide.nosave", "/d a a (null) hide nosave"},
                 {"/d/a.hide.txt", "/d a.hide.txt a .txt"},
                 {"/d/.hide", "/d   (null) hide"},
                 {"/d/.x", "/d .x  .x"},
                 {"/d/a.", "/d a. a ."},
                 {"/d/ahide", "/d ahide ahide (null)"},
                 {"/d.e/f", "/d.e f f (null)"},
                 {"f", ". f f (null)"},
                 {"/f", " f f (null)"},
                 {"a.hide", ". a a (null) hide"},
                 {"/d/", "/d   (null)"}};
    for (const auto& c : cases) {
        UT_PathFileInfo info(&list_);
        info.setFullPath(c.path);
        info.deconstructFullPath(1);
        EXPECT_EQ(parts(info), c.expected) << c.path;
        EXPECT_EQ(info.getDirIndex(), 1);
    }
}

TEST_F(Entry, ItsDirectoryIsTheLowestWhoseTokensFit) {
    const struct {
        const char *pattern, *path;
        int knownPath, index;  // -1: none fits
    } cases[] = {
        {"*", "hi/a", 0, kHi},
        {"*", "lo/a", 0, kLo},
        {"*", "lo/sub/a", 0, -1},
        {"*", "other/a", 0, -1},
        {" x*  b/*.txt ", "mid/b/a.txt.nosave", 0, kMid},
        {"x*", "mid/a", 0, -1},
        {"a", "mid/a.append", 0, kMid},
        {"a", "mid/a.append.hide", 0, -1},  // one suffix and no more
        {"a*", "mid/a.append.hide", 0, kMid},
        {"^a", "mid/^a", 0, kMid},
        {"^a", "mid/a", 0, -1},
        {"?", "mid/a", 0, kMid},
        {"", "mid/a", 0, -1},
        {nullptr, "mid/a", 0, -1},
        {"*/*", "lo/sub/a", 1, 0},  // both directories of path 1 hold it
        {"*", "lo/sub/a", 1, 1},
        {"*", "mid/a", 2, -1},
    };
    for (const auto& c : cases) {
        UT_PathFile file;
        file.setSearchPath(c.knownPath, c.pattern);
        UT_PathFileInfo info(&file);
        info.setDirIndex(77);
        info.setFullPath(path(c.path).c_str());
        EXPECT_EQ(info.deconstructFullPath(), c.index >= 0) << text(c.pattern) << " " << c.path;
        EXPECT_EQ(info.getDirIndex(), c.index >= 0 ? c.index : 77) << text(c.pattern) << " " << c.path;
    }
}

TEST_F(Entry, WhatFitsNowhereIsTriedAgain) {
    UT_PathFile file;
    file.setSearchPath(0, "x");
    UT_PathFileInfo info(&file);
    info.setFullPath(path("mid/a.b.hide").c_str());
    EXPECT_EQ(parts(info), "(null) (null) (null) (null)");
    file.setSearchPath(0, "*");
    EXPECT_EQ(parts(info), "(null) a.b a .b hide") << "asking for the directory takes nothing apart";
    EXPECT_EQ(info.getDirIndex(), kMid);
    EXPECT_EQ(info.getDirectory(), path("mid"));
}

TEST_F(Entry, PartsMakeAPath) {
    const struct {
        const char* pattern;
        int index;
        const char* name;
        int hide, append, noSave;
        const char* expected;
    } cases[] = {
        {"*", kLo, "f", 0, 0, 0, "lo/f"},
        {"*", kHi, "f.x", 0, 0, 0, "hi/f.x"},  // its variable expanded
        {"s/t/*", kLo, "f", 0, 0, 0, "lo/s/t/f"},
        {"a*/b.txt", kLo, "b.txt", 0, 0, 0, "lo/a*/b.txt"},
        {"a/x b/y", kLo, "f", 0, 0, 0, "lo/a/x b/f"},
        {"*", kLo, "f", 1, 1, 1, "lo/f.hide"},
        {"*", 3, "f", 0, 0, 0, "(null)"},  // no such directory
        {"*", -1, "f", 0, 0, 0, "(null)"},
    };
    for (const auto& c : cases) {
        UT_PathFile file;
        file.setSearchPath(0, c.pattern);
        UT_PathFileInfo info(&file);
        info.setFileName(c.name);
        info.getBaseName();
        info.getExtension();
        info.setHideFlag(c.hide);
        info.setAppendFlag(c.append);
        info.setNoSaveFlag(c.noSave);
        info.setDirIndex(c.index);
        UT_String made;
        info.computeFullPath(&made);
        EXPECT_EQ(relative(made.buffer()), c.expected);
        EXPECT_EQ(relative(info.getFullPath()), c.expected);
    }
}

TEST_F(Entry, ACopyTakesLeavesOrSharesTheFile) {
    write({"lo/a.x", "mid/b.y.hide"});
    list_.applyStandardFilter();
    const struct {
        UT_PF_CopyReason reason;
        const char *disk, *full, *directory, *sourceDisk;
    } cases[] = {
        {UT_PF_COPY_DETACHED, "(null)", "mid/a.x", "lo", "lo/a.x"},
        {UT_PF_COPY_TAKE_DISK_FILE, "lo/a.x", "lo/a.x", "mid", "(null)"},
        {UT_PF_COPY_ALL, "lo/a.x", "mid/a.x", "lo", "lo/a.x"},
    };
    for (const auto& c : cases) {
        UT_PathFileInfo source(*list_.getFileInfo(0, 0));
        source.setDirIndex(kMid);  // so that disk path and full path differ
        source.setFilteredFlag(1);
        UT_PathFileInfo target(*list_.getFileInfo(1, 0));
        target.copy(&source, c.reason);
        EXPECT_EQ(relative(target.getDiskPath()), c.disk);
        EXPECT_EQ(relative(source.getDiskPath()), c.sourceDisk);
        EXPECT_EQ(target.getFilteredFlag(), 1);
        EXPECT_EQ(relative(source.getFullPath()), "mid/a.x");
        // The directory of the target's old path stays until its own is taken apart.
        EXPECT_EQ(relative(target.getDirectory()), c.directory);
        EXPECT_STREQ(target.getFileName(), "a.x");
        EXPECT_EQ(relative(target.getFullPath()), c.full);
        EXPECT_EQ(target.getDirIndex(), c.reason == UT_PF_COPY_TAKE_DISK_FILE ? kLo : kMid);
    }
    UT_PathFileInfo self(*list_.getFileInfo(0, 0));
    self.copy(nullptr, UT_PF_COPY_ALL);
    self.copy(&self, UT_PF_COPY_ALL);
    self.copy(&self, UT_PF_COPY_TAKE_DISK_FILE);
    EXPECT_EQ(relative(self.getDiskPath()), "lo/a.x");
    EXPECT_EQ(relative(self.getFullPath()), "lo/a.x");
    EXPECT_STREQ(self.getBaseName(), "a");
}

// A file that was found keeps its path once, and its name in it.
TEST_F(Entry, OutlivesItsDiskPathAndItsOriginal) {
    write({"lo/a.b.c"});
    list_.applyStandardFilter();
    UT_PathFileInfo* const info = list_.getFileInfo(0, 0);
    UT_PathFileInfo copied(*info);
    info->setDiskPath(info->getFullPath());
    info->setDiskPath(info->getExtension());
    EXPECT_STREQ(info->getDiskPath(), ".c");
    EXPECT_EQ(parts(*info), path("lo") + " a.b.c a .c");
    EXPECT_EQ(relative(info->getFullPath()), "lo/a.b.c");
    list_.removeFileInfo(info);
    EXPECT_EQ(parts(copied), path("lo") + " a.b.c a .c");
    copied.setBaseName(copied.getExtension());
    EXPECT_EQ(relative(copied.getFullPath()), "lo/.c.b.c");
    const char* const joined = copied.getFileName();
    EXPECT_EQ(copied.getFileName(), joined) << "a text stays while nothing changes";
}
