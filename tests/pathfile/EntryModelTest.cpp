// Entries in long random lives, held against a plain model: the rules of what is current, each written out, and no text
// shared with another.
#include <algorithm>
#include <functional>
#include <optional>
#include <random>

#include "PathFiles.h"

namespace {

using Text = std::optional<std::string>;
enum Part : unsigned { kFull = 1, kIndex = 2, kName = 4, kBase = 8, kExtension = 16, kFlags = 32, kAll = 63 };

struct Model {
    std::vector<std::string> directories;  // by index; the pattern is "*"
    Text disk, full, directory, name, base, extension, middle;
    int index = 0;
    bool flags[3] = {};     // hide, append, nosave
    unsigned valid = kAll;  // what is current

    bool has(unsigned parts) const { return (valid & parts) == parts; }

    bool takeApart() {
        for (std::size_t i = 0; full && i < directories.size(); ++i) {
            const std::string front = directories[i] + "/";
            if (!full->starts_with(front) || full->find('/', front.size()) != std::string::npos) continue;
            index = static_cast<int>(i);
            std::string rest = *full;
            for (;;) {
                const std::string last = rest.substr(std::min(rest.rfind('.'), rest.size()));
                if (last != ".hide" && last != ".append" && last != ".nosave") break;
                flags[last == ".hide" ? 0 : last == ".append" ? 1 : 2] = true;
                rest.resize(rest.size() - last.size());
            }
            directory = rest.substr(0, rest.rfind('/'));
            name = rest.substr(rest.rfind('/') + 1);
            valid |= kAll & ~unsigned{kFull};
            cut(kBase), cut(kExtension);
            return true;
        }
        return false;
    }
    void cut(Part part) {
        const std::size_t dot = !name ? std::string::npos : part == kBase ? name->find('.') : name->rfind('.');
        if (part == kBase) base = name ? name->substr(0, dot) : Text();
        if (part == kExtension) extension = dot == std::string::npos ? Text() : name->substr(dot);
        valid |= part;
    }

    Text getName() {
        if (!has(kName) && has(kBase | kExtension)) {
            const std::string joined = base.value_or("") + middle.value_or("") + extension.value_or("");
            name = base || extension || !joined.empty() ? Text(joined) : Text();
        } else if (!has(kName) && has(kFull)) {
            takeApart();
        }
        return name;
    }
    Text getCut(Part part) {
        if (!has(part) && has(kName)) cut(part);
        if (!has(part) && has(kFull)) takeApart();
        return part == kBase ? base : extension;
    }
    // An index or a flag.
    template <class Value>
    Value get(Part part, Value& value) {
        if (!has(part) && has(kFull)) takeApart();
        return value;
    }
    Text getFull() {
        if (has(kFull) || !has(kIndex) || (!has(kName) && !has(kBase | kExtension))) return full;
        if (index < 0 || index >= static_cast<int>(directories.size())) return full;
        const char* const suffix = flags[0] ? ".hide" : flags[1] ? ".append" : flags[2] ? ".nosave" : "";
        full = directories[static_cast<std::size_t>(index)] + "/" + getName().value_or("") + suffix;
        valid |= kFull;
        return full;
    }

    // One part becomes another one, whereby `stale` ones are no longer current.
    template <class Value>
    void set(Part part, unsigned stale, Value& field, const Value& value) {
        if (has(kFull) && !has(kAll & ~unsigned{part})) takeApart();
        if ((stale & kName) && has(kName)) {
            const std::size_t first = name ? name->find('.') : std::string::npos;
            middle = first == std::string::npos ? Text() : name->substr(first, name->rfind('.') - first);
        }
        field = value;
        valid = (valid & ~stale) | part;
    }
    void setFull(const Text& text) {
        full = text;
        middle = Text();
        valid = kFull;
    }
    void setFlag(bool& flag, bool value) {
        if (get(kFlags, flag) != value) set(kFlags, kFull | kName, flag, value);
    }
};

}  // namespace

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
