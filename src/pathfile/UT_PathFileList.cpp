// The list of a path file: how it is computed, and how callers change it.
#include <UT/UT_PathSearch.h>
#include <UT/UT_PtrArray.h>
#include <pathfile/ControlSuffix.h>
#include <pathfile/PathPatterns.h>
#include <pathfile/UT_Directory.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>
#include <stream/FS_Info.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

// A path with wildcards, at its first component that has one.
struct WildcardPath {
    std::string directory;  // in front of that component
    std::string component;
    std::string remainder;  // behind it, with the slash; empty if it is the last one

    // `found` stands in front of `path`, and in it a `*` is an ordinary character.
    WildcardPath(const std::string& found, const std::string& path) {
        const std::size_t slash = path.rfind('/', path.find('*'));
        const std::size_t start = slash == path.npos ? 0 : slash + 1;
        const std::size_t end = std::min(path.find('/', start), path.size());
        directory = slash == path.npos ? "." : found + path.substr(0, slash);
        component = path.substr(start, end - start);
        remainder = path.substr(end);
    }
};

// Calls `found` with every file that a path with wildcards stands for, control suffixes included: level by level down,
// as deep as the path has components.
template <class Found>
void forEachMatch(std::string_view pattern, const Found& found) {
    struct Search {
        std::string found, path;  // as WildcardPath takes them
    };
    std::vector<Search> searches;  // still to do, the next one last
    if (!pattern.empty()) searches.push_back({{}, std::string(pattern)});
    std::string file;
    while (!searches.empty()) {
        const Search search = std::move(searches.back());
        searches.pop_back();
        if (search.path.find('*') == search.path.npos) {
            // A name without wildcards isn't looked for with ".nosave".
            for (const std::string_view suffix : {std::string_view(), kHideSuffix, kAppendSuffix}) {
                file.assign(search.found).append(search.path).append(suffix);
                if (FS_Info(file.c_str()).hasAccess(0)) found(file);
            }
            continue;
        }
        const WildcardPath parts(search.found, search.path);
        const UT_Directory directory(parts.directory.c_str(), nullptr, 1);
        UT_PtrArray<const char*> names;
        directory.getFiles(parts.component.c_str(), names);
        if (!parts.remainder.empty()) {
            for (int i = names.entries() - 1; i >= 0; --i)
                searches.push_back({parts.directory + "/" + names(i), parts.remainder});
            continue;
        }
        // What ends in "*" matches the suffixes already.
        if (!parts.component.ends_with('*'))
            for (const std::string_view suffix : {kHideSuffix, kNoSaveSuffix, kAppendSuffix})
                directory.getFiles((parts.component + std::string(suffix)).c_str(), names);
        for (const char* const name : names) found(file.assign(parts.directory).append("/").append(name));
    }
}

}  // namespace

void UT_PathFile::computeFileList() {
    clearFileList();
    listComputed = true;
    const int dirCount = getDirCount();
    for (const std::string_view token : patternTokens(searchPattern.view())) {
        const bool removes = token.starts_with('^');
        for (const UT_String& directory : pathSearch->expandedDirs) {
            std::string path(directory.view());
            path.append("/").append(token.substr(removes ? 1 : 0));
            if (removes)
                removeMatchingFiles(path.data(), dirCount);
            else
                addMatchingFiles(path.data(), dirCount);
        }
    }
    // Here each path is taken apart, once: comparing then only looks at what is there.
    for (UT_PathFileInfo* const info : fileInfos) info->getFileName();
    fileInfos.sort([](const UT_PathFileInfo* a, const UT_PathFileInfo* b) { return a->compareInOrder(*b); });
    listChanged();
    currentFileIndex = 0;
    computeDefaultDir();
}

void UT_PathFile::addMatchingFiles(char* path, int) {
    if (!path) return;
    forEachMatch(path, [this](const std::string& file) {
        std::unique_ptr<UT_PathFileInfo> info(createFileInfo());
        if (!info) return;
        info->placeOnDisk(file);
        fileInfos.append(info.get());
        static_cast<void>(info.release());
    });
    listChanged();
}

