// Entries of a path file, taken apart and put together in any order of questions and changes, against a plain model. A
// first line is the search pattern, a second one a file in one of three directories, named by a digit in front; every
// further line is a step: a letter and what it is given.
#include "Check.h"
#include "EntryModel.h"
#include "Limits.h"
#include "Scratch.h"
#include "SlowMatch.h"

#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace {

using namespace entrymodel;
namespace fs = std::filesystem;

constexpr std::size_t kLongestInput = 2048;
constexpr int kDirectories = 3;

const std::vector<std::string>& directories() {
    static const Scratch scratch;
    static const std::vector<std::string> made = [] {
        std::vector<std::string> paths;
        for (int i = 0; i < kDirectories; ++i) paths.push_back(scratch.path(std::to_string(i)));
        ::setenv("TARVANI_PATH", (paths[2] + ":" + paths[1] + ":" + paths[0]).c_str(), 1);
        return paths;
    }();
    return made;
}

// The text behind its first digit, below the directory that this names; without one as it is.
std::string placed(const std::string& text) {
    const char first = text.empty() ? ' ' : text.front();
    if (first < '0' || first >= '0' + kDirectories) return text;
    return directories()[static_cast<std::size_t>(first - '0')] + "/" + text.substr(1);
}

void makeFile(const std::string& name) {
    for (const std::string& directory : directories()) {
        fs::remove_all(directory);
        fs::create_directory(directory);
    }
    // Nowhere else, whatever the name, and no more than a few levels.
    const std::string placedName = placed(name);
    if (name.size() > 200 || placedName == name || (placedName + "/").find("/../") != std::string::npos) return;
    const fs::path path = placedName;
    std::error_code refused;
    fs::create_directories(path.parent_path(), refused);
    std::ofstream out(path);
}

// An entry and what it should be.
class Pair {
public:
    Pair(std::unique_ptr<UT_PathFileInfo> entry, Model model) : entry_(std::move(entry)), model_(std::move(model)) {}

    // One step of a life. Capitals change something, by the text or by 1; small letters change it to null or 0.
    void step(char what, const std::string& text, Pair& other) {
        const bool isSet = 'A' <= what && what <= 'Z';
        const Text value = isSet ? Text(what == 'P' || what == 'K' ? placed(text) : text) : Text();
        const char* const c = value ? value->c_str() : nullptr;
        const int number = text.empty() ? 0 : text.front() - '1';
        UT_PathFileInfo& e = *entry_;
        Model& m = model_;
        switch (what) {
            case 'P':
            case 'p':
                return e.setFullPath(c), m.setFull(value);
            case 'N':
            case 'n':
                return e.setFileName(c), m.set(kName, kFull | kBase | kExtension, m.name, value);
            case 'B':
            case 'b':
                return e.setBaseName(c), m.set(kBase, kFull | kName, m.base, value);
            case 'E':
            case 'e':
                return e.setExtension(c), m.set(kExtension, kFull | kName, m.extension, value);
            case 'K':
            case 'k':
                return e.setDiskPath(c), void(m.disk = value);
            case 'H':
            case 'h':
                return e.setHideFlag(isSet), m.setFlag(m.flags[0], isSet);
            case 'A':
            case 'a':
                return e.setAppendFlag(isSet), m.setFlag(m.flags[1], isSet);
            case 'S':
            case 's':
                return e.setNoSaveFlag(isSet), m.setFlag(m.flags[2], isSet);
            case 'I':
                return e.setDirIndex(number), m.set(kIndex, kFull, m.index, number);
            case 'D':
                return e.deconstructFullPath(number), m.takeApart(number);
            case 'd':
                return same(e.deconstructFullPath(), m.takeApart());
            case 'C':
                return copy(other, text);
            case 'R':
                return entry_ = std::make_unique<UT_PathFileInfo>(e), void();
            default:
                return ask(what);
        }
    }

