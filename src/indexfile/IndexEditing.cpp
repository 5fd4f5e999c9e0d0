// Changes to the set of sections. They live in the object until a container is written; the source is never touched.
#include <UT/Saturated.h>
#include <UT/UT_OStrStream.h>
#include <UT/UT_Path.h>
#include <platform/FileStatus.h>
#include <stream/AskHelpers.h>
#include <stream/FS_ReaderStream.h>
#include <stream/PathForm.h>

#include <climits>
#include <cstring>
#include <set>
#include <string>
#include <string_view>

#include "IndexFormat.h"
#include "IndexParts.h"
#include "ReadBytes.h"
#include "SectionTable.h"

namespace {

// A path that holds when the current directory changes.
std::string absolutePath(std::string_view path) {
    UT_String absolute(path);
    UTmakeAbsoluteFilePath(absolute, nullptr);
    return std::string(absolute.view());
}

// Puts the path of a local file in a form that holds when the current directory changes, and looks at the file without
// opening it. False if it isn't a plain file that can be read and that knows its length.
bool lookAt(std::string& path, platform::FileStatus& status) {
    std::string absolute = absolutePath(stripFilePrefix(path));
    status = platform::fileStatus(absolute.c_str());
    if (!status || status.kind != platform::FileKind::File || status.size == 0) return false;
    constexpr unsigned kReadableByAll = 0444;
    const bool isReadable =
        (status.mode & kReadableByAll) == kReadableByAll || platform::accessFile(absolute.c_str(), 4) == 0;
    if (isReadable) path = std::move(absolute);
    return isReadable;
}

}  // namespace

// From here on every section has an object of its own, with a name that refers to the table's bytes.
void FS_IndexFile::makeSections() {
    if (made_) return;
    const int count = table_->entries();
    sections.resize(static_cast<unsigned>(count));
    for (int i = 0; i < count; ++i) {
        auto section = std::make_unique<FS_Section>();
        const SectionPlace place = table_->place(i);
        section->name = UT_String(table_->name(i));
        section->offset = place.offset;
        section->dataSize = section->sectionSize = place.size;
        section->modTime = place.modTime;
        sections.append(section.get());
        sectionTable.addSymbol(table_->name(i), UT_Thing(section.release()));
    }
    made_ = true;
}

// Null for an unknown name. The sections must have been made.
FS_IndexFile::FS_Section* FS_IndexFile::findSection(const char* name) const {
    UT_Thing thing;
    return sectionTable.findSymbol(name, &thing) ? thing.as<FS_Section>() : nullptr;
}

// The section of that name, a new one at the end if there is none.
FS_IndexFile::FS_Section& FS_IndexFile::sectionFor(const char* name) {
    makeSections();
    modified = true;
    if (FS_Section* const found = findSection(name)) return *found;
    auto section = std::make_unique<FS_Section>();
    section->setName(name);
    sections.append(section.get());
    sectionTable.addSymbol(section->getName(), UT_Thing(section.get()));
    return *section.release();
}

void FS_IndexFile::setDescription(const char* text) {
    description.harden(text);
    modified = true;
}

void FS_IndexFile::addSection(const char* name, const char* data, int size, int seconds) {
    if (name == nullptr || size < 0 || (data == nullptr && size > 0)) return;
    // Copied first: the bytes may be those that are replaced.
    auto bytes = std::make_shared_for_overwrite<char[]>(static_cast<std::size_t>(size));
    if (size > 0) std::memcpy(bytes.get(), data, static_cast<std::size_t>(size));
    if (seconds == kCurrentTime) seconds = getCurrentTime();
    sectionFor(name).setContent(std::move(bytes), size, seconds);
}

void FS_IndexFile::modifySection(const char* name, const char* data, int size, int seconds) {
    if (hasSection(name)) addSection(name, data, size, seconds);
}

void FS_IndexFile::addSection(const char* name, UT_OStrStream& stream, int seconds) {
    const std::size_t size = stream.pcount();
    if (size > INT_MAX) return;
    addSection(name, stream.str(), static_cast<int>(size), seconds);  // which freezes the stream
    stream.rdbuf()->freeze(false);
}

void FS_IndexFile::addSection(const char* name, const char* fileName) {
    if (name == nullptr || fileName == nullptr) return;
    FS_Reader source(fileName);
    addFrom(source, name, nullptr);
}

// Adds all that the reader gives, to the end of a source whose length isn't known before.
bool FS_IndexFile::addFrom(FS_Reader& source, const char* name, UT_String* reason) {
    if (!source.isGood()) return refuse(reason, "can't be opened for reading");
    UT_IStream& in = *source.getStream();
    std::int64_t size = in.getSize();
    // A filter's stream need not know where it ends; the section that it stands for does.
    if (size < 0 && source.getLength() > 0) size = source.getLength();
    std::shared_ptr<char[]> bytes;
    if (size < 0)
        bytes = readToEnd(in, size);
    else if (size <= INT_MAX)
        bytes = readExactly(in, static_cast<int>(size));
    if (size > INT_MAX) return refuse(reason, indexformat::kSectionTooLarge);
    // A section that reaches beyond the end of its file is shorter than its table says.
    if (!bytes || in.hasFailed() || (in.getSize() >= 0 && size < source.getLength()))
        return refuse(reason, "can't be read to its end");
    sectionFor(name).setContent(std::move(bytes), static_cast<int>(size), source.getModTime());
    return true;
}

