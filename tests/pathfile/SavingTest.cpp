// Where an entry may be saved, asked by a user whom permissions bind.
#include <sys/stat.h>

#include <climits>

#include "../support/Child.h"
#include "PathFiles.h"

class PathFileSaving : public PathFiles {
protected:
    // "INDEX PATH" of an entry after prepareForSave, with "none: " in front where there is no place for it.
    static std::string saved(const Columns& row) {
        empty();
        write(split(row[0]));
        for (const char* directory : {"hi", "mid", "lo"}) {
            const bool isOpen = row[1].find(directory) == std::string::npos;
            for (const std::string& name : root().names(directory))
                ::chmod(path(directory + ("/" + name)).c_str(), isOpen ? 0666 : 0444);
            ::chmod(path(directory).c_str(), isOpen ? 0777 : 0555);
        }
        const auto answer = [&] {
            Found file;
            UT_PathFileInfo entry(&file);
            entry.setFullPath(path("lo/" + row[2]).c_str());
            entry.deconstructFullPath(kLo);
            entry.setDirIndex(std::stoi(row[3]));
            const auto has = [&](char flag) { return row[4].find(flag) != std::string::npos; };
            const std::string found = entry.prepareForSave(has('n'), has('h'), has('v')) ? "" : "none: ";
            root().write("answer", found + std::to_string(entry.getDirIndex()) + " " + relative(entry.getFullPath()));
            return true;
        };
        root().write("answer", "");
        ::chmod(path("answer").c_str(), 0666);
        EXPECT_EQ(inChild(answer, true), 0);
        return root().read("answer");
    }
};

TEST_F(PathFileSaving, KeepsItsRules) {
    expectRules(TARVANI_RULES "/places.rules", {{"saved", saved}});
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
    file.appendFileInfo(path("mid/a.hide").c_str())->setDirIndex(INT_MAX);
    file.appendFileInfo(new UT_PathFileInfo(&file));
    EXPECT_EQ(fresh.prepareForSave(0, 1, 0), 0) << "nothing is above the last number";
    EXPECT_EQ(fresh.prepareForSave(0, 0, 1), 1);
    EXPECT_EQ(relative(fresh.getFullPath()), "mid/a");
    EXPECT_EQ(nameless.prepareForSave(0, 0, 0), 1) << "related to nothing, so the disk isn't asked";
    EXPECT_EQ(relative(nameless.getFullPath()), "lo/") << "its path is that of the place";
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
