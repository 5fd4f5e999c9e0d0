// Entries in long random lives, held against a plain model: the rules of what is current, each written out, and no text
// shared with another.
#include <algorithm>
#include <optional>
#include <random>

#include "PathFiles.h"

namespace {

using Text = std::optional<std::string>;

struct Model {
    std::vector<std::string> directories;  // by index; the pattern is "*"
    Text disk, full, directory, name, base, extension, middle;
    int index = 0;
    bool hide = false, append = false, noSave = false;
    bool fullValid = true, indexValid = true, nameValid = true, baseValid = true, extensionValid = true,
         hintValid = true;

    bool takeApart() {
        if (!full) return false;
        for (std::size_t i = 0; i < directories.size(); ++i) {
            const std::string front = directories[i] + "/";
            if (!full->starts_with(front) || full->find('/', front.size()) != std::string::npos) continue;
            index = static_cast<int>(i);
            std::string rest = *full;
            for (;;) {
                const std::string last = rest.substr(std::min(rest.rfind('.'), rest.size()));
                if (last != ".hide" && last != ".append" && last != ".nosave") break;
                (last == ".hide" ? hide : last == ".append" ? append : noSave) = true;
                rest.resize(rest.size() - last.size());
            }
            directory = rest.substr(0, rest.rfind('/'));
            name = rest.substr(rest.rfind('/') + 1);
            cutExtension();
            cutBase();
            indexValid = nameValid = hintValid = true;
            return true;
        }
        return false;
    }
    void cutExtension() {
        extensionValid = true;
        const std::size_t dot = name ? name->rfind('.') : std::string::npos;
        extension = dot == std::string::npos ? Text() : name->substr(dot);
    }
    void cutBase() {
        baseValid = true;
        base = name ? name->substr(0, name->find('.')) : Text();
    }
    void keepMiddle() {
        if (!nameValid) return;
        const std::size_t first = name ? name->find('.') : std::string::npos;
        middle = first == std::string::npos ? Text() : name->substr(first, name->rfind('.') - first);
    }

    Text getName() {
        if (nameValid) return name;
        if (baseValid && extensionValid) {
            if (!base && !extension && !middle.value_or("").size()) return name = Text();
            return name = base.value_or("") + middle.value_or("") + extension.value_or("");
        }
        if (fullValid) takeApart();
        return name;
    }
    Text getBase() {
        if (baseValid) return base;
        if (nameValid)
            cutBase();
        else if (fullValid)
            takeApart();
        return base;
    }
    Text getExtension() {
        if (extensionValid) return extension;
        if (nameValid)
            cutExtension();
        else if (fullValid)
            takeApart();
        return extension;
    }
    int getIndex() {
        if (!indexValid && fullValid) takeApart();
        return index;
    }
    bool getFlag(bool& flag) {
        if (!hintValid && fullValid) takeApart();
        return flag;
    }
    Text getFull() {
        if (fullValid || !indexValid || (!nameValid && !(baseValid && extensionValid))) return full;
        if (index < 0 || index >= static_cast<int>(directories.size())) return full;
        const std::size_t at = static_cast<std::size_t>(index);
        full = directories[at] + "/" + getName().value_or("") +
               (hide     ? ".hide"
                : append ? ".append"
                : noSave ? ".nosave"
                         : "");
        fullValid = true;
        return full;
    }
    Text getDirectory() {
        getFull();
        return directory;
    }

    void setFull(const Text& text) {
        full = text;
        fullValid = true;
        middle = Text();
        indexValid = nameValid = baseValid = extensionValid = hintValid = false;
    }
    void setName(const Text& text) {
        if (fullValid && !(indexValid && hintValid && baseValid && extensionValid)) takeApart();
        name = text;
        fullValid = baseValid = extensionValid = false;
        nameValid = true;
    }
    void setBase(const Text& text) {
        if (fullValid && !(indexValid && hintValid && nameValid && extensionValid)) takeApart();
        keepMiddle();
        base = text;
        fullValid = nameValid = false;
        baseValid = true;
    }
    void setExtension(const Text& text) {
        if (fullValid && !(indexValid && hintValid && baseValid && nameValid)) takeApart();
        keepMiddle();
        extension = text;
        fullValid = nameValid = false;
        extensionValid = true;
    }
    void setIndex(int value) {
        if (fullValid && !(extensionValid && hintValid && baseValid && nameValid)) takeApart();
        index = value;
        fullValid = false;
        indexValid = true;
    }
    void setFlag(bool& flag, bool value) {
        if (!hintValid && fullValid) takeApart();
        if (flag == value) return;
        if (fullValid && !(indexValid && nameValid && baseValid && extensionValid)) takeApart();
        keepMiddle();
        flag = value;
        fullValid = nameValid = false;
        hintValid = true;
    }
};

}  // namespace

