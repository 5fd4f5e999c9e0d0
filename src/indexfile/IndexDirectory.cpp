// The directory form: one file for each section, "Sections.list" beside them, and a subdirectory for a section that is
// a container itself. What is read here may have been made by anybody, so no name leads out of the directory: nothing
// is opened but ./NAME, and no symbolic link is followed on the way.
#include <UT/UT_OStrStream.h>
#include <UT/UT_Output.h>
#include <platform/Directory.h>
#include <platform/FileStatus.h>
#include <platform/Outcome.h>
#include <platform/WorkingDirectory.h>
#include <stream/FS_Reader.h>
#include <stream/FS_Writer.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "IndexParts.h"

using platform::FileKind;
using platform::FileStatus;

namespace {

constexpr int kMostLevels = 64;
constexpr std::string_view kListFile = "Sections.list";
constexpr std::string_view kIsSource = "is what is being expanded, and stays as it is";
constexpr std::string_view kNamesSections = "a \"?\" in the path stands for sections";

std::string here(std::string_view name) {
    return "./" + std::string(name);
}

// A name that stands for an entry of this directory and nothing else.
bool isEntryName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/?") == std::string_view::npos;
}

// What stands where something of this kind should be written; empty if nothing does.
std::string obstacle(FileKind kind, const std::string& path) {
    const FileStatus there = platform::linkStatus(path.c_str());
    if (!there) return there.error == ENOENT ? "" : platform::errorWords(there.error);
    if (there.kind == kind) return {};
    if (there.kind == FileKind::Link) return "is a symbolic link, through which nothing is written";
    return kind == FileKind::File ? "is no file, and a file should go there"
                                  : "is no directory, and one should go there";
}

// A writer's reason names the file in front; here that is known.
std::string_view wordsOf(const UT_String& reason) {
    const std::size_t end = reason.view().rfind(": ");
    return end == std::string_view::npos ? reason.view() : reason.view().substr(end + 2);
}

// Whether a writer, which takes a path as absolute, would see a section path in every file of the current directory.
bool isSectionPathHere() {
    const std::optional<std::string> directory = platform::currentDirectory();
    return !directory || directory->find('?') != std::string::npos;
}

// Access and modification time; who can't set them has the content all the same.
void setTimes(const std::string& path, int seconds) {
    static_cast<void>(platform::setFileTimes(path.c_str(), seconds, seconds));
}

}  // namespace

// The file names of one directory.
struct FS_IndexFile::NameSet : std::set<std::string, std::less<>> {};

// What all levels of one expansion have in common.
struct FS_IndexFile::Expansion {
    std::int64_t left;                                          // bytes of sections that may still be written
    std::set<std::pair<std::uint64_t, std::uint64_t>> sources;  // device and inode of what sections are read from

    void addSource(const char* path) {
        if (const FileStatus status = platform::fileStatus(path)) sources.emplace(status.device, status.inode);
    }
    // A container may have a section of its own name, and a section may be linked to the file that it would go to.
    bool isSource(const std::string& path) const {
        const FileStatus there = platform::linkStatus(path.c_str());
        return there && sources.contains({there.device, there.inode});
    }
};

// Two names never give the same result: `_` begins every replacement and doubles itself. What would be the list file
// after a run of `_` gets one more of them instead, which no other name can give.
void FS_IndexFile::makeValidFileName(UT_String& name) {
    const std::string_view text = name.view();
    const std::size_t bare = text.find_first_not_of('_');
    std::string result;
    if (bare != std::string_view::npos && text.substr(bare) == kListFile) {
        result = "_" + std::string(text);
    } else {
        constexpr std::string_view kReplaced = "/\\\n\r\t$~_";
        constexpr std::string_view kBy = "1234567_";
        for (const char c : text) {
            const std::size_t found = kReplaced.find(c);
            if (found == std::string_view::npos)
                result += c;
            else
                (result += '_') += kBy[found];
        }
    }
    name.harden(result);
}

