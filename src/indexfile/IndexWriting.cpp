// Writing a container, table first. Every section's bytes are counted against what the table promised.
#include <UT/Saturated.h>
#include <UT/UT_Output.h>
#include <UT/UT_StreamBufferFilter.h>

#include <ostream>
#include <streambuf>
#include <string>
#include <utility>

#include "IndexFormat.h"
#include "IndexParts.h"
#include "TableWriter.h"

using namespace indexformat;

namespace {

// Hands everything on to another buffer and counts it.
class CountingBuf : public std::streambuf {
public:
    explicit CountingBuf(std::streambuf* target) : target_(target) {}
    // Bytes since the last call.
    std::int64_t take() { return std::exchange(count_, 0); }

protected:
    int_type overflow(int_type c) override {
        if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
        const char byte = traits_type::to_char_type(c);
        return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
    }
    std::streamsize xsputn(const char* data, std::streamsize count) override {
        const std::streamsize done = target_->sputn(data, count);
        count_ += done;
        return done;
    }
    int sync() override { return target_->pubsync(); }

private:
    std::streambuf* const target_;
    std::int64_t count_ = 0;
};

std::int64_t textSize(const char* text) {
    return static_cast<std::int64_t>(kIntSize + (text ? std::string_view(text).size() : 0));
}

}  // namespace

// Leaves the reason for save() to tell. Always false.
bool FS_IndexFile::fail(std::ostream& out, std::string_view reason) {
    writeFailure_ = reason;
    out.setstate(std::ios::failbit);
    return false;
}

int FS_IndexFile::getWriteFilteredSectionSize(int index) const {
    const Place place = placeAt(index);
    const int filtered = encryptionFilter ? encryptionFilter->getFilteredSize(place.dataSize) : place.dataSize;
    return filtered >= 0 ? filtered : place.sectionSize;
}

int FS_IndexFile::guessStreamSize() const {
    std::int64_t size = 8192;
    for (int i = 0; i < getNumSections(); ++i) size += getWriteFilteredSectionSize(i);
    return saturated(size);
}

void FS_IndexFile::writeFile(std::ostream& out) {
    writeFailure_.clear();
    const int count = getNumSections();
    std::vector<int> sizes(static_cast<std::size_t>(count));
    std::int64_t total = static_cast<std::int64_t>(kMagic.size() + 2 * kIntSize) + textSize(description.buffer());
    for (int i = 0; i < count; ++i) {
        sizes[static_cast<std::size_t>(i)] = getWriteFilteredSectionSize(i);
        total +=
            textSize(getSectionName(i)) + static_cast<std::int64_t>(kFieldsSize) + sizes[static_cast<std::size_t>(i)];
    }
    if (total > kLargestContainer) {
        fail(out, kTooLarge);
        return;
    }
    writeTable(out, sizes);
    const OpenSource source(*this);
    CountingBuf counter(out.rdbuf());
    std::ostream counted(&counter);
    for (int i = 0; i < count && out.good();) {
        const int next = endOfRun(i);
        std::int64_t promised = 0;
        for (int j = i; j < next; ++j) promised += sizes[static_cast<std::size_t>(j)];
        writeRun(i, next, counted);
        if (counter.take() != promised && writeFailure_.isNull() && !counted.bad())
            fail(counted,
                 "section \"" + std::string(getSectionName(i)) + "\": the filter gave other than the promised size");
        out.setstate(counted.rdstate());
        i = next;
    }
}

void FS_IndexFile::writeTable(std::ostream& out, const std::vector<int>& sizes) {
    const int count = static_cast<int>(sizes.size());
    TableWriter table(out, description.buffer(), count);
    for (int i = 0; i < count; ++i) {
        const Place place = placeAt(i);
        table.add(place.name, sizes[static_cast<std::size_t>(i)], place.modTime);
    }
}

// Without filters, stored sections that lie one behind the other in the source can be copied as one. Gives the index
// behind the last of those that begin with `first`.
int FS_IndexFile::endOfRun(int first) const {
    int next = first + 1;
    if (encryptionFilter != nullptr || decryptionFilter != nullptr) return next;
    const auto isWhole = [](const Place& place) { return place.isStored() && place.dataSize == place.sectionSize; };
    for (Place place = placeAt(first); isWhole(place) && next < getNumSections(); ++next) {
        const Place following = placeAt(next);
        if (!isWhole(following) || following.offset - place.offset != place.dataSize) break;
        place = following;
    }
    return next;
}

void FS_IndexFile::writeRun(int first, int next, std::ostream& out) {
    if (next == first + 1) return writeSection(first, out);
    const OpenSource source(*this);
    UT_IStream* const in = source.stream();
    const Place begin = placeAt(first), last = placeAt(next - 1);
    const std::int64_t end = std::int64_t{last.offset} + last.dataSize;
    if (in == nullptr) {
        fail(out, "the container's source can't be opened");
        return;
    }
    in->seekg(begin.offset, 0);
    if (UTcopyStreamToStream(*in, out, static_cast<unsigned>(end - begin.offset), nullptr) || out.bad()) return;
    while (first + 1 < next && placeAt(first + 1).offset <= in->tellg()) ++first;
    failSection(first, out, "its source ends before its last byte");
}

void FS_IndexFile::failSection(int index, std::ostream& out, std::string_view reason) {
    fail(out, "section \"" + std::string(getSectionName(index)) + "\": " + std::string(reason));
}

// One section's stored form. A failure sets failbit.
void FS_IndexFile::writeSection(int index, std::ostream& out) {
    const Place place = placeAt(index);
    const std::unique_ptr<UT_StreamBufferFilter> filter(encryptionFilter ? encryptionFilter->createBufferFilter()
                                                                         : nullptr);
    if (place.section != nullptr && place.section->bytes_) {
        UTwriteFiltered(out, place.section->sectionBytes, place.dataSize, filter.get());
        return;
    }
    const OpenSource source(*this);
    UT_IStream* in = source.stream();
    std::unique_ptr<UT_IStream> content;
    // A stored section is decoded only to be encoded again; otherwise its stored bytes are what is copied.
    const bool decodes = encryptionFilter != nullptr && decryptionFilter != nullptr &&
                         encryptionFilter->isCompatible(decryptionFilter.get());
    if (!place.isStored() || decodes) {
        content = contentOf(place, source);
        in = content.get();
    } else if (in != nullptr) {
        in->seekg(place.offset, 0);
    }
    if (in == nullptr) return failSection(index, out, "its source can't be opened, or has another length than before");
    const bool copied = UTcopyStreamToStream(*in, out, static_cast<unsigned>(place.dataSize), filter.get());
    // A size that a filter told doesn't fit stored bytes that go past it.
    const bool whole = !place.isStored() || decodes || place.dataSize == place.sectionSize;
    if (!(copied && whole) && !out.bad()) failSection(index, out, "its source or filter can't deliver it whole");
}

void FS_IndexFile::setFilters(FS_WriteFilterFactory* writer, FS_IStreamFilterFactory* readFilter) {
    // Kept to the end: the new pair may be the old one.
    const auto oldWriter = std::move(encryptionFilter);
    const auto oldReader = std::move(decryptionFilter);
    if (writer == nullptr || readFilter == nullptr || !writer->isCompatible(readFilter)) return;
    encryptionFilter.reset(writer->clone());
    decryptionFilter.reset(readFilter->clone());
    recalculateFilteredSectionSizes();
}