    void ask(char what) {
        UT_PathFileInfo& e = *entry_;
        Model& m = model_;
        switch (what) {
            case '0':
                return same(e.getFullPath(), m.getFull());
            case '1':
                return same(e.getDirectory(), (m.getFull(), m.directory));
            case '2':
                return same(e.getFileName(), m.getName());
            case '3':
                return same(e.getBaseName(), m.getCut(kBase));
            case '4':
                return same(e.getExtension(), m.getCut(kExtension));
            case '5':
                return same(e.getDirIndex(), m.get(kIndex, m.index));
            case '6':
                return same(e.getHideFlag(), m.get(kFlags, m.flags[0]));
            case '7':
                return same(e.getAppendFlag(), m.get(kFlags, m.flags[1]));
            case '8':
                return same(e.getNoSaveFlag(), m.get(kFlags, m.flags[2]));
            case '9':
                return same(e.getDiskPath(), m.disk);
            default:
                return;
        }
    }

    // What is taken from a path and put together again in the same directory is that path.
    void goRound() {
        const std::string path = text(entry_->getFullPath());
        if (!entry_->deconstructFullPath()) return;
        const std::string name = std::string(entry_->getDirectory()) + "/" + entry_->getFileName();
        check(path.starts_with(name) || name == "./" + path.substr(0, name.size() - 2), "a path begins with its parts");
        const std::string base = text(entry_->getBaseName()), extension = text(entry_->getExtension());
        const std::string file = text(entry_->getFileName());
        check(file.starts_with(base) && file.ends_with(extension), "a name begins and ends with its parts");
        check((base == file) == extension.empty(), "a name without an extension is its base name");
        entry_->setDirIndex(entry_->getDirIndex());
        const std::string again = text(entry_->getFullPath());
        const bool isPlain = !entry_->getHideFlag() && !entry_->getAppendFlag() && !entry_->getNoSaveFlag();
        check(!isPlain || !model_.below.empty() || again == path, "a path comes back");
    }

private:
    static std::string text(const char* characters) { return characters ? characters : ""; }
    static void same(const char* is, const Text& expected) {
        check((is != nullptr) == expected.has_value() && (!is || *expected == is), "a text is that of the model");
    }
    static void same(int is, int expected) { check(is == expected, "a number is that of the model"); }

    void copy(Pair& other, const std::string& reason) {
        const bool isDetached = reason.starts_with('0'), takes = reason.starts_with('1');
        entry_->copy(other.entry_.get(), isDetached ? UT_PF_COPY_DETACHED
                                         : takes    ? UT_PF_COPY_TAKE_DISK_FILE
                                                    : UT_PF_COPY_ALL);
        model_.copy(other.model_, !isDetached, takes);
    }

    std::unique_ptr<UT_PathFileInfo> entry_;
    Model model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    std::string input(reinterpret_cast<const char*>(data), size);
    std::replace(input.begin(), input.end(), '\0', '?');
    std::istringstream lines(input);
    std::string pattern, file;
    std::getline(lines, pattern);
    std::getline(lines, file);
    // Files elsewhere are none of its matter.
    if (pattern.find("..") != pattern.npos) return 0;
    makeFile(file);

    UT_PathFile list;
    list.setSearchPath(0, pattern.c_str());
    list.applyStandardFilter();
    Model model;
    model.directories = directories();
    model.belongs = [&](const std::string& path, const std::string& directory) {
        return slowBelongs(path, directory, pattern);
    };
    if (const std::size_t slash = pattern.rfind('/'); slash != pattern.npos)
        model.below = "/" + pattern.substr(0, slash);
    model.disk = "";
    // One that was found, whose texts lie in each other, and a new one. All are taken out of the list.
    std::vector<std::unique_ptr<UT_PathFileInfo>> entries;
    for (int i = 0; i < list.getFileInfoCount(0); ++i) entries.emplace_back(list.getFileInfo(i, 0));
    list.clearFileInfoList();
    Model found = model;
    if (entries.empty()) {
        entries.push_back(std::make_unique<UT_PathFileInfo>(&list));
    } else {
        found.disk = entries.back()->getDiskPath();
        found.setFull(found.disk);
        found.takeApart();
    }
    Pair pairs[] = {{std::move(entries.back()), found}, {std::make_unique<UT_PathFileInfo>(&list), model}};
    std::size_t current = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty())
            current = 1 - current;
        else
            pairs[current].step(line.front(), line.substr(1), pairs[line.ends_with('=') ? current : 1 - current]);
        pairs[current].ask('9');
    }
    for (Pair& pair : pairs) {
        for (char question = '0'; question <= '9'; ++question) pair.ask(question);
        pair.goRound();
    }
    return 0;
}
