// Looks at the entries of a table one by one and at all of them together. Two sorted lists find what two entries have
// in common.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexCheck.h>
#include <stream/FS_Reader.h>

#include <algorithm>
#include <memory>
#include <numeric>

#include "IndexFormat.h"
#include "SectionTable.h"

using namespace indexformat;

namespace {

std::string bytes(std::int64_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

}  // namespace

// One container: its entries, with their names in one stretch of memory.
struct FS_IndexCheck::Level {
    struct Entry {
        std::size_t name = 0;  // where it begins in names
        std::size_t nameLength = 0;
        int offset = 0;
        int size = 0;
        std::int64_t end() const { return std::int64_t{offset} + size; }
        bool isPlace() const { return offset >= 0 && size >= 0; }
    };

    std::string path;
    bool isEmpty = false;
    std::int64_t total = 0;  // bytes of the stream; -1 if unknown
    TableWalk walk;
    std::vector<Entry> entries;
    std::string names;

    std::string_view name(std::size_t i) const {
        return std::string_view(names).substr(entries[i].name, entries[i].nameLength);
    }
    // '"geo" (3)', a long name shortened.
    std::string told(std::size_t i) const {
        constexpr int kLongestName = 40;
        UT_String shown;
        shown.harden(name(i));
        shown.truncateMiddle(kLongestName);
        return '"' + std::string(shown.view()) + "\" (" + std::to_string(i) + ")";
    }
    // The entries for which `isWanted` gives true, in the order that `before` makes.
    template <class IsWanted, class Before>
    std::vector<std::uint32_t> sorted(IsWanted isWanted, Before before) const {
        std::vector<std::uint32_t> order;
        for (std::uint32_t i = 0; i < entries.size(); ++i)
            if (isWanted(entries[i])) order.push_back(i);
        std::stable_sort(order.begin(), order.end(), before);
        return order;
    }
};

FS_IndexCheck::FS_IndexCheck(const char* path, bool nested) : nested_(nested) {
    FS_Reader reader(path);
    if (reader.isGood())
        check(*reader.getStream(), path, 0);
    else
        add(path != nullptr ? path : "", "can't be read");
}

FS_IndexCheck::FS_IndexCheck(UT_IStream& in, std::string path, bool nested) : nested_(nested) {
    check(in, path, 0);
}

void FS_IndexCheck::check(UT_IStream& in, const std::string& path, int depth) {
    Level level{path, in.buffered().empty(), in.getSize(), {}, {}, {}};
    level.walk = walkTable(in, [&level](const TableEntry& entry) {
        level.entries.push_back({level.names.size(), entry.name.size(), entry.offset, entry.size});
        level.names += entry.name;
    });
    if (depth == 0) {
        sections_ = level.walk.entries;
        tableEnd_ = level.walk.base;
    }
    if (!checkHeader(level)) return;
    checkNumbers(level);
    checkNames(level);
    const bool separate = checkOverlaps(level);
    if (level.walk.end != TableWalk::End::Whole) return;
    if (depth == 0 && faultCount_ == 0 && level.total >= 0)
        unused_ = std::accumulate(level.entries.begin(), level.entries.end(), level.total - level.walk.base,
                                  [](std::int64_t left, const Level::Entry& entry) { return left - entry.size; });
    // Sections that share bytes could make the same containers be looked at without end.
    if (nested_ && separate) checkNested(level, in, depth);
}

// False when nothing of the table can be known.
bool FS_IndexCheck::checkHeader(const Level& level) {
    const TableWalk& walk = level.walk;
    switch (walk.end) {
        case TableWalk::End::Whole:
            return true;
        case TableWalk::End::NoMagic:
            add(level.path,
                level.isEmpty ? "not a container: it is empty" : "not a container: it doesn't begin with \"INDX\"");
            return false;
        case TableWalk::End::NewerVersion:
            add(level.path, "container of a newer version (" + std::to_string(walk.version) +
                                "); this library reads version " + std::to_string(kVersion));
            return false;
        case TableWalk::End::InHeader:
            add(level.path, "ends in its header");
            return false;
        case TableWalk::End::InTable:
            break;
    }
    add(level.path, "the table ends behind " + std::to_string(walk.entries) + " of its " + std::to_string(walk.count) +
                        " sections");
    return true;
}

void FS_IndexCheck::checkNumbers(const Level& level) {
    const bool knowsBase = level.walk.end == TableWalk::End::Whole;
    for (std::size_t i = 0; i < level.entries.size(); ++i) {
        const Level::Entry& entry = level.entries[i];
        const auto tell = [&](const std::string& text) { add(level.path, "section " + level.told(i) + ": " + text); };
        if (entry.offset < 0) tell("its offset is negative (" + std::to_string(entry.offset) + ")");
        if (entry.size < 0) tell("its size is negative (" + std::to_string(entry.size) + ")");
        if (!knowsBase || !entry.isPlace()) continue;
        if (level.walk.base + entry.offset > kLargestContainer)
            tell("begins behind position " + std::to_string(kLargestContainer));
        else if (const std::int64_t over = level.walk.base + entry.end() - level.total; level.total >= 0 && over > 0)
            tell("reaches " + bytes(over) + " beyond the end");
    }
}

void FS_IndexCheck::checkNames(const Level& level) {
    const auto order =
        level.sorted([](const Level::Entry&) { return true; },
                     [&level](std::uint32_t a, std::uint32_t b) { return level.name(a) < level.name(b); });
    for (std::size_t i = 1; i < order.size(); ++i)
        if (level.name(order[i]) == level.name(order[i - 1]))
            add(level.path,
                "section " + level.told(order[i]) + ": has the name of section " + std::to_string(order[i - 1]));
}

// True if no two sections share a byte.
bool FS_IndexCheck::checkOverlaps(const Level& level) {
    const auto order = level.sorted(
        [](const Level::Entry& entry) { return entry.isPlace() && entry.size > 0; },
        [&level](std::uint32_t a, std::uint32_t b) { return level.entries[a].offset < level.entries[b].offset; });
    bool separate = true;
    std::uint32_t last = 0;  // of those so far the one that reaches furthest
    for (std::size_t i = 0; i < order.size(); ++i) {
        const Level::Entry& entry = level.entries[order[i]];
        if (i > 0 && entry.offset < level.entries[last].end()) {
            const std::int64_t shared = std::min(entry.end(), level.entries[last].end()) - entry.offset;
            add(level.path,
                "section " + level.told(order[i]) + ": shares " + bytes(shared) + " with section " + level.told(last));
            separate = false;
        }
        if (i == 0 || entry.end() > level.entries[last].end()) last = order[i];
    }
    return separate;
}

void FS_IndexCheck::checkNested(const Level& level, UT_IStream& in, int depth) {
    for (std::size_t i = 0; i < level.entries.size(); ++i) {
        const Level::Entry& entry = level.entries[i];
        if (!entry.isPlace() || entry.size == 0) continue;
        const std::unique_ptr<UT_IStream> inner(in.getSubStream(level.walk.base + entry.offset, entry.size));
        if (!inner->buffered().starts_with(kMagic)) continue;
        const std::string path = level.path + '?' + std::string(level.name(i));
        if (depth < kDeepest)
            check(*inner, path, depth + 1);
        else
            add(path, "lies deeper than " + std::to_string(kDeepest) + " containers; it wasn't checked");
    }
}

void FS_IndexCheck::add(const std::string& path, std::string text) {
    ++faultCount_;
    if (faults_.size() < kMostFaults) faults_.push_back({path, std::move(text)});
}