// Leaves the reason for getWriteFailure to tell; `file` is empty for the directory itself. Always false.
bool FS_IndexFile::refuseExpansion(std::string_view file, std::string_view reason) {
    writeFailure_ = file.empty() ? std::string(reason) : std::string(file) + ": " + std::string(reason);
    return false;
}

bool FS_IndexFile::writeSectionListFile(const char* path) {
    if (const std::string what = obstacle(FileKind::File, path); !what.empty()) return refuseExpansion(kListFile, what);
    FS_Writer writer(path);
    std::ostream* const out = writer.getStream();
    if (out != nullptr) *out << description << '\n';
    for (int i = 0; out != nullptr && out->good() && i < getNumSections(); ++i) {
        const UT_String name(getSectionName(i));
        UT_String file(name);
        makeValidFileName(file);
        *out << file << '\t' << name << '\n';
    }
    UT_String reason;
    if (!writer.finish(&reason)) return refuseExpansion(kListFile, wordsOf(reason));
    setTimes(path, modTime);
    return true;
}

bool FS_IndexFile::expandToDirectory(const char* path) {
    writeFailure_.clear();
    if (path == nullptr || *path == '\0') return refuseExpansion({}, "no path");
    if (std::string_view(path).find('?') != std::string_view::npos) return refuseExpansion({}, kNamesSections);
    // Opened once for all sections: to find a container in a container takes a pass over the table of the outer one.
    const OpenSource source(*this);
    Expansion expansion{sharingLimit(), {}};
    UT_String file;
    if (reader != nullptr) reader->getFilename(file);
    expansion.addSource(file.buffer());
    const FS_Section::Link* last = nullptr;
    for (const FS_Section* const section : sections) {
        // Those that were linked together lie together.
        if (section->link_ && section->link_.get() != last) expansion.addSource(section->link_->origin().c_str());
        last = section->link_.get();
    }
    return expandLevel(path, 1, expansion);
}

// More bytes than all levels hold together where no two sections share any. Sections that lie in one place, as do those
// in them, would otherwise make files without end of a few hundred bytes, and looks without end into one long table.
std::int64_t FS_IndexFile::sharingLimit() const {
    const OpenSource source(*this);
    const std::int64_t size = source.stream() ? source.stream()->getSize() : 0;
    const bool isBound = decryptionFilter == nullptr && size >= 0;
    std::int64_t total = isBound ? size : 0;
    for (int i = 0; i < getNumSections(); ++i)
        if (const Place place = placeAt(i); !isBound || !place.isStored()) total += place.dataSize;
    return total * kMostLevels;
}

bool FS_IndexFile::expandLevel(const char* path, int level, Expansion& expansion) {
    if (getNumSections() == 0) return refuseExpansion({}, "the container has no sections");
    if (level > kMostLevels) return refuseExpansion({}, "lies deeper than 64 levels");
    const int error = platform::makeDirectories(path, 0777);
    platform::WorkingDirectory directory;
    if (!directory.enter(path, level == 1 ? platform::Links::Follow : platform::Links::Refuse))
        return refuseExpansion({}, error ? platform::errorWords(error) : "can't be entered");
    const std::string list = here(kListFile);
    bool done = true;
    if (isSectionPathHere())
        done = refuseExpansion({}, kNamesSections);
    else if (expansion.isSource(list))
        done = refuseExpansion(kListFile, kIsSource);
    else
        done = writeSectionListFile(list.c_str());
    NameSet written;
    for (int i = 0; done && i < getNumSections(); ++i) done = expandSection(i, level, written, expansion);
    return directory.restore() ? done : refuseExpansion({}, "there is no way back to the current directory");
}

