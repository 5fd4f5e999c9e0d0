// Where an entry may be saved, asked by a user whom permissions bind.
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "../support/Child.h"
#include "PathFiles.h"

class PathFileSaving : public PathFiles {
protected:
    // "INDEX PATH" of an entry after prepareForSave, with "none: " in front where there is no place for it.
    static std::string answer(const char* name, int start, const std::string& flags) {
        Found file;
        UT_PathFileInfo entry(&file);
        entry.setFullPath(path("lo/" + std::string(name)).c_str());
        entry.deconstructFullPath(kLo);
        entry.setDirIndex(start);
        const auto has = [&](char flag) { return flags.find(flag) != flags.npos; };
        const std::string found = entry.prepareForSave(has('n'), has('h'), has('v')) ? "" : "none: ";
        return found + std::to_string(entry.getDirIndex()) + " " + relative(entry.getFullPath());
    }
};

TEST_F(PathFileSaving, ChoosesTheFirstPlaceThatIsFoundAndCanBeWritten) {
    const struct {
        Texts files;         // that exist
        const char* closed;  // directories that can't be written
        const char* entry;   // to save, one of the files or a new one
        int start;
        const char* flags;  // must be n(ew), above what h(ides), over what is v(isible)
        const char* expected;
    } cases[] = {
        // No related entry: the disk isn't asked.
        {{}, "mid", "a", kMid, "hv", "1 mid/a"},
        {{"lo/b", "hi/b.hide"}, "lo", "a", kLo, "nhv", "0 lo/a"},
        // No flag: upwards from where it is.
        {{"lo/a.txt"}, "", "a.txt", kLo, "", "0 lo/a.txt"},
        {{"lo/a.txt"}, "lo", "a.txt", kLo, "", "1 mid/a.txt"},
        {{"lo/a.txt"}, "lo mid", "a.txt", kLo, "", "2 hi/a.txt"},
        {{"lo/a.txt"}, "lo mid hi", "a.txt", kLo, "", "none: 0 lo/a.txt"},
        {{"lo/a.txt"}, "hi", "a.txt", kHi, "", "none: 2 hi/a.txt"},
        {{"lo/a.txt", "mid/a.txt"}, "", "a.txt", kLo, "n", "2 hi/a.txt"},
        {{"lo/a.txt", "mid/a.txt"}, "", "a.txt.hide", kLo, "n", "0 lo/a.txt.hide"},  // by its own suffix
        // Over what is visible, which an appending file is; not over another name or lower than it starts.
        {{"mid/a.txt", "hi/a.txt"}, "", "a.txt", kLo, "v", "2 hi/a.txt"},
        {{"mid/a.txt"}, "", "a.txt", kLo, "nv", "2 hi/a.txt"},
        {{"mid/a.jpg"}, "", "a.txt", kLo, "v", "1 mid/a.txt"},  // another extension
        {{"mid/a.txt.append"}, "", "a.txt", kLo, "v", "1 mid/a.txt"},
        {{"lo/a.txt"}, "", "a.txt", kMid, "v", "1 mid/a.txt"},
        {{"mid/a.txt.hide"}, "", "a.txt", kLo, "v", "0 lo/a.txt"},
        {{"lo/a.txt", "hi/b.txt"}, "", "a.txt", kLo, "v", "0 lo/a.txt"},
        {{"lo/a", "lo/a-b", "hi/a.txt"}, "", "a.txt", kLo, "v", "0 lo/a.txt"},  // and no further than the other name
        // Above what hides.
        {{"lo/a.txt.hide"}, "", "a.txt", kLo, "h", "1 mid/a.txt"},
        {{"lo/a.txt.hide"}, "mid", "a.txt", kLo, "h", "2 hi/a.txt"},
        {{"hi/a.txt.hide"}, "", "a.txt", kLo, "h", "none: 0 lo/a.txt"},
        {{"lo/a.txt.hide"}, "", "a.txt", kMid, "h", "1 mid/a.txt"},
        {{"mid/a.txt"}, "", "a.txt", kLo, "h", "0 lo/a.txt"},
        // Both: the higher of the two.
        {{"lo/a.txt", "mid/a.txt.hide"}, "", "a.txt", kLo, "hv", "2 hi/a.txt"},
        {{"lo/a.txt.hide", "hi/a.txt"}, "", "a.txt", kLo, "hv", "2 hi/a.txt"},
        {{"lo/a.txt.hide", "mid/a.txt"}, "mid hi", "a.txt", kLo, "hv", "none: 0 lo/a.txt"},
    };
    for (const auto& c : cases) {
        empty();
        write(c.files);
        for (const char* directory : {"hi", "mid", "lo"}) ::chmod(path(directory).c_str(), 0777);
        for (const std::string& file : c.files) ::chmod(path(file).c_str(), 0666);
        std::istringstream closed(c.closed);
        for (std::string directory; closed >> directory;) {
            for (const std::string& name : root().names(directory)) ::chmod(path(directory + "/" + name).c_str(), 0444);
            ::chmod(path(directory).c_str(), 0555);
        }
        checkInChild(true, [&] {
            EXPECT_EQ(answer(c.entry, c.start, c.flags), c.expected)
                << testing::PrintToString(c.files) << " " << c.closed << " " << c.flags;
        });
    }
}

TEST_F(PathFileSaving, ADirectoryThatIsntThereGivesNoPlaceAndChangesNothing) {
    write({"lo/a"});
    for (const char* name : {"a", "unrelated"})
        for (const int start : {3, -1})
            EXPECT_EQ(answer(name, start, ""), "none: " + std::to_string(start) + " lo/" + name);
    EXPECT_EQ(UT_PathFileInfo(nullptr).prepareForSave(0, 0, 0), 0);
}

TEST_F(PathFileSaving, BeginsWithTheIndexAsItIsAndPassesOverGapsInTheList) {
    write({"lo/a"});
    Found file;
    UT_PathFileInfo fresh(&file), nameless(&file);
    fresh.setFullPath(path("mid/a").c_str());
    EXPECT_EQ(fresh.prepareForSave(0, 0, 0), 1);
    EXPECT_EQ(relative(fresh.getFullPath()), "lo/a") << "its path has not been taken apart yet";
    file.appendFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    file.appendFileInfo(path("mid/a").c_str());
    file.appendFileInfo(new UT_PathFileInfo(&file));
    EXPECT_EQ(fresh.prepareForSave(0, 0, 1), 1);
    EXPECT_EQ(relative(fresh.getFullPath()), "mid/a");
    EXPECT_EQ(nameless.prepareForSave(0, 0, 0), 1) << "related to nothing, so the disk isn't asked";
}

TEST_F(PathFileSaving, TheOldPlaceOnDiskStays) {
    write({"lo/a"});
    const Found file;
    UT_PathFileInfo& info = *file.getFileInfo(0, 0);
    ASSERT_EQ(info.prepareForSave(1, 0, 0), 1);
    EXPECT_EQ(relative(info.getFullPath()), "mid/a");
    EXPECT_EQ(relative(info.getDiskPath()), "lo/a");
    EXPECT_FALSE(root().exists("mid/a"));
}
