// Putting a container into a file so that the file holds either the old content or the new, whole.
#include <UT/FilePrefix.h>
#include <platform/FileReplace.h>
#include <platform/FileStatus.h>
#include <stream/FS_Writer.h>
#include <stream/FilterPair.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <tuple>
#include <vector>

#include "IndexParts.h"
#include "SectionTable.h"

namespace {

constexpr std::string_view kChanged = "the file that this container was read from has changed since";

// "d/a?b?c": the file d/a, and the sections "b?c" in it.
std::string_view fileOf(std::string_view path) {
    return stripFilePrefix(path.substr(0, path.find('?')));
}
std::string_view sectionsOf(std::string_view path) {
    const std::size_t mark = path.find('?');
    return mark == std::string_view::npos ? std::string_view() : path.substr(mark);
}

}  // namespace

platform::Outcome mayReplace(const std::string& file, const platform::FileStatus& there) {
    if (!there)
        return there.error == ENOENT ? platform::success() : platform::failure(platform::errorWords(there.error));
    if (there.kind != platform::FileKind::File) return platform::failure("is not a regular file");
    if (there.size == 0) return platform::success();
    UT_IStream old(UTmakeFileSource(file.c_str()), UT_ISTREAM_BINARY);
    if (!old.getSource()) return platform::failure("can't be opened for reading, so it may not be a container");
    return holdsContainer(old) ? platform::success() : platform::failure("is not a container, and is left as it is");
}

bool FS_IndexFile::save(const char* path, UT_String* reason) {
    if (path == nullptr || *path == '\0') return refuse(reason, "no path");
    if (!canUndo(encryptionFilter.get(), decryptionFilter.get()))
        return refuse(reason, "its filters are no pair, so nobody could read it");
    {
        const OpenSource source(*this);
        // What a reader holds open may be in memory as it was; that matters only where it is written over.
        const bool looks = !sourceFile.isEmpty() && source.stream() != nullptr;
        if (looks && !standsAsRead(*source.stream())) return refuse(reason, kChanged);
    }
    bool isOwnSource = false;
    if (!checkTarget(path, isOwnSource, reason)) return false;
    if (!sectionsOf(path).empty()) {
        FS_Writer writer(path);
        if (writer.getStream() != nullptr) writeFile(*writer.getStream());
        // Asked in any case, so that the writer drops what it collected.
        const bool finished = writer.finish(reason);
        if (!writeFailure_.isNull()) return refuse(reason, writeFailure_.view());
        if (!finished) return false;
    } else {
        platform::ReplacementFile file(std::string(fileOf(path)), platform::ReplaceBy::Copy);
        if (!file.error().done) return refuse(reason, file.error().reason);
        writeFile(file.stream());
        if (!writeFailure_.isNull()) return refuse(reason, writeFailure_.view());
        const platform::Outcome outcome = file.commit();
        if (!outcome.done) return refuse(reason, outcome.reason);
    }
    if (isOwnSource)
        followSource();
    else
        followLinks(path);
    return true;
}

// Looks at what stands at the path: it must be nothing, or something that a container may replace. Finds out whether it
// is what this object reads from.
bool FS_IndexFile::checkTarget(const char* path, bool& isOwnSource, UT_String* reason) const {
    const std::string file(fileOf(path));
    const platform::FileStatus target = platform::fileStatus(file.c_str());
    if (const platform::Outcome outcome = mayReplace(file, target); !outcome.done)
        return refuse(reason, outcome.reason);
    if (!target) return true;
    const OpenSource source(*this);
    if (source.stream() == nullptr) return true;
    UT_String opened;
    reader->getFilename(opened);
    if (!isSameFile(platform::fileStatus(opened.buffer()), target)) return true;
    // Reading goes on in the new file, where the old positions mean nothing; so only the very container that is read
    // from can be followed into it.
    const UT_IStream& in = *source.stream();
    isOwnSource = sourceFile.isEmpty() ? sectionsOf(path).empty() && in.getSourceStart() == 0 && streamStart == 0 &&
                                             in.getSize() == target.size
                                       : sectionsOf(path) == sectionsOf(sourceFile.view());
    if (!isOwnSource) return refuse(reason, "this container is read from another part of that file");
    UT_IStream now(UTmakeFileSource(file.c_str()), UT_ISTREAM_BINARY);
    return !sourceFile.isEmpty() || standsAsRead(now) || refuse(reason, kChanged);
}