// Each match takes away the last entry of its path, as removeFileInfo does; all of them in one pass from the end.
void UT_PathFile::removeMatchingFiles(char* path, int) {
    if (!path || fileInfos.isEmpty()) return;
    std::unordered_map<std::string, int> removals;  // how often each path was matched
    forEachMatch(path, [&](const std::string& file) { ++removals[file]; });
    if (removals.empty()) return;
    std::vector<UT_PathFileInfo*> kept;  // the last first
    std::unordered_set<UT_PathFileInfo*> removed;
    for (int i = fileInfos.entries() - 1; i >= 0; --i) {
        UT_PathFileInfo* const info = fileInfos(i);
        if (removed.contains(info)) continue;
        const char* const fullPath = info ? info->getFullPath() : nullptr;
        const auto removal = fullPath ? removals.find(fullPath) : removals.end();
        if (removal == removals.end() || removal->second == 0) {
            kept.push_back(info);
        } else {
            --removal->second;
            removed.insert(info);
        }
    }
    // From here on nothing takes memory, so no entry is deleted that is still in the list.
    fileInfos.clear();
    for (auto info = kept.rbegin(); info != kept.rend(); ++info) fileInfos.append(*info);
    listChanged();
    for (UT_PathFileInfo* const info : removed) delete info;
}

UT_PathFileInfo* UT_PathFile::createFileInfo() {
    return new UT_PathFileInfo(this);
}

void UT_PathFile::clearFileList() {
    std::unordered_set<UT_PathFileInfo*> deleted;  // asked only where an entry may stand twice
    for (int i = fileInfos.entries() - 1; i >= 0; --i)
        if (!mayRepeat || deleted.insert(fileInfos(i)).second) delete fileInfos(i);
    clearFileInfoList();
    listComputed = false;
}

void UT_PathFile::clearFileInfoList() {
    fileInfos.clear();
    mayRepeat = false;
    listChanged();
}

// The walk goes on from the last entry that was asked for, so that going over all of them takes one.
UT_PathFile::Unfiltered& UT_PathFile::unfiltered() const {
    if (unfiltered_.count < 0 || unfiltered_.filterChanges != UT_PathFileInfo::filterChanges()) {
        const auto counts = [](const UT_PathFileInfo* info) { return info && !info->getFilteredFlag(); };
        unfiltered_ = {UT_PathFileInfo::filterChanges(),
                       static_cast<int>(std::count_if(fileInfos.begin(), fileInfos.end(), counts)), 0, 0};
    }
    return unfiltered_;
}

int UT_PathFile::getFileInfoCount(int unfilteredOnly) const {
    return unfilteredOnly ? unfiltered().count : fileInfos.entries();
}

UT_PathFileInfo* UT_PathFile::getFileInfo(int index, int unfilteredOnly) const {
    if (!unfilteredOnly) return fileInfos(index);
    Unfiltered& at = unfiltered();
    if (index < 0 || index >= at.count) return nullptr;
    if (index < at.index) at.index = at.position = 0;
    for (;; ++at.position) {
        UT_PathFileInfo* const info = fileInfos(at.position);
        if (!info || info->getFilteredFlag()) continue;
        if (at.index == index) return info;
        ++at.index;
    }
}

void UT_PathFile::appendFileInfo(UT_PathFileInfo* info) {
    fileInfos.append(info);
    mayRepeat = true;
    listChanged();
}

UT_PathFileInfo* UT_PathFile::appendFileInfo(const char* path, int) {
    std::unique_ptr<UT_PathFileInfo> info(createFileInfo());
    if (!info) return nullptr;
    info->setFullPath(path);
    appendFileInfo(info.get());
    return info.release();
}

void UT_PathFile::removeFileInfo(int index) {
    if (index < 0 || index >= fileInfos.entries()) return;
    if (fileInfos(index)) return removeFileInfo(fileInfos(index));
    fileInfos.removeAt(index);
    listChanged();
}

void UT_PathFile::removeFileInfo(UT_PathFileInfo* info) {
    if (!info) return;
    delete info;
    for (int i = fileInfos.entries() - 1; i >= 0; --i)
        if (fileInfos(i) == info) fileInfos.removeAt(i);
    listChanged();
}

void UT_PathFile::removeFileInfo(const char* fullPath) {
    if (!fullPath) return;
    for (int i = fileInfos.entries() - 1; i >= 0; --i) {
        const char* const path = fileInfos(i) ? fileInfos(i)->getFullPath() : nullptr;
        if (path && std::strcmp(path, fullPath) == 0) return removeFileInfo(i);
    }
}

void UT_PathFile::sortFileInfos(int (*compare)(UT_PathFileInfo* const*, UT_PathFileInfo* const*)) {
    if (!compare) return;
    fileInfos.sort(compare);
    listChanged();
}
