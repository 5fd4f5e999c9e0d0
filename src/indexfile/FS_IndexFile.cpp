// Opening a container, and what can be asked of it. The table stays as its bytes for as long as nobody edits it; see
// makeSections.
#include <UT/Saturated.h>
#include <UT/UT_Options.h>
#include <UT/UT_Path.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_ReaderStream.h>
#include <stream/FSloadCustomHelpers.h>
#include <stream/FilterPair.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>

#include "IndexParts.h"
#include "ReadBytes.h"
#include "SectionTable.h"

FS_IndexFile::FS_IndexFile() : modTime(getCurrentTime()) {}

// Whole before anything is read, so that all goes back when memory ends in the middle.
FS_IndexFile::FS_IndexFile(FS_Reader* source) : FS_IndexFile() {
    modTime = 0;
    reader.reset(source ? source : new FS_Reader);
    readIndex();
}

FS_IndexFile::FS_IndexFile(const char* path) : FS_IndexFile() {
    modTime = 0;
    sourceFile = UT_String(path, 1, -1);
    // It takes the helpers to know that a path such as "http://host/x.idx" is absolute.
    FSloadCustomHelpers();
    UTmakeAbsoluteFilePath(sourceFile, nullptr);
    readIndex();
}

FS_IndexFile::~FS_IndexFile() {
    for (int i = sections.entries() - 1; i >= 0; --i) delete sections(i);
}

int FS_IndexFile::getCurrentTime() {
    return saturated(std::time(nullptr));
}

void FS_IndexFile::openStream() const {
    if (reader != nullptr || sourceFile.isEmpty()) return;
    // Half of a pair, or two halves of different pairs, can't bring back what was stored.
    if (!canUndo(encryptionFilter.get(), decryptionFilter.get())) return;
    reader = std::make_unique<FS_Reader>(sourceFile.buffer());
}

// A reader that came from outside stays open: such an object has no source file.
void FS_IndexFile::closeStream() const {
    if (!sourceFile.isEmpty()) reader.reset();
}

void FS_IndexFile::readIndex() {
    {
        const OpenSource source(*this);
        if (reader != nullptr) {
            modTime = reader->getModTime();
            fileDataSize = reader->getLength();
            if (auto* const filter = reader->getSubStreamReadFilterFactory()) decryptionFilter.reset(filter->clone());
            if (auto* const filter = reader->getSubStreamWriteFilterFactory()) encryptionFilter.reset(filter->clone());
        }
        if (reader == nullptr || reader->getStream() == nullptr || !reader->isGood()) return;
        UT_IStream& in = *reader->getStream();
        streamStart = static_cast<int>(in.tellg());
        table_ = SectionTable::read(in, description);
        made_ = table_ == nullptr;
    }
    recalculateFilteredSectionSizes();
}

void FS_IndexFile::recalculateFilteredSectionSizes() {
    if (decryptionFilter == nullptr) return;
    makeSections();
    const OpenSource source(*this);
    UT_IStream* const in = reader ? reader->getStream() : nullptr;
    for (FS_Section* const section : sections) {
        section->dataSize = section->sectionSize;
        if (section->offset < 0 || in == nullptr) continue;
        in->seekg(section->offset, 0);
        section->dataSize = std::max(decryptionFilter->getUnfilteredSize(in, section->sectionSize), 0);
    }
}

int FS_IndexFile::getNumSections() const {
    return made_ ? sections.entries() : table_->entries();
}

// Of a section by index, which must be in range.
FS_IndexFile::Place FS_IndexFile::placeAt(int index) const {
    if (!made_) {
        const SectionPlace stored = table_->place(index);
        return {table_->name(index), stored.offset, stored.modTime, stored.size, stored.size, nullptr};
    }
    return Place::of(*sections(index));
}

bool FS_IndexFile::locate(const char* name, Place& place) const {
    if (name == nullptr) return false;
    if (!made_) {
        const int index = table_->find(name);
        if (index >= 0) place = placeAt(index);
        return index >= 0;
    }
    const FS_Section* const section = findSection(name);
    if (section != nullptr) place = Place::of(*section);
    return section != nullptr;
}

bool FS_IndexFile::hasSection(const char* name) const {
    Place place;
    return locate(name, place);
}

int FS_IndexFile::getSectionModTime(const char* name) const {
    Place place;
    return locate(name, place) ? place.modTime : 0;
}

int FS_IndexFile::getSectionDataSize(const char* name) const {
    Place place;
    return locate(name, place) ? place.dataSize : 0;
}

const char* FS_IndexFile::getSectionName(int index) const {
    return index >= 0 && index < getNumSections() ? placeAt(index).name : nullptr;
}

