// Entries in long random lives, held against a plain model.
#include "EntryModel.h"

#include <random>

#include "PathFiles.h"

using namespace entrymodel;

class EntryModel : public PathFiles {};

TEST_F(EntryModel, ALongLifeFollowsTheRules) {
    write({"lo/a.b.c", "mid/x.txt.hide", "hi/f"});
    UT_PathFile list;
    const std::vector<Text> texts = {Text(), "", "a", "a.b", "a.b.c", ".x", ".txt", ".tar.gz", "n.hide", "k"};
    std::mt19937 random(5);
    const auto below = [&](std::size_t limit) { return random() % limit; };

    for (int life = 0; life < 3000; ++life) {
        list.setSearchPath(0, "*");
        list.applyStandardFilter();
        // A found one, whose texts lie in each other, or a new one.
        const bool isFound = life % 4 != 0;
        UT_PathFileInfo fresh(&list);
        UT_PathFileInfo& entry = isFound ? *list.getFileInfo(life % 3, 0) : fresh;
        Model model;
        model.directories = {path("lo"), path("mid"), path("hi")};
        model.belongs = [](const std::string& full, const std::string& directory) {
            return full.starts_with(directory + "/") && full.rfind('/') == directory.size();
        };
        model.disk = isFound ? entry.getDiskPath() : "";
        if (isFound) model.setFull(model.disk), model.takeApart();

        std::string story, full;
        Text value;
        int number = 0;
        bool bit = false;
        bool(&flags)[3] = model.flags;
        const auto c = [&] { return value ? value->c_str() : nullptr; };
        const auto same = [&](const char* is, const Text& expected) {
            ASSERT_EQ(text(is), expected.value_or("(null)")) << story;
        };
        const auto sameNumber = [&](int is, int expected) { ASSERT_EQ(is, expected) << story; };
        const std::function<void()> steps[] = {
            [&] { entry.setFullPath(full.c_str()), model.setFull(full); },
            [&] { entry.setFileName(c()), model.set(kName, kFull | kBase | kExtension, model.name, value); },
            [&] { entry.setBaseName(c()), model.set(kBase, kFull | kName, model.base, value); },
            [&] { entry.setExtension(c()), model.set(kExtension, kFull | kName, model.extension, value); },
            [&] { entry.setDirIndex(number), model.set(kIndex, kFull, model.index, number); },
            [&] { entry.setHideFlag(bit), model.setFlag(flags[0], bit); },
            [&] { entry.setAppendFlag(bit), model.setFlag(flags[1], bit); },
            [&] { entry.setNoSaveFlag(bit), model.setFlag(flags[2], bit); },
            [&] { entry.setDiskPath(c()), model.disk = value; },
            [&] { sameNumber(entry.deconstructFullPath(), model.takeApart()); },
            [&] { same(entry.getFullPath(), model.getFull()); },
            [&] { same(entry.getDirectory(), (model.getFull(), model.directory)); },
            [&] { same(entry.getFileName(), model.getName()); },
            [&] { same(entry.getBaseName(), model.getCut(kBase)); },
            [&] { same(entry.getExtension(), model.getCut(kExtension)); },
            [&] { sameNumber(entry.getDirIndex(), model.get(kIndex, model.index)); },
            [&] { sameNumber(entry.getHideFlag(), model.get(kFlags, flags[0])); },
            [&] { sameNumber(entry.getAppendFlag(), model.get(kFlags, flags[1])); },
            [&] { sameNumber(entry.getNoSaveFlag(), model.get(kFlags, flags[2])); },
        };
        for (int step = 0; step < 14; ++step) {
            value = texts[below(texts.size())];
            number = static_cast<int>(below(5)) - 1;
            bit = below(2) != 0;
            full = (below(3) ? model.directories[below(3)] : "/no") + "/" + value.value_or("q");
            const std::size_t what = below(std::size(steps));
            story += " " + std::to_string(what) + "(" + value.value_or("null") + "," + std::to_string(number) + "," +
                     full + ")";
            steps[what]();
            same(entry.getDiskPath(), model.disk);
            if (HasFatalFailure()) return;
        }
    }
}
