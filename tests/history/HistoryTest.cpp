// Recent names: cases/lists.cases has one list, cases/files.cases all lists and the two files that keep them. Here is
// what a case can't say.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>
#include <history/FS_FileHistoryManager.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>

#include "../support/CaseFile.h"
#include "../support/Environment.h"
#include "../support/ScratchDir.h"

namespace {

constexpr int kHighest = 2147483647;

Lines namesOf(int count, const std::function<const char*(int age)>& nameOf) {
    Lines names;
    for (int age = 0; age < count; ++age) names.push_back(nameOf(age) + std::string("\n"));
    return names;
}

Lines namesOf(const FS_FileHistory& list) {
    return namesOf(list.numFilesinMRU(), [&](int age) { return list.getFilenamefromMRU(age); });
}

Lines saved(const FS_FileHistory& list) {
    std::stringstream text;
    list.saveFilestoMRU(text);
    return linesOf(std::move(text));
}

std::string runLists(const CaseRun& run) {
    Objects<FS_FileHistory> lists;
    std::unique_ptr<UT_IFStream> file;
    return runSteps(run, [&](const Verb& verb, const std::string& rest) -> Lines {
        FS_FileHistory* const list = lists.current;
        if (verb == "new" || verb == "absolute") {
            const char* const type = rest.c_str() + rest.find(' ') + 1;
            lists.add(std::make_unique<FS_FileHistory>(std::stoi(rest), type, verb == "absolute"));
        }
        UT_String text;
        UT_WorkBuffer line;
        if (verb == "add") list->addFiletoMRU(rest.c_str());
        if (verb == "remove") list->removeFilefromMRU(rest.c_str());
        if (verb == "names") return namesOf(*list);
        if (verb == "short") list->getFormattedFilenamefromMRU(0, text);
        if (verb == "type") text = list->getTypeNameofMRU();
        if (verb == "open") file = std::make_unique<UT_IFStream>(rest.c_str(), UT_ISTREAM_BINARY);
        if (verb == "saved" || (verb == "load" && list->loadFilesfromMRU(*file))) return saved(*list);
        if (verb == "line" && file->getLine(line, '\n')) text = line.view();
        if (verb == "cd") std::filesystem::current_path(rest);
        if (verb == "rmdir") std::filesystem::remove(std::filesystem::current_path());
        return text.isNull() ? lists.step(verb, rest) : shown(text.buffer());
    });
}

// A manager of its own, as after the start of a process.
class History : public FS_FileHistoryManager {};

// Saves when the process ends, after all that was made later has gone: 0 if that is refused.
struct SavedAtTheEnd {
    ~SavedAtTheEnd() {
        if (history) ::_exit(history->saveFileHistoryList(nullptr) ? 1 : 0);
    }
    History* history = nullptr;
} savedAtTheEnd;

// One without lists if no type has the name.
FS_FileHistoryType typeNamed(const std::string& name) {
    auto type = FS_HISTORY_SCN;
    for (int i = 0; History::getTypeName(type) && name != History::getTypeName(type);)
        type = static_cast<FS_FileHistoryType>(++i);
    return type;
}

Lines tryToSave(History& history) {
    Lines reasons;
    UT_String reason;
    if (!history.saveFileHistoryList(&reason)) reasons.push_back(reason.buffer() + std::string("\n"));
    if (!history.saveDirHistoryList(&reason)) reasons.push_back(reason.buffer() + std::string("\n"));
    return reasons;
}

std::string runFiles(const CaseRun& run) {
    ::setenv("TARVANI_HOME", (run.directory + "/home").c_str(), 1);
    Objects<History> managers;
    managers.add(std::make_unique<History>());
    return runSteps(run, [&](const Verb& verb, const std::string& rest) -> Lines {
        History& history = *managers.current;
        const std::string word = rest.substr(0, rest.find(' ')), path = run.directory + "/" + rest;
        const char* const second = rest.c_str() + std::min(word.size() + 1, rest.size());
        const FS_FileHistoryType type = typeNamed(word);
        const int files = history.numFilesInList(type), dirs = history.numDirsInList(type);
        UT_String file, dir;
        history.getFormattedFilenameFromList(files - 1, type, file);
        history.getFormattedDirFromList(dirs - 1, type, dir);
        if (verb == "add") history.addFileToHistoryList(second, type);
        if (verb == "remove") history.removeFileFromHistoryList(second, type);
        if (verb == "files") return namesOf(files, [&](int age) { return history.getFilenameFromList(age, type); });
        if (verb == "dirs") return namesOf(dirs, [&](int age) { return history.getDirFromList(age, type); });
        if (verb == "count") return shown(std::to_string(files) + " " + std::to_string(dirs));
        if (verb == "short") return shown(file.buffer() + (" " + std::string(dir.view())));
        if (verb == "load") history.loadFileHistoryList(), history.loadDirHistoryList();
        if (verb == "save") history.saveFileHistoryList(), history.saveDirHistoryList();
        if (verb == "try") return tryToSave(history);
        if (verb == "show") return linesOf(std::ifstream(path));
        if (verb == "link") std::filesystem::create_symlink(path, path);
        if (verb == "delete") std::filesystem::remove(path);
        if (verb == "cd") std::filesystem::current_path(rest);
        if (verb == "set") ::setenv(word.c_str(), second, 1);
        if (verb == "new") managers.add(std::make_unique<History>());
        return managers.step(verb, rest);
    });
}

}  // namespace