class EntryModel : public PathFiles {};

TEST_F(EntryModel, ALongLifeFollowsTheRules) {
    write({"lo/a.b.c", "mid/x.txt.hide", "hi/f"});
    UT_PathFile list;
    list.setSearchPath(0, "*");
    list.applyStandardFilter();
    const std::vector<Text> texts = {Text(), "", "a", "a.b", "a.b.c", ".x", ".txt", "n.hide", "k"};
    std::mt19937 random(5);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const auto c = [](const Text& value) { return value ? value->c_str() : nullptr; };

    for (int life = 0; life < 3000; ++life) {
        // A found one, whose texts lie in each other, or a new one.
        const bool isFound = life % 4 != 0;
        if (isFound) {
            list.setSearchPath(0, "*");
            list.applyStandardFilter();
        }
        UT_PathFileInfo fresh(&list);
        UT_PathFileInfo& entry = isFound ? *list.getFileInfo(life % 3, 0) : fresh;
        Model model;
        model.directories = {path("lo"), path("mid"), path("hi")};
        model.disk = entry.getDiskPath();
        if (isFound) {
            model.setFull(model.disk);
            model.takeApart();
        }
        std::string story;
        for (int step = 0; step < 14; ++step) {
            const Text& value = texts[below(texts.size())];
            const int number = static_cast<int>(below(5)) - 1;
            const bool bit = below(2) != 0;
            const std::string full =
                below(3) ? model.directories[below(3)] + "/" + value.value_or("q") : "/no/" + value.value_or("q");
            const std::size_t what = below(18);
            story += " " + std::to_string(what) + "(" + value.value_or("null") + "," + std::to_string(number) + "," +
                     full + ")";
            const auto same = [&](const char* is, const Text& expected) {
                ASSERT_EQ(text(is), expected.value_or("(null)")) << story;
            };
            switch (what) {
                case 0:
                    entry.setFullPath(full.c_str()), model.setFull(full);
                    break;
                case 1:
                    entry.setFileName(c(value)), model.setName(value);
                    break;
                case 2:
                    entry.setBaseName(c(value)), model.setBase(value);
                    break;
                case 3:
                    entry.setExtension(c(value)), model.setExtension(value);
                    break;
                case 4:
                    entry.setDirIndex(number), model.setIndex(number);
                    break;
                case 5:
                    entry.setHideFlag(bit), model.setFlag(model.hide, bit);
                    break;
                case 6:
                    entry.setAppendFlag(bit), model.setFlag(model.append, bit);
                    break;
                case 7:
                    entry.setNoSaveFlag(bit), model.setFlag(model.noSave, bit);
                    break;
                case 8:
                    entry.setDiskPath(c(value)), model.disk = value;
                    break;
                case 9:
                    ASSERT_EQ(entry.deconstructFullPath(), model.takeApart()) << story;
                    break;
                case 10:
                    same(entry.getFullPath(), model.getFull());
                    break;
                case 11:
                    same(entry.getDirectory(), model.getDirectory());
                    break;
                case 12:
                    same(entry.getFileName(), model.getName());
                    break;
                case 13:
                    same(entry.getBaseName(), model.getBase());
                    break;
                case 14:
                    same(entry.getExtension(), model.getExtension());
                    break;
                case 15:
                    ASSERT_EQ(entry.getDirIndex(), model.getIndex()) << story;
                    break;
                case 16:
                    ASSERT_EQ(entry.getHideFlag(), model.getFlag(model.hide)) << story;
                    break;
                default:
                    ASSERT_EQ(entry.getNoSaveFlag(), model.getFlag(model.noSave)) << story;
                    break;
            }
            same(entry.getDiskPath(), model.disk);
        }
    }
}
