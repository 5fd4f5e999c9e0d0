#pragma once
// Private: the table of a container as validated bytes, and the one scan that both reading and finding a section share.
//
//     if (const auto place = findSection(stream, "geo"))
//         return stream.getSubStream(place->offset, place->size);
//
// A table is all or nothing: an entry that is cut short, has a negative offset or size, or begins behind position
// 2147483647 of its stream leaves no section at all. No count and no length in the bytes is trusted: memory follows
// what the stream really holds.
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

class UT_IStream;
class UT_String;

struct SectionPlace {
    int offset = 0;   // position in the stream of the first stored byte
    int size = 0;     // stored bytes
    int modTime = 0;  // seconds since the epoch
};

class SectionTable {
public:
    // Reads the container that begins where `in` stands; null if it has no sections or isn't whole. A description that
    // could be read goes to `description` in any case.
    static std::unique_ptr<SectionTable> read(UT_IStream& in, UT_String& description);

    int entries() const { return static_cast<int>(records_.size()); }
    // By index, which must be in range. Names live as long as the table.
    const char* name(int index) const;
    SectionPlace place(int index) const;
    void setPlace(int index, const SectionPlace& place);
    // The index of a name, of the last section that bears it; -1 for an unknown name. The first call makes an index of
    // all names.
    int find(std::string_view name) const;

private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    SectionTable() = default;
    void append(std::string_view name, const char* fields);
    std::size_t slotOf(std::string_view name) const;
    void indexNames() const;

    // One record for each entry, back to back: the three fields as they were stored, the name, a NUL. Nothing is
    // allocated for an entry by itself: touching memory for the first time costs more than reading the table does.
    std::unique_ptr<char, Free> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::vector<std::uint32_t> records_;  // where each begins in bytes_
    std::int64_t base_ = 0;               // stream position from which the stored offsets count
    // Open addressing, at most three quarters full: index + 1, or 0 for a free slot. Empty until the first find().
    mutable std::vector<std::uint32_t> slots_;
};

// The place of a section in the container that begins where `in` stands; of two with one name the last. One pass over
// the whole table, which must be valid, with no memory beyond the stream's block and the longest name.
std::optional<SectionPlace> findSection(UT_IStream& in, std::string_view name);
// True if a whole container, with or without sections, begins where `in` stands.
bool holdsContainer(UT_IStream& in);

// What a look at a table has met.
struct TableWalk {
    enum class End { Whole, NoMagic, NewerVersion, InHeader, InTable };  // where it had to stop
    End end = End::NoMagic;
    int version = 0;
    int count = 0;          // entries as the header says, 0 for any number below 1
    int entries = 0;        // entries that are there
    std::int64_t base = 0;  // the position from which offsets count; 0 unless the walk came so far
};
struct TableEntry {
    std::string_view name;
    int offset = 0;  // as stored
    int size = 0;
};
// For telling what is wrong: reads the container that begins where `in` stands as the others do, but goes on behind an
// entry whose numbers they refuse.
TableWalk walkTable(UT_IStream& in, const std::function<void(const TableEntry&)>& visit);