TEST(HistoryCases, ShowOneList) {
    expectCases("lists", runLists);
}

TEST(HistoryCases, ShowAllListsAndTheirFiles) {
    expectCases("files", runFiles);
}

TEST(HistoryList, HasTheMostRecentNamesOnceEachByTheirAges) {
    std::mt19937 random;
    for (const int length : {-5, 0, 1, 2, 3, 4, kHighest}) {
        FS_FileHistory list(length, "GEO", false);
        Lines expected;
        for (int step = 0; step < 1000; ++step) {
            const std::string name(1, static_cast<char>('a' + random() % 6));
            const bool adds = random() % 3 > 0;
            adds ? list.addFiletoMRU(name.c_str()) : list.removeFilefromMRU(name.c_str());
            std::erase(expected, name + "\n");
            if (adds) expected.insert(expected.begin(), name + "\n");
            if (static_cast<int>(expected.size()) > std::max(length, 1)) expected.pop_back();
            ASSERT_EQ(namesOf(list), expected) << length << " names, step " << step;
            ASSERT_EQ(saved(list), Lines(expected.rbegin(), expected.rend()));
        }
    }
}

TEST(HistoryList, ANameMayBeOneOfTheListsOwn) {
    FS_FileHistory list(3, "GEO", false);
    for (const char* name : {"a", "bb", "c"}) list.addFiletoMRU(name);
    list.addFiletoMRU(list.getFilenamefromMRU(2));
    list.addFiletoMRU(list.getFilenamefromMRU(2) + 1);
    EXPECT_EQ(namesOf(list), (Lines{"b\n", "a\n", "c\n"}));
    list.removeFilefromMRU(list.getFilenamefromMRU(1));
    EXPECT_EQ(namesOf(list), (Lines{"b\n", "c\n"}));

    const WithVariable length("TARVANI_HISTORY_LENGTH", "1");
    History history;
    history.addFileToHistoryList("/directory/of/the/first/file", FS_HISTORY_GEO);
    history.addFileToHistoryList(history.getFilenameFromList(0, FS_HISTORY_GEO) + 13, FS_HISTORY_GEO);
    EXPECT_STREQ(history.getDirFromList(0, FS_HISTORY_GEO), "/the/first/");
}

TEST(History, IsSavedAlsoWhenTheProcessEnds) {
    const ScratchDir home;
    const WithVariable variable("TARVANI_HOME", home.path().c_str());
    for (const char* name : {"/file.history", "/dir.history"})
        std::filesystem::create_symlink("/proc/self/mem", home.path() + name);  // which can't be read from its start
    const auto loadAndEnd = [] {
        savedAtTheEnd.history = new History;
        savedAtTheEnd.history->loadFileHistoryList();
        savedAtTheEnd.history->loadDirHistoryList();
        std::exit(2);
    };
    EXPECT_EXIT(loadAndEnd(), testing::ExitedWithCode(0), "");
}

TEST(History, WhatIsNotThereDoesNoHarm) {
    FS_FileHistory list(3, nullptr, true);
    EXPECT_EQ(list.getTypeNameofMRU(), nullptr);
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        list.addFiletoMRU(name);
        list.removeFilefromMRU(name);
    }
    EXPECT_EQ(list.numFilesinMRU(), 0);
    list.addFiletoMRU("/a");
    UT_String out("old");
    for (const int age : {-1, 1, kHighest, -kHighest - 1}) {
        EXPECT_EQ(list.getFilenamefromMRU(age), nullptr);
        list.getFormattedFilenamefromMRU(age, out);
        EXPECT_TRUE(out.isNull());
    }
    FS_FileHistoryManager& history = *FS_FileHistoryManager::getFileHistoryManager();
    EXPECT_EQ(&history, FS_FileHistoryManager::getFileHistoryManager());
    for (const int outside : {-1, FS_FileHistoryManager::kTypes, kHighest}) {
        const auto type = static_cast<FS_FileHistoryType>(outside);
        EXPECT_EQ(FS_FileHistoryManager::getTypeName(type), nullptr);
        history.addFileToHistoryList("/a", type);
        history.removeFileFromHistoryList("/a", type);
        EXPECT_EQ(history.numFilesInList(type) + history.numDirsInList(type), 0);
        EXPECT_EQ(history.getFilenameFromList(0, type), nullptr);
        history.getFormattedDirFromList(0, type, out = "old");
        EXPECT_TRUE(out.isNull());
    }
}