void FS_IndexFile::addSection(const char* name, const FS_IndexFile& other) {
    if (name == nullptr) return;
    Place place;
    std::shared_ptr<char[]> bytes;
    if (other.locate(name, place))
        bytes = other.readContent(place);
    else
        bytes = std::make_shared_for_overwrite<char[]>(0);
    if (bytes) sectionFor(name).setContent(std::move(bytes), place.dataSize, place.modTime);
}

bool FS_IndexFile::linkSection(const char* name, const char* fileName, UT_String* reason) {
    if (name == nullptr || fileName == nullptr) return refuse(reason, "no name");
    const bool isSection = splitSection(fileName).has_value();
    FS_Reader source(isSection ? nullptr : streamFromHelpers(fileName).release());
    std::string path(fileName);
    platform::FileStatus status;
    if (source.getStream() != nullptr || isSection || !lookAt(path, status) || status.size > INT_MAX) {
        if (source.getStream() == nullptr) source = FS_Reader(fileName);
        // What a helper serves, and what doesn't tell its length, is read now: nobody could hold it to a length later.
        if (!isSection || !source.isGood() || source.getStream()->getSize() != source.getLength())
            return addFrom(source, name, reason);
        path = absolutePath(path);
        status.size = source.getLength();
        status.time = source.getModTime();
    }
    auto link = std::make_shared<FS_Section::Link>();
    link->file = std::move(path);
    const int size = static_cast<int>(status.size);
    sectionFor(name).setContent(std::move(link), 0, size, size, saturated(status.time));
    return true;
}

bool FS_IndexFile::linkSection(const char* name, const FS_Reader& source, UT_String* reason) {
    if (name == nullptr) return refuse(reason, "no name");
    auto link = std::make_shared<FS_Section::Link>();
    link->source = source;
    const int size = source.getLength();
    if (!link->source.isGood() || source.getStream()->getSize() != size) return addFrom(link->source, name, reason);
    sectionFor(name).setContent(std::move(link), 0, size, size, source.getModTime());
    return true;
}

void FS_IndexFile::removeSection(const char* name) {
    if (!hasSection(name)) return;
    makeSections();
    const std::unique_ptr<FS_Section> section(findSection(name));
    sectionTable.deleteSymbol(section->getName());
    sections.remove(section.get());
    modified = true;
    // Another section of the same name is found from now on: the last of them.
    if (sectionTable.entries() == static_cast<unsigned>(sections.entries())) return;
    for (int i = sections.entries() - 1; i >= 0; --i) {
        if (std::string_view(sections(i)->getName()) != section->getName()) continue;
        sectionTable.addSymbol(section->getName(), UT_Thing(sections(i)));
        return;
    }
}

void FS_IndexFile::moveSections(int first, int last, int offset) {
    const std::int64_t target = std::int64_t{first} + offset;
    const std::int64_t count = std::int64_t{last} - first + 1;
    if (first < 0 || count <= 0 || last >= getNumSections() || target < 0 || target + count > getNumSections()) return;
    makeSections();
    sections.move(first, static_cast<int>(target), static_cast<int>(count));
}

void FS_IndexFile::mergeIndexFile(const FS_IndexFile& other, bool overwrite) {
    merge(other, overwrite, false);
}

void FS_IndexFile::linkIndexFile(const FS_IndexFile& other, bool overwrite) {
    merge(other, overwrite, true);
}

// All bytes of the source, and how many, if its sections share some; else null. Copied one by one these would take
// memory without relation to what the source holds.
std::shared_ptr<char[]> FS_IndexFile::readShared(const OpenSource& source, std::int64_t& size) const {
    size = source.stream() ? source.stream()->getSize() : -1;
    if (decryptionFilter != nullptr || size < 0 || size > INT_MAX) return nullptr;
    std::int64_t total = 0;
    for (int i = 0; i < getNumSections(); ++i)
        if (const Place place = placeAt(i); place.isStored()) total += place.sectionSize;
    if (total <= size) return nullptr;
    const std::unique_ptr<UT_IStream> all(source.stream()->getSubStream(0, size));
    return readExactly(*all, static_cast<int>(size));
}

void FS_IndexFile::merge(const FS_IndexFile& other, bool overwrite, bool link) {
    if (&other == this) return;
    const OpenSource source(other);
    std::int64_t sharedSize = 0;
    const std::shared_ptr<char[]> shared = link ? nullptr : other.readShared(source, sharedSize);
    std::shared_ptr<FS_Section::Link> opened;
    if (link && source.stream() != nullptr) {
        opened = std::make_shared<FS_Section::Link>();
        opened->source = *other.reader;
        if (other.decryptionFilter != nullptr) opened->filter.reset(other.decryptionFilter->clone());
    }
    std::set<std::string_view> repeated;
    for (int i = 0; i < other.getNumSections(); ++i) {
        // By its name, so that of two sections with one name the same one is taken that other operations find.
        Place place;
        const char* const name = other.getSectionName(i);
        if (!other.locate(name, place) || (!overwrite && hasSection(place.name))) continue;
        // What is found bears its own name; any other comes again, and is not to be read as often as it does.
        if (place.name != name && !repeated.insert(place.name).second) continue;
        if (place.isStored() && opened) {
            sectionFor(place.name).setContent(opened, place.offset, place.sectionSize, place.dataSize, place.modTime);
        } else if (place.section != nullptr && place.section->link_ && link) {
            const FS_Section& s = *place.section;
            sectionFor(place.name).setContent(s.link_, s.linkStart_, s.linkSize_, s.dataSize, s.modTime);
        } else if (shared && place.isStored() && std::int64_t{place.offset} + place.dataSize <= sharedSize) {
            sectionFor(place.name).setContent({shared, shared.get() + place.offset}, place.dataSize, place.modTime);
        } else {
            addSection(place.name, other);
        }
    }
}
