// Reads section tables: the header by the stream's own operations, the entries straight from the blocks that the stream
// has in memory.
#include "SectionTable.h"

#include <UT/TextHash.h>
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <string>

#include "IndexFormat.h"

using namespace indexformat;

namespace {

bool readInt(UT_IStream& in, int& value) {
    return in.bread(&value, 1) == 1;
}

bool skipText(UT_IStream& in) {
    int length = 0;
    return readInt(in, length) && length >= 0 && in.seekg(in.tellg() + length, 0);
}

// Magic, version, description and the number of entries.
TableWalk walkHeader(UT_IStream& in, UT_String* description) {
    TableWalk walk;
    char magic[kMagic.size()];
    if (in.bread(magic, sizeof magic) != sizeof magic || std::string_view(magic, sizeof magic) != kMagic) return walk;
    walk.end = TableWalk::End::InHeader;
    if (!readInt(in, walk.version)) return walk;
    if (walk.version > kVersion) {
        walk.end = TableWalk::End::NewerVersion;
        return walk;
    }
    if (!(description ? in.readBinaryString(*description, UT_ISTREAM_RLE32) : skipText(in))) return walk;
    int count = 0;
    if (!readInt(in, count)) return walk;
    walk.count = std::max(count, 0);
    walk.end = TableWalk::End::Whole;
    return walk;
}

// The number of entries; nothing if something in front of them is missing or wrong.
std::optional<int> readHeader(UT_IStream& in, UT_String* description) {
    const TableWalk walk = walkHeader(in, description);
    if (walk.end != TableWalk::End::Whole) return {};
    return walk.count;
}

// Walks the entries of a table from where the stream stands. An entry that lies in one block of the stream is looked at
// in place; one that goes across blocks is put together first.
class TableScan {
public:
    struct Entry {
        std::string_view name;         // may hold a NUL, which ends the name
        const char* fields = nullptr;  // offset, size and time
        int offset() const { return loadInt(fields); }
        int size() const { return loadInt(fields + kIntSize); }
    };

    explicit TableScan(UT_IStream& in) : in_(in), total_(in.getSize()) {}

    // The next entry, valid until the next call. False if it is cut short or holds a negative number.
    bool next(Entry& entry) {
        if (!read(entry)) return false;
        if (entry.offset() < 0 || entry.size() < 0) return false;
        largestOffset_ = std::max(largestOffset_, entry.offset());
        return true;
    }
    // The same without a look at the numbers.
    bool read(Entry& entry) { return entryInBlock(entry) || entryAcrossBlocks(entry); }
    // To be called behind the last entry: leaves the stream at the first byte behind the table and gives that position,
    // from which offsets count; nothing if one of them would pass the largest position.
    std::optional<std::int64_t> finish() {
        const std::int64_t base = position();
        if (base > kLargestContainer - largestOffset_) return {};
        return base;
    }
    // Leaves the stream behind what was read, and gives that position.
    std::int64_t position() {
        release();
        return in_.tellg();
    }
    // The number of entries for which there can be bytes, at most `count`.
    std::size_t plausible(int count) const {
        const std::int64_t left = total_ < 0 ? std::int64_t{64} * 1024 : total_ - in_.tellg();
        return static_cast<std::size_t>(
            std::clamp<std::int64_t>(left / static_cast<std::int64_t>(kShortestEntry), 0, count));
    }

private:
    bool entryInBlock(Entry& entry) {
        if (window_.size() - at_ < kShortestEntry) return false;
        const char* const start = window_.data() + at_;
        const int length = loadInt(start);
        if (length < 0 || static_cast<std::size_t>(length) > window_.size() - at_ - kShortestEntry) return false;
        entry.name = {start + kIntSize, static_cast<std::size_t>(length)};
        entry.fields = start + kIntSize + length;
        at_ += kShortestEntry + static_cast<std::size_t>(length);
        return true;
    }

    bool entryAcrossBlocks(Entry& entry) {
        release();
        // Offsets are not negative, so a table that goes on beyond the largest position holds one too large.
        if (in_.tellg() > kLargestContainer) return false;
        window_ = in_.buffered();
        if (entryInBlock(entry)) return true;
        window_ = {};
        joined_.clear();
        if (!join(kIntSize)) return false;
        const int length = loadInt(joined_.data());
        const std::size_t rest = static_cast<std::size_t>(length) + kFieldsSize;
        // A length beyond the end is known for a lie before all up to the end has been read.
        if (length < 0 || (total_ >= 0 && total_ - in_.tellg() < static_cast<std::int64_t>(rest))) return false;
        if (!join(rest)) return false;
        entry.name = {joined_.data() + kIntSize, static_cast<std::size_t>(length)};
        entry.fields = joined_.data() + kIntSize + length;
        return true;
    }

    // Moves the stream behind what was looked at in its block.
    void release() {
        in_.consume(at_);
        window_ = {};
        at_ = 0;
    }

    bool join(std::size_t count) {
        while (count > 0) {
            const std::string_view ready = in_.buffered().substr(0, count);
            if (ready.empty()) return false;
            joined_ += ready;
            in_.consume(ready.size());
            count -= ready.size();
        }
        return true;
    }

