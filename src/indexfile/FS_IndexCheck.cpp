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
    // The name, one that is longer shortened to `most`: a thousand faults may hold it.
    std::string shown(std::size_t i, int most) const {
        std::string_view whole = name(i);
        // No more is copied than may be shown: what all faults of a container tell of may be one name of megabytes.
        const auto part = static_cast<std::size_t>(most);
        std::string ends(whole.substr(0, part));
        if (whole.size() > 2 * part) whole = ends += whole.substr(whole.size() - part);
        UT_String text(whole);
        text.truncateMiddle(most);
        return std::string(text.view());
    }
    // '"geo" (3)'
    std::string told(std::size_t i) const {
        constexpr int kLongest = 40;
        return '"' + shown(i, kLongest) + "\" (" + std::to_string(i) + ")";
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
    else if (note())
        add(path != nullptr ? path : "", "can't be read");
}

FS_IndexCheck::FS_IndexCheck(UT_IStream& in, const std::string& path, bool nested) : nested_(nested) {
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
    std::string fault;
    switch (walk.end) {
        case TableWalk::End::Whole:
            return true;
        case TableWalk::End::NoMagic:
            fault = level.isEmpty ? "not a container: it is empty" : "not a container: it doesn't begin with \"INDX\"";
            break;
        case TableWalk::End::NewerVersion:
            fault = "container of a newer version (" + std::to_string(walk.version) + "); this library reads version " +
                    std::to_string(kVersion);
            break;
        case TableWalk::End::InHeader:
            fault = "ends in its header";
            break;
        case TableWalk::End::InTable:
            fault = "the table ends behind " + std::to_string(walk.entries) + " of its " + std::to_string(walk.count) +
                    " sections";
            break;
    }
    if (note()) add(level.path, std::move(fault));
    return walk.end == TableWalk::End::InTable;
}

void FS_IndexCheck::checkNumbers(const Level& level) {
    const bool knowsBase = level.walk.end == TableWalk::End::Whole;
    for (std::size_t i = 0; i < level.entries.size(); ++i) {
        const Level::Entry& entry = level.entries[i];
        const auto tell = [&](const std::string& text) {
            if (note()) add(level.path, "section " + level.told(i) + ": " + text);
        };
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
        if (level.name(order[i]) == level.name(order[i - 1]) && note())
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
            if (note())
                add(level.path, "section " + level.told(order[i]) + ": shares " + bytes(shared) + " with section " +
                                    level.told(last));
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
        constexpr int kLongest = 255;
        const std::string path = level.path + '?' + level.shown(i, kLongest);
        if (depth < kDeepest)
            check(*inner, path, depth + 1);
        else if (note())
            add(path, "lies deeper than " + std::to_string(kDeepest) + " containers; it wasn't checked");
    }
}

// Counts a fault. True while it is to be told in words, which take longer to make than to leave out.
bool FS_IndexCheck::note() {
    return ++faultCount_ <= static_cast<std::int64_t>(kMostFaults);
}
