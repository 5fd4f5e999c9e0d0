// recent: the user's lists of recent files and directories.
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_Tarvani.h>
#include <fcntl.h>
#include <history/FS_FileHistoryManager.h>
#include <strings.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Json.h"
#include "Save.h"

namespace {

FS_FileHistoryManager& history() {
    return *FS_FileHistoryManager::getFileHistoryManager();
}

std::string historyFile(const char* name) {
    UT_String home;
    UT_PathSearch::getHomeTarvani(home);
    if (home.isEmpty()) throw Failure{name, "no home directory; set TARVANI_HOME to have one"};
    return std::string(home.view()) + "/" + name;
}

// Held while the files are read, changed and written, so that of two commands at once neither writes over what the
// other has added. It is a lock on their directory, which leaves no file behind; where there is none to be had, as on
// some network file systems, the change is made without.
class Change {
public:
    Change() {
        UT_String home;
        UT_PathSearch::getHomeTarvani(home);
        if (home.isEmpty()) return;
        directory_ = ::open(home.buffer(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (directory_ >= 0) ::flock(directory_, LOCK_EX);
    }
    ~Change() {
        if (directory_ >= 0) ::close(directory_);
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

private:
    int directory_ = -1;
};

// The first command of all must have something to lock. What fails here is told when the files are saved.
void makeHome() {
    UT_String home;
    UT_PathSearch::getHomeTarvani(home);
    if (!home.isEmpty()) TarvaniMakeDirectory(home.buffer(), 0777);
}

// The library takes a file that can't be read for none. Here it would be replaced by what could not be added to.
void refuseUnreadable(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    const bool unread = file ? std::getc(file.get()) == EOF && std::ferror(file.get()) : errno != ENOENT;
    if (unread) throw Failure{path, errorWords(errno)};
}

void loadFiles() {
    refuseUnreadable(historyFile(FS_FileHistoryManager::kFileHistory));
    history().loadFileHistoryList();
}

void loadDirs() {
    refuseUnreadable(historyFile(FS_FileHistoryManager::kDirHistory));
    history().loadDirHistoryList();
}

void saveFiles() {
    const std::string path = historyFile(FS_FileHistoryManager::kFileHistory);
    UT_String reason;
    if (!history().saveFileHistoryList(&reason)) throw Failure{path, reasonFor(path, reason.view())};
}

void saveDirs() {
    const std::string path = historyFile(FS_FileHistoryManager::kDirHistory);
    UT_String reason;
    if (!history().saveDirHistoryList(&reason)) throw Failure{path, reasonFor(path, reason.view())};
}

// The type of that name, in any case; the number of types if there is none.
FS_FileHistoryType typeNamed(const std::string& name) {
    int type = 0;
    while (type < FS_FileHistoryManager::kTypes &&
           ::strcasecmp(name.c_str(), FS_FileHistoryManager::getTypeName(static_cast<FS_FileHistoryType>(type))) != 0)
        ++type;
    return static_cast<FS_FileHistoryType>(type);
}

int add(FS_FileHistoryType type, const std::vector<std::string>& paths) {
    makeHome();
    const Change change;
    loadFiles();
    loadDirs();
    for (const std::string& path : paths) {
        if (path.empty()) throw Failure{path, "an empty path names nothing"};
        history().addFileToHistoryList(path.c_str(), type);
        if (!FS_FileHistory::canBeSaved(history().getFilenameFromList(0, type)))
            throw Failure{path, "a line of " + historyFile(FS_FileHistoryManager::kFileHistory) +
                                    " can't hold it: a line feed, or white space or \"}\" in front"};
    }
    saveFiles();
    saveDirs();
    return 0;
}

bool removeOne(const char* path, FS_FileHistoryType type) {
    const int before = history().numFilesInList(type);
    history().removeFileFromHistoryList(path, type);
    return history().numFilesInList(type) < before;
}

// All of them or none.
int remove(FS_FileHistoryType type, const std::vector<std::string>& paths) {
    const Change change;
    loadFiles();
    for (const std::string& path : paths) {
        // As it was typed when it was added, too: some lists keep absolute names.
        UT_String absolute;
        if (removeOne(path.c_str(), type)) continue;
        if (UT_PathSearch::resolveAbsolutePath(path.c_str(), absolute) && removeOne(absolute.buffer(), type)) continue;
        throw Failure{path, std::string("not among the recent files of ") + FS_FileHistoryManager::getTypeName(type)};
    }
    saveFiles();
    return 0;
}

int print(const std::vector<std::string>& names, bool asJson) {
    if (asJson) {
        writeJson(names);
        return 0;
    }
    for (const std::string& name : names) {
        standardOutput().writeName(name);
        standardOutput().write("\n");
    }
    return 0;
}

int list(FS_FileHistoryType type, bool asJson) {
    loadFiles();
    std::vector<std::string> names;
    for (int age = 0; age < history().numFilesInList(type); ++age)
        names.emplace_back(history().getFilenameFromList(age, type));
    return print(names, asJson);
}

int dirs(FS_FileHistoryType type, bool asJson) {
    loadDirs();
    std::vector<std::string> names;
    for (int age = 0; age < history().numDirsInList(type); ++age)
        names.emplace_back(history().getDirFromList(age, type));
    return print(names, asJson);
}

int types(bool asJson) {
    std::vector<std::string> names;
    for (int type = 0; type < FS_FileHistoryManager::kTypes; ++type)
        names.emplace_back(FS_FileHistoryManager::getTypeName(static_cast<FS_FileHistoryType>(type)));
    return print(names, asJson);
}

Given<std::string> addType(CLI::App& app) {
    const auto name = addText(app, "TYPE", "a kind of file, such as GEO; see \"tarvani recent types\"");
    addRule(app, [name]() -> std::string {
        if (typeNamed(*name) < FS_FileHistoryManager::kTypes) return {};
        return "no type \"" + *name + "\"; \"tarvani recent types\" lists them";
    });
    return name;
}

template <int (*change)(FS_FileHistoryType, const std::vector<std::string>&)>
Action declareChange(CLI::App& app) {
    const auto type = addType(app);
    const auto paths = addTexts(app, "PATH", 1, "a file; the last one becomes the most recent");
    return [=] { return change(typeNamed(*type), *paths); };
}

template <int (*show)(FS_FileHistoryType, bool)>
Action declareShow(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "one array of names");
    const auto type = addType(app);
    return [=] { return show(typeNamed(*type), *asJson); };
}

Action declareTypes(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "one array of names");
    return [=] { return types(*asJson); };
}

constexpr Subcommand kCommands[] = {
    {"add", "Make files the most recent ones of a type", "tarvani recent add GEO /p/q/r.geo", declareChange<add>,
     "Their directories become the most recent ones of the type, too."},
    {"remove", "Remove files from the recent ones of a type", "tarvani recent remove GEO /p/q/r.geo",
     declareChange<remove>, "All are removed or none. The list of directories stays as it is."},
    {"list", "List the recent files of a type, the newest first",
     "tarvani recent list GEO\n"
     "tarvani recent list --json GEO",
     declareShow<list>},
    {"dirs", "List the recent directories of a type, newest first", "tarvani recent dirs GEO", declareShow<dirs>},
    {"types", "List the types", "tarvani recent types", declareTypes},
};

}  // namespace

const std::span<const Subcommand> kRecentCommands = kCommands;
