// Container bytes: opened over memory and as a file, listed, read, edited, written and expanded. Whatever the bytes
// say, what the object shows must agree with itself, and what it writes must read back as the same.
#include "Check.h"
#include "Limits.h"
#include "Scratch.h"

#include <UT/UT_ByteSource.h>
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <indexfile/SectionTable.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kLongestInput = 64 * 1024;  // longer tables reach no new code

// Gives bytes in blocks so small that nearly every entry of a table lies across some.
class SmallBlocks : public UT_ByteSource {
public:
    explicit SmallBlocks(std::string_view bytes) : bytes_(bytes) {}
    std::int64_t size() const override { return static_cast<std::int64_t>(bytes_.size()); }
    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        return static_cast<std::int64_t>(from(position).copy(out, count));
    }
    UT_ByteBlock block(std::int64_t position) override {
        const auto copy = std::make_shared<char[]>(kBlock);
        return {.bytes = copy, .start = position, .length = from(position).copy(copy.get(), kBlock)};
    }

private:
    static constexpr std::size_t kBlock = 24;
    std::string_view from(std::int64_t position) const {
        return bytes_.substr(std::min(static_cast<std::size_t>(position), bytes_.size()));
    }
    std::string_view bytes_;
};

// The table alone: all that read it agree, in whatever blocks it comes.
void checkTable(std::string_view bytes) {
    UT_IStream whole(bytes.data(), static_cast<int>(bytes.size()), UT_ISTREAM_BINARY);
    UT_IStream cut(std::make_shared<SmallBlocks>(bytes), UT_ISTREAM_BINARY);
    const bool holds = holdsContainer(whole);
    check(holdsContainer(cut) == holds, "a table in small blocks is as good");
    const auto fromStart = [&]() -> UT_IStream& { return check(cut.seekg(0, 0), "a stream goes back"), cut; };
    UT_String description;
    const auto table = SectionTable::read(fromStart(), description);
    check(holds || !table, "a table that can be used is whole");
    int count = 0;
    const TableWalk walk = walkTable(fromStart(), [&](const TableEntry&) { ++count; });
    check(count == walk.entries && count <= walk.count, "each entry is shown once");
    if (!holds) return;
    check(walk.end == TableWalk::End::Whole && count == walk.count, "of a whole table all entries are shown");
    check((table ? table->entries() : 0) == count, "there are as many entries however they are counted");
    for (int i = 0; i < std::min(count, 64); ++i) {
        const SectionPlace place = table->place(table->find(table->name(i)));
        const auto found = findSection(fromStart(), table->name(i));
        check(found && found->offset == place.offset && found->size == place.size && found->modTime == place.modTime,
              "a section is found at the same place");
    }
}

// The content of a section as a stream of its own gives it; nothing if that isn't as long as promised.
std::string content(const FS_IndexFile& index, const char* name) {
    const std::unique_ptr<FS_ReaderStream> stream(index.getSectionStream(name));
    std::string bytes;
    if (!stream || stream->getStream() == nullptr) return bytes;
    char piece[4096];
    while (const int n = stream->getStream()->bread(piece, sizeof piece)) {
        bytes.append(piece, static_cast<std::size_t>(n));
        check(bytes.size() <= kLongestInput, "a section holds no more than its container");
    }
    return bytes;
}

void checkAgreement(const FS_IndexFile& index, std::size_t size) {
    check(index.getNumSections() >= 0, "a count is not negative");
    check(static_cast<std::size_t>(index.getNumSections()) * 16 <= size,
          "every section has an entry of at least 16 bytes");
    check(index.getSectionName(-1) == nullptr, "no name before the first");
    check(index.getSectionName(index.getNumSections()) == nullptr, "no name behind the last");
    for (int i = 0; i < index.getNumSections(); ++i) {
        const char* name = index.getSectionName(i);
        check(name != nullptr && index.hasSection(name), "every listed section is found");
        check(index.getSectionDataSizeAt(i) >= 0, "a size is not negative");
    }
}

// Written out and read back: the same names, sizes, times and bytes, unless a section could not be delivered.
void checkRoundTrip(FS_IndexFile& index) {
    std::ostringstream out;
    index.writeFile(out);
    if (!out.good()) return;
    const std::string bytes = out.str();
    FS_IndexFile back(new FS_Reader(new FS_ReaderStream(bytes.data(), static_cast<int>(bytes.size()), 0)));
    check(back.getNumSections() == index.getNumSections(), "as many sections as before");
    for (int i = 0; i < back.getNumSections(); ++i) {
        check(std::string(back.getSectionName(i)) == index.getSectionName(i), "the same name");
        check(back.getSectionDataSizeAt(i) == index.getSectionDataSizeAt(i), "the same size");
        check(back.getSectionModTimeAt(i) == index.getSectionModTimeAt(i), "the same time");
    }
}

void edit(FS_IndexFile& index) {
    const int before = index.getNumSections();
    index.moveSections(0, before / 2, 1);
    index.moveSections(-1, before, before);
    if (before > 0) {
        const std::string first = index.getSectionName(0);
        index.modifySection(first.c_str(), "abc", 3, 7);
        check(content(index, first.c_str()) == "abc", "an edit shows at once");
        index.removeSection(first.c_str());
        check(index.getNumSections() == before - 1, "one section less");
    }
    index.addSection("\x01 added", "x", 1, -1);
    index.setDescription("edited");
    checkRoundTrip(index);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    static const Scratch scratch;
    const auto* bytes = reinterpret_cast<const char*>(data);
    FS_IndexFile memory(new FS_Reader(new FS_ReaderStream(bytes, static_cast<int>(size), 0)));
    checkAgreement(memory, size);
    checkTable({bytes, size});

    scratch.write("x.idx", data, size);
    FS_IndexFile file(scratch.path("x.idx").c_str());
    check(file.getNumSections() == memory.getNumSections(), "a file reads like memory");
    for (int i = 0; i < std::min(file.getNumSections(), 64); ++i) {
        const char* name = file.getSectionName(i);
        const std::string streamed = content(file, name);
        // A section that promises more than there is wants a buffer for all of it from whoever reads it whole.
        if (static_cast<std::size_t>(file.getSectionDataSize(name)) == streamed.size()) {
            std::string whole(streamed.size(), '\0');
            memory.readSection(name, whole.data());
            check(whole == streamed, "a section reads the same whole and as a stream");
        }
        FS_Reader path((scratch.path("x.idx") + "?" + name).c_str());
        if (std::string(name).find('?') == std::string::npos)
            check((path.getStream() != nullptr) == true, "a listed section opens by its path");
    }
    checkRoundTrip(file);
    // Expanding writes what the sections hold, so small promises only.
    if (size <= 4096 && file.expandToDirectory(scratch.path("out").c_str())) {
        FS_IndexFile back;
        check(back.collapseFromDirectory(scratch.path("out").c_str()), "what was expanded collapses");
    }
    edit(memory);
    scratch.clear();
    return 0;
}
