// The listing of a directory, and the search for preferences.
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <pathfile/UT_Directory.h>
#include <pathfile/UTfindPreferenceFile.h>
#include <stream/FS_Info.h>

#include "PathFiles.h"

class DirectoryListing : public PathFiles {
protected:
    // The names that match, each behind a blank.
    static std::string names(const UT_Directory& directory, const char* pattern = nullptr) {
        UT_StringArray found;
        found.append("before");
        const int added = directory.getFiles(pattern, found);
        EXPECT_EQ(added, found.entries() - 1);
        std::string all;
        for (int i = 1; i < found.entries(); ++i) all.append(" ").append(found(i).view());
        return all;
    }
};

TEST_F(DirectoryListing, KeepsNamesByPatternAndDotAndGivesThemSorted) {
    write({"lo/b.a", "lo/a.a", "lo/x.b", "lo/y.c", "lo/.x.a", "lo/sub/inner"});
    const struct {
        const char* pattern;
        int dotNames;
        const char *walked, *expected;
    } cases[] = {{nullptr, 0, nullptr, " a.a b.a sub x.b y.c"},
                 {nullptr, 1, nullptr, " .x.a a.a b.a sub x.b y.c"},
                 {".x.a", 0, nullptr, ""},
                 {".x.a", 1, nullptr, " .x.a"},
                 {"*.a, *.b", 0, nullptr, " a.a b.a x.b"},
                 {"*.a *.b", 0, "x*,?.a", " a.a b.a x.b"},  // two filters in a row
                 {"*.a", 0, "x*", ""},
                 {"*.A", 0, nullptr, ""},
                 {"", 0, nullptr, ""}};
    for (const auto& c : cases) {
        const UT_Directory directory(path("lo").c_str(), c.pattern, c.dotNames);
        EXPECT_EQ(names(directory, c.walked), c.expected) << text(c.pattern) << " " << text(c.walked);
    }
}

TEST_F(DirectoryListing, IsASnapshotThatAnswersLiterallyAndInEveryForm) {
    write({"lo/a*", "lo/b"});
    const UT_Directory directory(path("lo").c_str(), nullptr, 0);
    std::filesystem::remove(path("lo/b"));
    write({"lo/c"});
    for (const char* name : {"a*", "b"}) EXPECT_TRUE(directory.findFile(name)) << name;
    for (const char* name : {"c", "*", "a", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(directory.findFile(name)) << text(name);
    UT_PtrArray<const char*> pointers;
    EXPECT_EQ(directory.getFiles("b", pointers), 1);
    EXPECT_STREQ(pointers(0), "b");
    UT_String joined("old");
    EXPECT_EQ(directory.getFiles(nullptr, joined), 1);
    EXPECT_STREQ(joined.buffer(), "a* b");
    EXPECT_EQ(directory.getFiles("c", joined), 0);
    EXPECT_TRUE(joined.isEmpty());
    std::string seen;
    const auto onlyOne = [](const char* name, void* data) {
        static_cast<std::string*>(data)->append(name);
        return 0;
    };
    directory.traverseFiles(onlyOne, &seen, nullptr);
    EXPECT_EQ(seen, "a*") << "the callback ends the walk";
    directory.traverseFiles(nullptr, nullptr, nullptr);
}

TEST_F(DirectoryListing, WhatCantBeListedIsEmpty) {
    struct GivesUp : FS_InfoHelper {
        bool canHandle(const char* path) override { return std::string(path) == "half:"; }
        bool hasAccess(const char*, int) override { return true; }
        bool getIsDirectory(const char*) override { return true; }
        int getModTime(const char*) override { return 0; }
        std::int64_t getSize(const char*) override { return 0; }
        bool getContents(const char*, UT_StringArray& names, UT_StringArray*) override {
            names.append("half");
            return false;
        }
    } helper;
    write({"lo/file"});
    ASSERT_EQ(::mkfifo(path("lo/pipe").c_str(), 0600), 0);
    for (const std::string& place : {path("nowhere"), path("lo/file"), path("lo/pipe"), std::string("half:")}) {
        const UT_Directory directory(place.c_str(), nullptr, 1);
        EXPECT_EQ(std::to_string(directory.entries()) + names(directory), "0") << place;
    }
    EXPECT_EQ(UT_Directory(nullptr, nullptr, 1).entries(), 0);
}

TEST_F(PathFiles, OfPreferencesTheNoSaveFileGoesFirstInEachDirectory) {
    write({"lo/x", "lo/x.nosave", "mid/x", "lo/y.nosave", "mid/z.nosave.nosave", "mid/z.nosave"});
    const struct {
        const char *name, *found;  // "-": nothing
        bool isNoSave;
        int knownPath = 0;
    } cases[] = {
        {"x", "mid/x", false},  // a directory nearer the front goes before the suffix
        {"y", "lo/y.nosave", true},
        {"y.nosave", "lo/y.nosave", false},
        {"z.nosave", "mid/z.nosave.nosave", true},
        {"none", "-", true},
        {"", "-", true},
        {nullptr, "-", true},
        {"x", "-", true, -1},
    };
    for (const auto& c : cases) {
        UT_String found(c.name, 1);
        bool isNoSave = c.found[0] == '-' ? c.isNoSave : !c.isNoSave;  // untouched where nothing is found
        // The name may be the text that the answer replaces.
        EXPECT_EQ(UTfindPreferenceFile(c.knownPath, found.buffer(), found, isNoSave), c.found[0] != '-');
        EXPECT_EQ(relative(found.buffer()), c.found) << text(c.name);
        EXPECT_EQ(isNoSave, c.isNoSave) << text(c.name);
    }
}
