// index expand and index collapse. What stands in the way of a collapse is looked up here, from what is on disk.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <string_view>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Explain.h"
#include "Save.h"

namespace {

constexpr const char* kListFile = "Sections.list";
constexpr int kMostLevels = 64;

struct ListEntry {
    std::string file;
    std::string section;
};

// The entries of a list file, in the directory `directory`. False if there is none that can be read.
bool readList(const std::string& directory, std::vector<ListEntry>& entries) {
    UT_IFStream list((directory + "/" + kListFile).c_str(), UT_ISTREAM_ASCII);
    UT_String description, file, section;
    if (!list.readString(description, false)) return false;
    while (!list.isEof() && list.readString(file, false) && list.readString(section, false))
        if (!file.isEmpty() && !section.isEmpty())
            entries.push_back({std::string(file.view()), std::string(section.view())});
    return true;
}

// What stands at a path itself: no link is followed, as the library follows none.
mode_t modeOf(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

// Why a directory that holds a list can't be read back. Throws Failure for the first thing that stands in the way.
void checkDirectory(const std::string& directory, int level) {
    std::vector<ListEntry> entries;
    const std::string list = directory + "/" + kListFile;
    if (level > kMostLevels) throw Failure{directory, "lies deeper than " + std::to_string(kMostLevels) + " levels"};
    const mode_t listMode = modeOf(list);
    if (listMode == 0)
        throw Failure{directory, errno == ENOENT ? std::string("holds no ") + kListFile + ": not an expanded container"
                                                 : errorWords(errno)};
    if (!S_ISREG(listMode)) throw Failure{list, "is not a regular file"};
    if (!readList(directory, entries))
        throw Failure{list, ::access(list.c_str(), R_OK) == 0 ? "damaged: it has no description" : errorWords(errno)};
    std::set<std::string_view> seen;
    for (const ListEntry& entry : entries) {
        if (entry.file.find_first_of("/?") != std::string::npos || entry.file == "." || entry.file == "..")
            throw Failure{list, "names \"" + entry.file + "\", which isn't the name of a file beside it"};
        // Lists that did so at every level would be walked without end.
        if (!seen.insert(entry.file).second) throw Failure{list, "names \"" + entry.file + "\" twice"};
        const std::string file = directory + "/" + entry.file;
        const mode_t mode = modeOf(file);
        if (mode == 0) throw Failure{file, errorWords(errno)};
        if (S_ISDIR(mode))
            checkDirectory(file, level + 1);
        else if (S_ISLNK(mode))
            throw Failure{file, "a symbolic link, which isn't followed"};
        else if (!S_ISREG(mode))
            throw Failure{file, "neither a file nor a directory"};
        else if (::access(file.c_str(), R_OK) != 0)
            throw Failure{file, errorWords(errno)};
    }
}

int expand(const std::string& path, const std::string& directory) {
    const auto index = openContainer(path);
    if (index->getNumSections() == 0) throw Failure{path, "has no sections to expand"};
    struct stat status {};
    if (::stat(directory.c_str(), &status) == 0) {
        if (!S_ISDIR(status.st_mode)) throw Failure{directory, errorWords(ENOTDIR)};
        if (::access(directory.c_str(), W_OK | X_OK) != 0) throw Failure{directory, errorWords(errno)};
    } else if (errno != ENOENT) {
        throw Failure{directory, errorWords(errno)};
    }
    if (!index->expandToDirectory(directory.c_str()))
        throw Failure{directory, std::string(index->getWriteFailure().view())};
    return 0;
}

int collapse(const std::string& directory, const std::string& path) {
    struct stat status {};
    if (::stat(directory.c_str(), &status) != 0) throw Failure{directory, errorWords(errno)};
    if (!S_ISDIR(status.st_mode)) throw Failure{directory, errorWords(ENOTDIR)};
    if (const std::string fault = whyUnwritable(path); !fault.empty()) throw Failure{path, fault};
    // Looked at before, since the library doesn't tell the reason.
    checkDirectory(directory, 1);
    FS_IndexFile index;
    if (!index.collapseFromDirectory(directory.c_str())) throw Failure{directory, "can't be read whole"};
    // What is left out would be missing from the container.
    if (!index.getWriteFailure().isNull()) throw Failure{directory, std::string(index.getWriteFailure().view())};
    saveContainer(index, path);
    return 0;
}

}  // namespace

Action declareIndexExpand(CLI::App& app) {
    const auto path = addText(app, "FILE", "a container with sections");
    const auto directory = addText(app, "DIR", "the directory, made if it isn't there");
    return [=] { return expand(*path, *directory); };
}

Action declareIndexCollapse(CLI::App& app) {
    const auto directory = addText(app, "DIR", "a directory with a Sections.list");
    const auto path = addText(app, "FILE", "the container; one that is there is replaced");
    return [=] { return collapse(*directory, *path); };
}
