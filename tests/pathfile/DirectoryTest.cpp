// The listing of a directory, and the search for preferences.
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <pathfile/UT_Directory.h>
#include <pathfile/UTfindPreferenceFile.h>
#include <stream/FS_Info.h>

#include "PathFiles.h"

class DirectoryListing : public PathFiles {
protected:
    static Texts names(const UT_Directory& directory, const char* pattern = nullptr) {
        UT_StringArray found;
        found.append("before");
        const int added = directory.getFiles(pattern, found);
        EXPECT_EQ(added, found.entries() - 1);
        Texts texts;
        for (int i = 1; i < found.entries(); ++i) texts.emplace_back(found(i).view());
        return texts;
    }
};

TEST_F(DirectoryListing, KeepsNamesByPatternAndDotAndGivesThemSorted) {
    write({"lo/b.a", "lo/a.a", "lo/x.b", "lo/y.c", "lo/.x.a", "lo/sub/inner"});
    const std::string lo = path("lo");
    const struct {
        const char* pattern;
        int dotNames;
        const char* walked;
        Texts expected;
    } cases[] = {{nullptr, 0, nullptr, {"a.a", "b.a", "sub", "x.b", "y.c"}},
                 {nullptr, 1, nullptr, {".x.a", "a.a", "b.a", "sub", "x.b", "y.c"}},
                 {".x.a", 0, nullptr, {}},
                 {".x.a", 1, nullptr, {".x.a"}},
                 {"*.a, *.b", 0, nullptr, {"a.a", "b.a", "x.b"}},
                 {"*.a *.b", 0, "x*,?.a", {"a.a", "b.a", "x.b"}},  // two filters in a row
                 {"*.a", 0, "x*", {}},
                 {"*.A", 0, nullptr, {}},
                 {"", 0, nullptr, {}}};
    for (const auto& c : cases) {
        const UT_Directory directory(lo.c_str(), c.pattern, c.dotNames);
        EXPECT_EQ(names(directory, c.walked), c.expected) << text(c.pattern) << " " << text(c.walked);
    }
}

TEST_F(DirectoryListing, IsASnapshotThatAnswersLiterallyAndInEveryForm) {
    write({"lo/a*", "lo/b"});
    const UT_Directory directory(path("lo").c_str(), nullptr, 0);
    std::filesystem::remove(path("lo/b"));
    write({"lo/c"});
    EXPECT_TRUE(directory.findFile("b"));
    EXPECT_TRUE(directory.findFile("a*"));
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
    Texts seen;
    const auto onlyOne = [](const char* name, void* data) {
        static_cast<Texts*>(data)->push_back(name);
        return 0;
    };
    directory.traverseFiles(onlyOne, &seen, nullptr);
    EXPECT_EQ(seen, Texts{"a*"}) << "the callback ends the walk";
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
    for (const std::string& place :
         {path("nowhere"), path("lo/file"), path("lo/pipe"), std::string("half:"), std::string()}) {
        const UT_Directory directory(place.c_str(), nullptr, 1);
        EXPECT_EQ(directory.entries(), 0) << place;
        EXPECT_EQ(names(directory), Texts{}) << place;
    }
    EXPECT_EQ(UT_Directory(nullptr, nullptr, 1).entries(), 0);
}

class Preferences : public PathFiles {};

TEST_F(Preferences, TheNoSaveFileGoesFirstInEachDirectory) {
    write({"lo/x", "lo/x.nosave", "mid/x", "lo/y.nosave", "mid/z.nosave.nosave", "mid/z.nosave"});
    const struct {
        const char* name;
        const char* found;  // null: nothing
        bool isNoSave;
    } cases[] = {
        {"x", "mid/x", false},  // a directory nearer the front goes before the suffix
        {"y", "lo/y.nosave", true},
        {"y.nosave", "lo/y.nosave", false},
        {"z.nosave", "mid/z.nosave.nosave", true},
        {"none", nullptr, false},
        {"", nullptr, false},
        {nullptr, nullptr, false},
    };
    for (const auto& c : cases) {
        UT_String found("before");
        bool isNoSave = !c.isNoSave;
        EXPECT_EQ(UTfindPreferenceFile(0, c.name, found, isNoSave), c.found != nullptr) << text(c.name);
        EXPECT_EQ(relative(found.buffer()), text(c.found)) << text(c.name);
        EXPECT_EQ(isNoSave, c.found ? c.isNoSave : true) << text(c.name);
    }
    UT_String found("x", 1);
    bool isNoSave = true;
    EXPECT_TRUE(UTfindPreferenceFile(0, found.buffer(), found, isNoSave));
    EXPECT_EQ(relative(found.buffer()), "mid/x");
    EXPECT_FALSE(UTfindPreferenceFile(-1, "x", found, isNoSave));
}
