// The listing of FS_Info, and the look at one name of a listing. One of the sources of stream/ that call into
// indexfile/.
#include <UT/FilePrefix.h>
#include <UT/UT_Path.h>
#include <UT/UT_StringArray.h>
#include <indexfile/FS_IndexFile.h>
#include <platform/Directory.h>
#include <platform/FileStatus.h>
#include <stream/FS_Info.h>
#include <stream/OpenSection.h>

#include <cstdint>
#include <memory>
#include <string>

bool FS_Info::getContents(UT_StringArray& files, UT_StringArray* dirs, UT_RefArray<FS_Stat>* fileStats,
                          UT_RefArray<FS_Stat>* dirStats) {
    if (path.isNull()) return false;
    const bool isSection = !section.isEmpty();
    if (auto* helper = isSection ? nullptr : claimingHelper(path.buffer())) {
        if (!helper->getContents(path.buffer(), files, dirs)) return false;
        appendStats(files, dirs, fileStats, dirStats, false);
        return true;
    }
    // A section is listed as a container whatever it holds, a path only if it is one with sections.
    const std::unique_ptr<FS_IndexFile> index = openIndexFile(wholePath());
    if (!isSection && index->getNumSections() == 0) return listDirectory(files, dirs, fileStats, dirStats);
    getContentsFromIndexFile(*index, files, dirs);
    appendStats(files, dirs, fileStats, dirStats, true);
    return true;
}

bool FS_Info::getContentsFromIndexFile(FS_IndexFile& index, UT_StringArray& files, UT_StringArray* dirs) {
    // Looking into every section takes as long as their number squared where all share one long table.
    std::int64_t left = dirs != nullptr ? index.sharingLimit() : 0;
    for (int i = 0; i < index.getNumSections(); ++i) {
        const char* const name = index.getSectionName(i);
        left -= index.getSectionDataSize(name);  // of the one that is looked into, where a name comes again
        const bool hasContents =
            dirs != nullptr && left >= 0 && FS_IndexFile(index.getSectionReader(name)).getNumSections() > 0;
        (hasContents ? *dirs : files).append(name);
    }
    return true;
}

bool FS_Info::statFile(const char* base, const char* name, FS_Stat* stat) {
    if (name == nullptr || *name == '\0') return false;
    std::string full;
    if (!UTisAbsolutePath(name) && base != nullptr && *base != '\0') {
        full = base;
        const char separator = getNextSepChar(base);
        if (full.back() != separator) full += separator;
    }
    full += name;
    const FS_Info info(full.c_str());
    if (!info.hasAccess(0)) return false;
    if (stat != nullptr) {
        stat->modTime = info.getModTime();
        stat->size = info.getFileDataSize();
        stat->isDirectory = info.getIsDirectory();
    }
    return true;
}

bool FS_Info::listDirectory(UT_StringArray& files, UT_StringArray* dirs, UT_RefArray<FS_Stat>* fileStats,
                            UT_RefArray<FS_Stat>* dirStats) const {
    const std::string directory(stripFilePrefix(path.view()));
    platform::Directory entries(directory.c_str());
    if (!entries.isOpen()) return false;
    while (const char* const name = entries.next()) {
        platform::FileStatus status;
        if (dirs != nullptr || fileStats != nullptr) status = entries.status();
        // Kinds count only for a caller who tells files from directories.
        const bool isLink = dirs != nullptr && status.kind == platform::FileKind::Link;
        const bool isDirectory =
            dirs != nullptr && (isLink ? platform::fileStatus((directory + "/" + name).c_str()) : status).isDirectory();
        (isDirectory ? *dirs : files).append(name);
        if (auto* const stats = isDirectory ? dirStats : fileStats)
            stats->append(FS_Stat(status.time, status.size, isDirectory, isLink));
    }
    return true;
}

// Looks at each name from outside, as a user would: below the path without its section. A section may have any name,
// and none is to send a listing to a server or to a device.
void FS_Info::appendStats(const UT_StringArray& files, const UT_StringArray* dirs, UT_RefArray<FS_Stat>* fileStats,
                          UT_RefArray<FS_Stat>* dirStats, bool areSections) const {
    const auto appendAll = [=, this](const UT_StringArray& names, UT_RefArray<FS_Stat>& stats) {
        for (const UT_String& name : names) {
            FS_Stat stat;
            if (!areSections || !UTisAbsolutePath(name.buffer())) statFile(path.buffer(), name.buffer(), &stat);
            stats.append(stat);
        }
    };
    if (fileStats != nullptr) appendAll(files, *fileStats);
    if (dirs != nullptr && dirStats != nullptr) appendAll(*dirs, *dirStats);
}
