// One section: a place in the source, bytes in memory, or a link to where the bytes lie.
#include <indexfile/FS_IndexFile.h>

#include <algorithm>
#include <cstring>

#include "IndexParts.h"

using FS_Section = FS_IndexFile::FS_Section;

namespace {

std::shared_ptr<char[]> copyOf(const char* bytes, int count) {
    if (bytes == nullptr) return nullptr;
    const auto size = static_cast<std::size_t>(std::max(count, 0));
    auto copy = std::make_shared_for_overwrite<char[]>(size);
    std::memcpy(copy.get(), bytes, size);
    return copy;
}

}  // namespace

FS_Section::FS_Section() = default;

FS_Section::~FS_Section() = default;

FS_Section::FS_Section(const FS_Section& other) {
    *this = other;
}

FS_Section& FS_Section::operator=(const FS_Section& other) {
    if (this == &other) return *this;
    name = other.name;
    offset = other.offset;
    modTime = other.modTime;
    dataSize = other.dataSize;
    sectionSize = other.sectionSize;
    byteCount_ = other.byteCount_ >= 0 ? other.byteCount_ : std::max(other.sectionSize, 0);
    bytes_ = copyOf(other.sectionBytes, byteCount_);
    sectionBytes = bytes_.get();
    link_ = other.link_;
    linkStart_ = other.linkStart_;
    linkSize_ = other.linkSize_;
    return *this;
}

void FS_Section::setName(const char* text) {
    name.harden(text);
}

void FS_Section::adoptName(char* text) {
    name.adopt(text);
}

void FS_Section::adoptName(UT_String& text) {
    name.adopt(text);
}

void FS_Section::setSectionBytes(const char* bytes) {
    bytes_ = copyOf(bytes, sectionSize);
    byteCount_ = std::max(sectionSize, 0);
    sectionBytes = bytes_.get();
}

void FS_Section::stealData(char* bytes) {
    if (bytes == sectionBytes) return;
    bytes_.reset(bytes);
    byteCount_ = -1;
    sectionBytes = bytes;
}

void FS_Section::setContent(std::shared_ptr<char[]> bytes, int size, int time) {
    offset = -1;
    modTime = time;
    dataSize = sectionSize = byteCount_ = size;
    bytes_ = std::move(bytes);
    sectionBytes = bytes_.get();
    link_.reset();
}

// `stored` bytes from position `start` of the link's source, `size` bytes of content.
void FS_Section::setContent(std::shared_ptr<const Link> link, int start, int stored, int size, int time) {
    setContent(nullptr, size, time);
    link_ = std::move(link);
    linkStart_ = start;
    linkSize_ = stored;
}