// Whether the source still holds every stored section where it was found.
bool FS_IndexFile::standsAsRead(UT_IStream& source) const {
    UT_String text;
    const auto now = SectionTable::read(source, text);
    std::vector<std::tuple<int, int, std::string_view>> places;
    for (int i = 0; now && i < now->entries(); ++i)
        places.emplace_back(now->place(i).offset, now->place(i).size, now->name(i));
    std::sort(places.begin(), places.end());
    for (int i = 0; i < getNumSections(); ++i) {
        const Place place = placeAt(i);
        if (!place.isStored()) continue;
        const std::tuple wanted(place.offset, place.sectionSize, std::string_view(place.name));
        if (!std::binary_search(places.begin(), places.end(), wanted)) return false;
    }
    return true;
}

// After the source was written over by this object: takes the places that the sections have now. What was linked lies
// in the source itself from here on.
void FS_IndexFile::followSource() {
    if (sourceFile.isEmpty()) {
        UT_String file;
        reader->getFilename(file);
        // Let go first, so that the file isn't open twice.
        reader.reset();
        reader = std::make_unique<FS_Reader>(file.buffer());
    }
    const OpenSource source(*this);
    if (source.stream() == nullptr) return;
    UT_String same;
    const auto fresh = SectionTable::read(*source.stream(), same);
    if (fresh == nullptr || fresh->entries() != getNumSections()) return;
    for (int i = 0; i < fresh->entries(); ++i) {
        const SectionPlace place = fresh->place(i);
        if (!made_) {
            table_->setPlace(i, place);
        } else if (FS_Section& section = *sections(i); !section.bytes_) {
            section.offset = place.offset;
            section.sectionSize = place.size;
            section.link_.reset();
        }
    }
}

std::string FS_IndexFile::FS_Section::Link::origin() const {
    if (!file.empty()) return std::string(fileOf(file));
    UT_String opened;
    source.getFilename(opened);
    return std::string(opened.view());
}

bool FS_IndexFile::FS_Section::Link::leadsInto(const platform::FileStatus& target) const {
    // What is linked as a whole file is held to its length.
    if (!file.empty() && sectionsOf(file).empty()) return false;
    return isSameFile(platform::fileStatus(origin().c_str()), target);
}

// After the container at `path` was written over by this object, which has its source elsewhere: sections linked from
// that file are read from where they stand in it now.
void FS_IndexFile::followLinks(const char* path) {
    const platform::FileStatus target = platform::fileStatus(std::string(fileOf(path)).c_str());
    std::shared_ptr<FS_Section::Link> link;
    std::unique_ptr<SectionTable> fresh;
    for (int i = 0; i < sections.entries(); ++i) {
        FS_Section& section = *sections(i);
        if (!section.link_ || !section.link_->leadsInto(target)) continue;
        if (!link) {
            link = std::make_shared<FS_Section::Link>();
            link->source = FS_Reader(path);
            if (decryptionFilter != nullptr) link->filter.reset(decryptionFilter->clone());
            UT_String text;
            if (link->source.isGood()) fresh = SectionTable::read(*link->source.getStream(), text);
            if (fresh == nullptr || fresh->entries() != sections.entries()) return;
        }
        const SectionPlace place = fresh->place(i);
        section.setContent(link, place.offset, place.size, section.dataSize, section.modTime);
    }
}
