// The listing of a directory, and the search for preferences.
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <pathfile/UT_Directory.h>
#include <pathfile/UTfindPreferenceFile.h>
#include <stream/FS_Info.h>

#include "PathFiles.h"

class DirectoryListing : public PathFiles {
protected:
    // The names that match.
    static std::string names(const UT_Directory& directory, const char* pattern = nullptr) {
        UT_StringArray found;
        found.append("before");
        const int added = directory.getFiles(pattern, found);
        EXPECT_EQ(added, found.entries() - 1);
        Texts all;
        for (int i = 1; i < found.entries(); ++i) all.emplace_back(found(i).view());
        return joined(all);
    }
};

TEST_F(DirectoryListing, KeepsTheRulesOfNamesAndPreferences) {
    write({"hi/b.a", "hi/a.a", "hi/x.b", "hi/y.c", "hi/.x.a", "hi/sub/inner"});
    write({"lo/x", "lo/x.nosave", "mid/x", "lo/y.nosave", "mid/z.nosave.nosave", "mid/z.nosave"});
    const auto listed = [](const Columns& row) {
        const UT_Directory directory(path("hi").c_str(), nullable(row[0]), std::stoi(row[1]));
        return names(directory, nullable(row[2]));
    };
    const auto preferred = [](const Columns& row, bool isNoSave) {
        UT_String found(nullable(row[0]), 1);  // the name may be the text that the answer replaces
        const bool before = isNoSave;
        const bool done = UTfindPreferenceFile(std::stoi(row[1]), found.buffer(), found, isNoSave);
        EXPECT_TRUE(done || isNoSave == before) << "untouched where nothing is found";
        return relative(found.buffer()) + (done && isNoSave ? " nosave" : "");
    };
    const auto preference = [&](const Columns& row) {
        EXPECT_EQ(preferred(row, true), preferred(row, false));
        return preferred(row, true);
    };
    expectRules(TARVANI_RULES "/directories.rules", {{"listed", listed}, {"preference", preference}});
}

TEST_F(DirectoryListing, IsASnapshotThatAnswersLiterallyAndInEveryForm) {
    write({"lo/a*", "lo/b"});
    const UT_Directory directory(path("lo").c_str(), nullptr, 0);
    std::filesystem::remove(path("lo/b"));
    write({"lo/c"});
    for (const char* name : {"a*", "b"}) EXPECT_TRUE(directory.findFile(name)) << name;
    for (const char* name : {"c", "*", "a", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(directory.findFile(name)) << (name ? name : "null");
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
