// The files of history: any bytes as both of them. What they give must be short lists of names that differ and that
// lines can hold, and must be saved so that loading gives the same lists and saving the same bytes.
#include "Check.h"
#include "Limits.h"
#include "Scratch.h"

#include <history/FS_FileHistoryManager.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kLongestInput = 16 * 1024;
constexpr int kLength = 5;  // few, so that lists overflow

class History : public FS_FileHistoryManager {
public:
    void load() {
        loadFileHistoryList();
        loadDirHistoryList();
    }
    void save() { check(saveFileHistoryList(nullptr) && saveDirHistoryList(nullptr), "the lists can be saved"); }
};

using List = std::vector<std::string>;

// All lists, checked.
std::vector<List> listsOf(const History& history) {
    std::vector<List> lists;
    for (int i = 0; i < FS_FileHistoryManager::kTypes; ++i) {
        const auto type = static_cast<FS_FileHistoryType>(i);
        List files, dirs;
        for (int age = 0; age < history.numFilesInList(type); ++age)
            files.push_back(history.getFilenameFromList(age, type));
        for (int age = 0; age < history.numDirsInList(type); ++age) dirs.push_back(history.getDirFromList(age, type));
        check(files == dirs, "both files are read alike");
        check(files.size() <= kLength, "the list is no longer than it may be");
        check(std::set<std::string>(files.begin(), files.end()).size() == files.size(), "no name comes twice");
        for (const std::string& name : files) check(FS_FileHistory::canBeSaved(name), "a line can hold the name");
        lists.push_back(files);
    }
    return lists;
}

std::string bytesOf(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    static const Scratch scratch;
    ::setenv("TARVANI_HOME", scratch.path("").c_str(), 1);
    ::setenv("TARVANI_HISTORY_LENGTH", std::to_string(kLength).c_str(), 1);
    scratch.write("file.history", data, size);
    scratch.write("dir.history", data, size);

    History first;
    first.load();
    const std::vector<List> lists = listsOf(first);
    first.save();
    const std::string bytes = bytesOf(scratch.path("file.history"));

    History second;
    second.load();
    check(listsOf(second) == lists, "what was saved comes back");
    second.save();
    check(bytesOf(scratch.path("file.history")) == bytes, "saving again gives the same bytes");
    check(bytesOf(scratch.path("dir.history")) == bytes, "both files are written alike");
    return 0;
}