bool FS_IndexFile::expandSection(int index, int level, NameSet& written, Expansion& expansion) {
    const Place place = placeAt(index);
    UT_String file(place.name, 1, -1);
    makeValidFileName(file);
    const std::string path = here(file.view());
    const std::string section = "section \"" + std::string(place.name) + "\"";
    if (!isEntryName(file.view())) return refuseExpansion({}, section + " can't be a file of that name");
    if (!written.emplace(file.view()).second) return refuseExpansion({}, section + " is there twice");
    if (expansion.left < 0) return refuseExpansion({}, "the sections share their bytes too often");
    FS_IndexFile inner(getSectionReader(place.name));
    const bool isContainer = inner.getNumSections() > 0;
    if (const std::string what = obstacle(isContainer ? FileKind::Directory : FileKind::File, path); !what.empty())
        return refuseExpansion(file.view(), what);
    if (expansion.isSource(path)) return refuseExpansion(file.view(), kIsSource);
    UT_String reason;
    if (isContainer && !inner.expandLevel(path.c_str(), level + 1, expansion))
        return refuseExpansion(file.view(), inner.getWriteFailure().view());
    if (!isContainer && !expandToFile(index, path, reason)) return refuseExpansion(file.view(), reason.view());
    setTimes(path, place.modTime);
    expansion.left -= place.dataSize;
    return true;
}

bool FS_IndexFile::expandToFile(int index, const std::string& path, UT_String& reason) {
    FS_Writer writer(path.c_str());
    std::ostream* const out = writer.getStream();
    const bool opened = out != nullptr && !out->fail();
    if (opened && placeAt(index).dataSize > 0) writeSection(index, *out);
    if (writer.finish(&reason)) return true;
    const std::string_view words = writeFailure_.isNull() ? wordsOf(reason) : writeFailure_.view();
    reason = std::string(words) + (opened ? "; the file is incomplete" : "");
    return false;
}

bool FS_IndexFile::collapseFromDirectory(const char* path) {
    writeFailure_.clear();
    return path != nullptr && collapseLevel(path, 1);
}

bool FS_IndexFile::collapseLevel(const char* path, int level) {
    if (level > kMostLevels) return false;
    platform::WorkingDirectory directory;
    if (!directory.enter(path, level == 1 ? platform::Links::Follow : platform::Links::Refuse)) return false;
    const bool done = collapseList(level);
    return directory.restore() && done;
}

bool FS_IndexFile::collapseList(int level) {
    const std::string path = here(kListFile);
    if (platform::linkStatus(path.c_str()).kind != FileKind::File) return false;
    FS_Reader list(path.c_str());
    if (list.getStream() == nullptr || !list.isGood()) return false;
    UT_IStream& in = *list.getStream();
    const UT_IStreamAutoBinary text(in, UT_ISTREAM_ASCII);
    if (!in.readString(description, false)) return false;
    modified = true;
    NameSet seen;
    while (!in.isEof()) {
        UT_String file, name;
        if (!in.readString(file, false) || !in.readString(name, false)) break;
        if (!file.isEmpty() && !name.isEmpty() && !collapseEntry(file, name, level, seen)) return false;
    }
    return !in.hasFailed();
}

// The first file that a collapse had to leave out.
void FS_IndexFile::noteMissing(const std::string& words) {
    if (writeFailure_.isNull()) writeFailure_ = words;
}

bool FS_IndexFile::collapseEntry(const UT_String& file, const UT_String& name, int level, NameSet& seen) {
    // No expansion names a file twice. A list that did so at every level could make any amount of content from nothing.
    if (!isEntryName(file.view()) || !seen.emplace(file.view()).second) return false;
    const std::string path = here(file.view());
    const FileStatus status = platform::linkStatus(path.c_str());
    if (!status) return false;
    if (status.kind == FileKind::File) {
        FS_Reader source(path.c_str());
        if (!addFrom(source, name.buffer(), nullptr)) noteMissing(std::string(file.view()) + ": can't be read whole");
        return true;
    }
    if (status.kind != FileKind::Directory) return false;
    FS_IndexFile inner;
    if (!inner.collapseLevel(path.c_str(), level + 1)) return false;
    if (!inner.writeFailure_.isNull())
        noteMissing(std::string(file.view()) + "/" + std::string(inner.writeFailure_.view()));
    UT_OStrStream container(inner.guessStreamSize());
    inner.writeFile(container);
    if (!container.good() || container.pcount() > std::numeric_limits<int>::max()) return false;
    addSection(name.buffer(), container, kCurrentTime);
    return true;
}
