// Lists, their lines and the places of their entries, step by step: cases/lists.cases.
#include <UT/UT_WorkBuffer.h>

#include "../support/CaseFile.h"
#include "PathFiles.h"

namespace {

std::string placeOf(UT_PathFile& list) {
    return relative(list.getCurrentFileName()) + ":" + std::to_string(list.getCurrentLineNumber());
}

// The next line, or all that are left.
Lines linesOf(UT_PathFile& list, bool all) {
    Lines lines;
    UT_WorkBuffer line;
    while ((all || lines.empty()) && list.getLine(line)) lines.push_back(placeOf(list) + ":" + line.buffer() + "\n");
    return lines.empty() ? shown("end " + placeOf(list)) : lines;
}

std::string told(UT_PathFileInfo* entry) {
    if (!entry) return "null";
    const std::string disk = relative(entry->getDiskPath());
    return std::to_string(entry->getDirIndex()) + " " + relative(entry->getFullPath()) +
           (disk.empty() ? "" : " " + disk);
}

// Takes all entries out, which are the caller's then.
std::string cleared(UT_PathFile& list) {
    const std::unique_ptr<UT_PathFileInfo> only(list.getFileInfo(0, 0));
    list.clearFileInfoList();
    return told(only.get());
}

int compareNames(UT_PathFileInfo* const* a, UT_PathFileInfo* const* b) {
    return std::string((*a)->getFileName()).compare((*b)->getFileName());
}

Texts directoriesOf(const UT_PathFile& list) {
    Texts directories;
    for (int i = -1; i <= list.getDirCount(); ++i) directories.push_back(relative(list.getDir(i)));
    return directories;
}

std::string homeOf(const UT_PathFile& list) {
    return std::to_string(list.getDefaultDirIndex()) + " " + std::to_string(list.getHomeDirIndex()) + " " +
           relative(list.getDefaultDir());
}

Lines step(Objects<UT_PathFile>& lists, const Verb& verb, const std::string& rest) {
    const std::size_t blank = std::min(rest.find(' '), rest.size());
    const std::string second = rest.substr(blank).substr(blank < rest.size());
    const int first = std::atoi(rest.c_str());
    if (verb == "find") lists.add(std::make_unique<UT_PathFile>());
    UT_PathFile& list = *lists.current;
    UT_PathFileInfo* const entry = list.getFileInfo(first, 0);
    if (verb == "find" || verb == "set") list.setSearchPath(first, second.c_str());
    if (verb == "again") list.setSearchPath(0, list.getSearchPattern());
    if (verb == "find" || verb == "filter") list.applyStandardFilter();
    if (verb == "find" || verb == "entries") return shown(entriesOf(list));
    if (verb == "counting") return shown(entriesOf(list, 1));
    if (verb == "counted") return shown(told(list.getFileInfo(first, 1)));
    if (verb == "entry") return shown(told(entry));
    if (verb == "directories") return shown(joined(directoriesOf(list)));
    if (verb == "home") return shown(homeOf(list));
    if (verb == "place") return shown(placeOf(list));
    if (verb == "line" || verb == "rest") return linesOf(list, verb == "rest");
    if (verb == "append") list.appendFileInfo(path(rest).c_str(), 0);
    if (verb == "nameless") list.appendFileInfo(new UT_PathFileInfo(&list));
    if (verb == "gap") list.appendFileInfo(nullptr);
    if (verb == "repeat") list.appendFileInfo(entry);
    if (verb == "remove") list.removeFileInfo(rest.empty() ? nullptr : path(rest).c_str());
    if (verb == "remove" && rest.empty()) list.removeFileInfo(static_cast<UT_PathFileInfo*>(nullptr));
    if (verb == "drop") list.removeFileInfo(first);
    if (verb == "sort") list.sortFileInfos(compareNames);
    if (verb == "clear") return shown(cleared(list));
    if (verb == "filtered") entry->setFilteredFlag(1);
    if (verb == "index") entry->setDirIndex(std::stoi(second));
    if (verb == "become") entry->copy(list.getFileInfo(std::stoi(second), 0), UT_PF_COPY_ALL);
    const auto has = [&](char flag) { return second.find(flag) != second.npos; };
    if (verb == "save") return shown(entry->prepareForSave(has('n'), has('h'), has('v')));
    if (verb == "sh" && std::system(("cd '" + theRoot + "' && " + rest).c_str()) != 0) return shown("failed");
    return lists.step(verb, rest);
}

std::string runLists(const CaseRun& run) {
    leadPaths(run.directory);
    for (const char* directory : {"hi", "mid", "lo"}) std::filesystem::create_directories(path(directory));
    Objects<UT_PathFile> lists;
    lists.add(std::make_unique<UT_PathFile>());
    return runSteps(run, [&](const Verb& verb, const std::string& rest) { return step(lists, verb, rest); });
}

TEST(PathFileCases, ShowListsLinesAndPlaces) {
    expectCases("lists", runLists);
}

}  // namespace
