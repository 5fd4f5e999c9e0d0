// Where an entry may be saved, asked by a user whom permissions bind.
#include <sys/stat.h>

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
            entry.deconstructFullPath(0);
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
