// Putting a container into a file so that the file holds either the old content or the new, whole.
#include <UT/UT_Path.h>
#include <platform/FileReplace.h>
#include <platform/FileStatus.h>
#include <stream/FS_Writer.h>
#include <stream/PathForm.h>

#include <cerrno>
#include <string>

#include "IndexParts.h"
#include "SectionTable.h"

namespace {

bool refuse(UT_String* reason, std::string_view words) {
    if (reason != nullptr) *reason = words;
    return false;
}

// "d/a?b?c": the file d/a, and the sections "b?c" in it.
std::string_view fileOf(std::string_view path) {
    return stripFilePrefix(path.substr(0, path.find('?')));
}
std::string_view sectionsOf(std::string_view path) {
    const std::size_t mark = path.find('?');
    return mark == std::string_view::npos ? std::string_view() : path.substr(mark);
}

bool isSameFile(const platform::FileStatus& a, const platform::FileStatus& b) {
    return a && b && a.device == b.device && a.inode == b.inode;
}

}  // namespace

bool FS_IndexFile::save(const char* path, UT_String* reason) {
    if (path == nullptr || *path == '\0') return refuse(reason, "no path");
    bool isOwnSource = false;
    if (!mayReplace(path, isOwnSource, reason)) return false;
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
    if (isOwnSource) followSource();
    return true;
}

// Looks at what stands at the path: it must be nothing, or something that a container may replace. Finds out whether it
// is what this object reads from.
bool FS_IndexFile::mayReplace(const char* path, bool& isOwnSource, UT_String* reason) const {
    const std::string file(fileOf(path));
    const platform::FileStatus target = platform::fileStatus(file.c_str());
    if (!target) return target.error == ENOENT || refuse(reason, platform::errorWords(target.error));
    if (target.kind != platform::FileKind::File) return refuse(reason, "is not a regular file");
    if (target.size > 0) {
        UT_IStream old(UTmakeFileSource(file.c_str()), UT_ISTREAM_BINARY);
        if (!old.getSource()) return refuse(reason, "can't be opened for reading, so it may not be a container");
        if (!holdsContainer(old)) return refuse(reason, "is not a container, and is left as it is");
    }
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
    return isOwnSource || refuse(reason, "this container is read from another part of that file");
}

// After the source was written over by this object: takes the places that the sections have now. What was linked lies
// in the source itself from here on.
void FS_IndexFile::followSource() {
    if (sourceFile.isEmpty()) {
        UT_String file;
        reader->getFilename(file);
        delete std::exchange(reader, nullptr);
        reader = new FS_Reader(file.buffer());
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