int FS_IndexFile::getSectionModTimeAt(int index) const {
    return index >= 0 && index < getNumSections() ? placeAt(index).modTime : 0;
}

int FS_IndexFile::getSectionDataSizeAt(int index) const {
    return index >= 0 && index < getNumSections() ? placeAt(index).dataSize : 0;
}

// A stream over the plain content of a section that isn't in memory; null when its source can't be opened. `source`
// must have been opened for this object.
std::unique_ptr<UT_IStream> FS_IndexFile::contentOf(const Place& place, const OpenSource& source) const {
    std::unique_ptr<UT_IStream> stored;
    const FS_IStreamFilterFactory* filter = decryptionFilter.get();
    if (place.isStored()) {
        if (source.stream() == nullptr) return nullptr;
        stored.reset(source.stream()->getSubStream(place.offset, place.sectionSize));
    } else {
        const FS_Section& section = *place.section;
        FS_Reader linked = section.link_->open();
        filter = section.link_->filter.get();
        if (linked.getStream() == nullptr || !linked.getStream()->getSource()) return nullptr;
        if (!section.link_->file.empty() && linked.getLength() != section.linkSize_) return nullptr;
        stored.reset(linked.getStream()->getSubStream(section.linkStart_, section.linkSize_));
    }
    if (filter == nullptr) return stored;
    return std::unique_ptr<UT_IStream>(filter->createFilteredStream(stored.get()));
}

// The whole plain content; null if it can't be had whole.
std::shared_ptr<char[]> FS_IndexFile::readContent(const Place& place) const {
    if (place.section != nullptr && place.section->bytes_) return place.section->bytes_;
    const OpenSource source(*this);
    const std::unique_ptr<UT_IStream> content = contentOf(place, source);
    return content ? readExactly(*content, place.dataSize) : nullptr;
}

void FS_IndexFile::readSection(const char* name, char* buffer) const {
    Place place;
    if (buffer == nullptr || !locate(name, place)) return;
    if (place.section != nullptr && place.section->bytes_) {
        std::memcpy(buffer, place.section->sectionBytes, static_cast<std::size_t>(place.dataSize));
        return;
    }
    const OpenSource source(*this);
    if (const auto content = contentOf(place, source)) content->bread(buffer, place.dataSize);
}

bool FS_IndexFile::readOptionsSection(const char* name, UT_Options& options) const {
    Place place;
    if (!locate(name, place) || place.dataSize <= 0) return false;
    const std::shared_ptr<char[]> bytes = readContent(place);
    if (!bytes) return false;
    UT_IStream text(bytes, place.dataSize, UT_ISTREAM_BINARY);
    return options.load(name, text);
}

FS_ReaderStream* FS_IndexFile::getSectionStream(const char* name) const {
    Place place;
    if (!locate(name, place)) return nullptr;
    if (place.section != nullptr && place.section->bytes_)
        return new FS_ReaderStream(place.section->bytes_, place.dataSize, place.modTime);
    if (!place.isStored()) {
        // A linked section has no file name that a stream could carry, as a section in memory hasn't.
        const std::shared_ptr<char[]> bytes = readContent(place);
        return bytes ? new FS_ReaderStream(bytes, place.dataSize, place.modTime) : nullptr;
    }
    const OpenSource source(*this);
    if (reader == nullptr) return nullptr;
    FS_ReaderStream* const stream =
        reader->shareDataAndGetSubstream(place.offset, place.sectionSize, place.dataSize, decryptionFilter.get());
    // Null would mean a section that isn't there, and who copies the container would do without it.
    if (stream == nullptr) throw std::bad_alloc();
    stream->setModTime(place.modTime);
    return stream;
}

FS_Reader* FS_IndexFile::getSectionReader(const char* name) const {
    std::unique_ptr<FS_ReaderStream> stream(getSectionStream(name));
    return stream ? new FS_Reader(stream.release()) : nullptr;
}

FS_ReaderStream* FS_IndexFile::getStreamCopy() const {
    const OpenSource source(*this);
    if (reader == nullptr) return new FS_ReaderStream;
    const int length = reader->getLength();
    FS_ReaderStream* const stream = reader->shareDataAndGetSubstream(streamStart, length, length, nullptr);
    if (stream == nullptr) throw std::bad_alloc();
    if (decryptionFilter != nullptr) stream->setSubStreamReadFilterFactory(decryptionFilter.get());
    if (encryptionFilter != nullptr) stream->setSubStreamWriteFilterFactory(encryptionFilter.get());
    return stream;
}
