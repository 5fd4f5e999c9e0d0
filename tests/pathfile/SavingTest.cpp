// Where an entry may be saved, asked by a user whom permissions bind.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "../stream/AsUser.h"
#include "PathFiles.h"

class PathFileSaving : public PathFiles {
protected:
    struct Case {
        const char* what;
        Texts files;        // that exist
        const char* entry;  // the entry to save, one of them or a new one
        int start;          // its directory index
        int mustBeNew, aboveHidden, overVisible;
        Texts closed;       // directories that can't be written
        int result, index;  // what is expected
    };

    // "RESULT INDEX PATH" of the entry after prepareForSave.
    static std::string answer(const Case& c) {
        Found file;
        UT_PathFileInfo entry(&file);
        entry.setFullPath((path("lo/") + c.entry).c_str());
        entry.deconstructFullPath(kLo);
        entry.setDirIndex(c.start);
        const int result = entry.prepareForSave(c.mustBeNew, c.aboveHidden, c.overVisible);
        return std::to_string(result) + " " + std::to_string(entry.getDirIndex()) + " " + relative(entry.getFullPath());
    }
};

TEST_F(PathFileSaving, ChoosesTheFirstPlaceThatIsFoundAndCanBeWritten) {
    const char* const kDirectories[] = {"lo/", "mid/", "hi/"};
    const Case cases[] = {
        // no related entry: the disk isn't asked
        {"alone", {}, "a", kMid, 0, 1, 1, {"mid"}, 1, kMid},
        {"unrelated", {"lo/b", "hi/b.hide"}, "a", kLo, 1, 1, 1, {"lo"}, 1, kLo},
        // no flag: upwards from where it is
        {"stays", {"lo/a.txt"}, "a.txt", kLo, 0, 0, 0, {}, 1, kLo},
        {"moves up", {"lo/a.txt"}, "a.txt", kLo, 0, 0, 0, {"lo"}, 1, kMid},
        {"moves up twice", {"lo/a.txt"}, "a.txt", kLo, 0, 0, 0, {"lo", "mid"}, 1, kHi},
        {"nowhere", {"lo/a.txt"}, "a.txt", kLo, 0, 0, 0, {"lo", "mid", "hi"}, 0, kLo},
        {"never down", {"lo/a.txt"}, "a.txt", kHi, 0, 0, 0, {"hi"}, 0, kHi},
        {"new", {"lo/a.txt", "mid/a.txt"}, "a.txt", kLo, 1, 0, 0, {}, 1, kHi},
        {"own suffix", {"lo/a.txt", "mid/a.txt"}, "a.txt.hide", kLo, 1, 0, 0, {}, 1, kLo},
        // over what is visible
        {"over visible", {"mid/a.txt"}, "a.txt", kLo, 0, 0, 1, {}, 1, kMid},
        {"over the highest", {"mid/a.txt", "hi/a.txt"}, "a.txt", kLo, 0, 0, 1, {}, 1, kHi},
        {"over visible, new", {"mid/a.txt"}, "a.txt", kLo, 1, 0, 1, {}, 1, kHi},
        {"over another extension", {"mid/a.jpg"}, "a.txt", kLo, 0, 0, 1, {}, 1, kMid},
        {"append is visible", {"mid/a.txt.append"}, "a.txt", kLo, 0, 0, 1, {}, 1, kMid},
        {"visible below", {"lo/a.txt"}, "a.txt", kMid, 0, 0, 1, {}, 1, kMid},
        {"hidden doesn't count", {"mid/a.txt.hide"}, "a.txt", kLo, 0, 0, 1, {}, 1, kLo},
        {"another name doesn't count", {"lo/a.txt", "hi/b.txt"}, "a.txt", kLo, 0, 0, 1, {}, 1, kLo},
        // above what hides
        {"above hidden", {"lo/a.txt.hide"}, "a.txt", kLo, 0, 1, 0, {}, 1, kMid},
        {"above the middle", {"mid/a.txt.hide"}, "a.txt", kLo, 0, 1, 0, {}, 1, kHi},
        {"above hidden, closed", {"lo/a.txt.hide"}, "a.txt", kLo, 0, 1, 0, {"mid"}, 1, kHi},
        {"above the first", {"hi/a.txt.hide"}, "a.txt", kLo, 0, 1, 0, {}, 0, kLo},
        {"hidden below", {"lo/a.txt.hide"}, "a.txt", kMid, 0, 1, 0, {}, 1, kMid},
        {"visible doesn't count", {"mid/a.txt"}, "a.txt", kLo, 0, 1, 0, {}, 1, kLo},
        // both: the higher of the two
        {"both, hidden higher", {"lo/a.txt", "mid/a.txt.hide"}, "a.txt", kLo, 0, 1, 1, {}, 1, kHi},
        {"both, visible higher", {"lo/a.txt.hide", "hi/a.txt"}, "a.txt", kLo, 0, 1, 1, {}, 1, kHi},
        {"both, failing", {"lo/a.txt.hide", "mid/a.txt"}, "a.txt", kLo, 0, 1, 1, {"mid", "hi"}, 0, kLo},
    };
    for (const Case& c : cases) {
        empty();
        write(c.files);
        for (const std::string directory : {"hi", "mid", "lo"}) {
            const bool closed = std::count(c.closed.begin(), c.closed.end(), directory) > 0;
            for (const std::string& name : root().names(directory))
                ::chmod(path(directory + "/" + name).c_str(), closed ? 0444 : 0666);
            ::chmod(path(directory).c_str(), closed ? 0555 : 0777);
        }
        EXPECT_EQ(asOrdinaryUser([&] { return answer(c); }),
                  std::to_string(c.result) + " " + std::to_string(c.index) + " " + kDirectories[c.index] + c.entry)
            << c.what;
    }
}

TEST_F(PathFileSaving, ADirectoryThatIsntThereGivesNoPlaceAndChangesNothing) {
    write({"lo/a"});
    Found file;
    for (const char* name : {"a", "unrelated"}) {
        for (const int start : {3, -1}) {
            UT_PathFileInfo entry(&file);
            entry.setFileName(name);
            entry.setDirIndex(start);
            EXPECT_EQ(entry.prepareForSave(0, 0, 0), 0) << name << start;
            EXPECT_EQ(entry.getDirIndex(), start);
        }
    }
    EXPECT_EQ(UT_PathFileInfo(nullptr).prepareForSave(0, 0, 0), 0);
}

TEST_F(PathFileSaving, TheOldPlaceOnDiskStays) {
    write({"lo/a"});
    Found file;
    UT_PathFileInfo* const info = file.getFileInfo(0, 0);
    ASSERT_EQ(info->prepareForSave(1, 0, 0), 1);
    EXPECT_EQ(relative(info->getFullPath()), "mid/a");
    EXPECT_EQ(relative(info->getDiskPath()), "lo/a");
    EXPECT_FALSE(root().exists("mid/a"));
}