    UT_IStream& in_;
    const std::int64_t total_;
    std::string_view window_;  // what the stream has in memory
    std::size_t at_ = 0;       // how much of it has been looked at
    std::string joined_;
    int largestOffset_ = 0;
};

// A name ends at its first NUL. The names of one container mostly begin alike, so the end is looked at first.
bool isNamed(const TableScan::Entry& entry, std::string_view name) {
    const std::string_view own = entry.name;
    if (own.size() < name.size() || (own.size() > name.size() && own[name.size()] != '\0')) return false;
    constexpr std::size_t kTail = 8;  // a comparison of this length is one instruction
    if (name.size() >= kTail) {
        const std::size_t rest = name.size() - kTail;
        if (std::memcmp(own.data() + rest, name.data() + rest, kTail) != 0) return false;
    }
    return own.starts_with(name);
}

}  // namespace

std::unique_ptr<SectionTable> SectionTable::read(UT_IStream& in, UT_String& description) {
    const std::optional<int> count = readHeader(in, &description);
    if (!count || *count == 0) return nullptr;
    std::unique_ptr<SectionTable> table(new SectionTable);
    TableScan scan(in);
    table->records_.reserve(scan.plausible(*count));
    TableScan::Entry entry;
    for (int i = 0; i < *count; ++i) {
        if (!scan.next(entry)) return nullptr;
        table->append(entry.name, entry.fields);
    }
    const std::optional<std::int64_t> base = scan.finish();
    if (!base) return nullptr;
    table->base_ = *base;
    return table;
}

void SectionTable::append(std::string_view name, const char* fields) {
    const std::size_t needed = size_ + kFieldsSize + name.size() + 1;
    if (needed > capacity_) {
        // Doubled by realloc: large memory is moved by its pages, and what lies beyond the end isn't touched.
        const std::size_t capacity = std::max({needed, 2 * capacity_, std::size_t{1024}});
        char* const grown = static_cast<char*>(std::realloc(bytes_.get(), capacity));
        if (grown == nullptr) throw std::bad_alloc();
        static_cast<void>(bytes_.release());
        bytes_.reset(grown);
        capacity_ = capacity;
    }
    records_.push_back(static_cast<std::uint32_t>(size_));
    char* const record = bytes_.get() + size_;
    std::memcpy(record, fields, kFieldsSize);
    std::memcpy(record + kFieldsSize, name.data(), name.size());
    record[kFieldsSize + name.size()] = '\0';
    size_ = needed;
}

const char* SectionTable::name(int index) const {
    return bytes_.get() + records_[static_cast<std::size_t>(index)] + kFieldsSize;
}

SectionPlace SectionTable::place(int index) const {
    const char* const fields = bytes_.get() + records_[static_cast<std::size_t>(index)];
    return {static_cast<int>(base_ + loadInt(fields)), loadInt(fields + kIntSize), loadInt(fields + 2 * kIntSize)};
}

void SectionTable::setPlace(int index, const SectionPlace& place) {
    char* const fields = bytes_.get() + records_[static_cast<std::size_t>(index)];
    storeInt(fields, static_cast<int>(place.offset - base_));
    storeInt(fields + kIntSize, place.size);
    storeInt(fields + 2 * kIntSize, place.modTime);
}

// The slot of a name, or the free one in which it would go.
std::size_t SectionTable::slotOf(std::string_view name) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = static_cast<std::size_t>(hashText(name)) & mask;
    while (slots_[slot] != 0 && this->name(static_cast<int>(slots_[slot] - 1)) != name) slot = (slot + 1) & mask;
    return slot;
}

void SectionTable::indexNames() const {
    slots_.assign(std::bit_ceil(records_.size() + records_.size() / 3 + 1), 0);
    // A later section of the same name takes the slot over.
    for (int i = 0; i < entries(); ++i) slots_[slotOf(name(i))] = static_cast<std::uint32_t>(i) + 1;
}

int SectionTable::find(std::string_view name) const {
    if (slots_.empty()) indexNames();
    return static_cast<int>(slots_[slotOf(name)]) - 1;
}

std::optional<SectionPlace> findSection(UT_IStream& in, std::string_view name) {
    const std::optional<int> count = readHeader(in, nullptr);
    if (!count) return {};
    TableScan scan(in);
    TableScan::Entry entry;
    std::optional<SectionPlace> found;
    for (int i = 0; i < *count; ++i) {
        if (!scan.next(entry)) return {};
        if (isNamed(entry, name))
            found = SectionPlace{entry.offset(), entry.size(), loadInt(entry.fields + 2 * kIntSize)};
    }
    const std::optional<std::int64_t> base = scan.finish();
    if (!base) return {};
    if (found) found->offset += static_cast<int>(*base);
    return found;
}

bool holdsContainer(UT_IStream& in) {
    const std::optional<int> count = readHeader(in, nullptr);
    if (!count) return false;
    TableScan scan(in);
    TableScan::Entry entry;
    for (int i = 0; i < *count; ++i) {
        if (!scan.next(entry)) return false;
    }
    return *count == 0 || scan.finish().has_value();
}

TableWalk walkTable(UT_IStream& in, const std::function<void(const TableEntry&)>& visit) {
    TableWalk walk = walkHeader(in, nullptr);
    if (walk.end != TableWalk::End::Whole) return walk;
    TableScan scan(in);
    for (TableScan::Entry entry; walk.entries < walk.count; ++walk.entries) {
        if (!scan.read(entry)) {
            walk.end = TableWalk::End::InTable;
            return walk;
        }
        visit({entry.name.substr(0, entry.name.find('\0')), entry.offset(), entry.size()});
    }
    walk.base = scan.position();
    return walk;
}
