// The place of the first byte behind the table follows from the names, so the bytes are written there as they are read,
// and the table goes into the room in front of them at the end.
#include <UT/FilePrefix.h>
#include <UT/FileSource.h>
#include <UT/Saturated.h>
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <UT/UT_SymbolTable.h>
#include <indexfile/FS_IndexWriter.h>
#include <platform/FileReplace.h>
#include <platform/FileStatus.h>
#include <stream/AskHelpers.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/PathForm.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "IndexFormat.h"
#include "IndexParts.h"
#include "TableWriter.h"

using namespace indexformat;
using platform::failure;
using platform::Outcome;

namespace {

// Read and written in pieces of this size, in memory that is used again for every file.
constexpr std::size_t kBlock = 256 * 1024;

}  // namespace

struct FS_IndexWriter::State {
    explicit State(std::string path)
        : outcome(path.empty() ? failure("no path") : mayReplace(path, platform::fileStatus(path.c_str()))) {
        // What may not be replaced isn't even opened: a pipe would wait for somebody who reads it.
        if (!outcome.done) return;
        file.emplace(std::move(path), platform::ReplaceBy::Copy);
        outcome = file->error();
    }

    bool canWrite() { return file && file->stream().good(); }
    // Everything that was named is counted, so that the table's size is known before the first byte of a section.
    std::int64_t position() const { return tableSize + bytes; }
    void begin();
    bool write(const char* data, std::size_t count);
    bool copy(const char* path);
    bool copyFile(UT_ByteSource& source);
    bool copyStream(UT_IStream& in);
    bool fail(std::string reason);
    void writeTable();

    struct Entry {
        int size = 0;
        int time = 0;
    };
    Outcome outcome;                                // the first failure ends everything
    std::optional<platform::ReplacementFile> file;  // none for a target that may not be replaced
    UT_String description;
    UT_SymbolTable names;
    std::vector<Entry> entries;  // of the files so far
    std::int64_t tableSize = static_cast<std::int64_t>(kMagic.size() + 3 * kIntSize);
    std::int64_t bytes = 0;  // of the sections so far
    std::unique_ptr<char[]> block;
};

bool FS_IndexWriter::State::fail(std::string reason) {
    outcome = failure(std::move(reason));
    return false;
}

// Leaves room for the table.
void FS_IndexWriter::State::begin() {
    if (block) return;
    block = std::make_unique_for_overwrite<char[]>(kBlock);
    tableSize += static_cast<std::int64_t>(description.view().size());
    entries.reserve(names.entries());
    file->stream().seekp(tableSize);
}

bool FS_IndexWriter::State::write(const char* data, std::size_t count) {
    bytes += static_cast<std::int64_t>(count);
    if (position() > kLargestContainer) return fail(kTooLarge);
    file->stream().write(data, static_cast<std::streamsize>(count));
    return canWrite();
}

bool FS_IndexWriter::State::copyFile(UT_ByteSource& source) {
    const std::int64_t size = source.size();
    if (size > kLargestContainer) return fail(kSectionTooLarge);
    for (std::int64_t done = 0; size < 0 || done < size;) {
        const std::int64_t left = size < 0 ? static_cast<std::int64_t>(kBlock) : size - done;
        const std::int64_t got =
            source.readAt(done, block.get(), static_cast<std::size_t>(std::min<std::int64_t>(left, kBlock)));
        if (got < 0 || (got == 0 && size >= 0)) return fail("can't be read to its end");
        if (got == 0) break;
        if (!write(block.get(), static_cast<std::size_t>(got))) return false;
        done += got;
    }
    return true;
}

bool FS_IndexWriter::State::copyStream(UT_IStream& in) {
    for (std::string_view ready = in.buffered(); !ready.empty(); ready = in.buffered()) {
        if (!write(ready.data(), ready.size())) return false;
        in.consume(ready.size());
    }
    return !in.hasFailed() || fail("can't be read to its end");
}

bool FS_IndexWriter::State::copy(const char* path) {
    const std::int64_t before = bytes;
    std::int64_t time = 0;
    FS_Reader reader;
    const bool isSection = splitSection(path).has_value();
    if (isSection)
        reader = FS_Reader(path);
    else if (auto served = streamFromHelpers(path))
        reader = FS_Reader(served.release());
    if (reader.getStream() != nullptr || isSection) {
        if (!reader.isGood()) return fail("can't be opened for reading");
        time = reader.getModTime();
        if (!copyStream(*reader.getStream())) return false;
        if (isSection && bytes - before != reader.getLength()) return fail("can't be read to its end");
    } else {
        // What is a local file after all goes without a stream: a call each to open, look, read and close.
        const OpenedFile opened = openFileSource(stripFilePrefix(path).data());
        if (!opened.source) return fail("can't be opened for reading");
        time = opened.time;
        if (!copyFile(*opened.source)) return false;
    }
    entries.push_back({static_cast<int>(bytes - before), saturated(time)});
    return true;
}

void FS_IndexWriter::State::writeTable() {
    TableWriter table(file->stream(), description.buffer(), static_cast<int>(entries.size()));
    auto name = names.begin();
    for (const Entry& entry : entries) {
        table.add(name.name(), entry.size, entry.time);
        ++name;
    }
}

FS_IndexWriter::FS_IndexWriter(const char* path)
    : state_(std::make_unique<State>(std::string(stripFilePrefix(textscan::viewOf(path))))) {}

FS_IndexWriter::~FS_IndexWriter() = default;

void FS_IndexWriter::setDescription(const char* text) {
    if (!state_->block) state_->description.harden(text);
}

bool FS_IndexWriter::addName(const char* name) {
    if (name == nullptr || state_->block) return false;
    const unsigned before = state_->names.entries();
    state_->names.addSymbol(name, UT_Thing());
    if (state_->names.entries() == before) return false;
    state_->tableSize += static_cast<std::int64_t>(kShortestEntry + std::string_view(name).size());
    return true;
}

bool FS_IndexWriter::addFile(const char* fileName, UT_String* reason) {
    State& state = *state_;
    if (!state.canWrite()) return true;  // told by finish()
    if (state.outcome.done) {
        state.begin();
        if (fileName == nullptr)
            state.fail("no path");
        else if (state.entries.size() == state.names.entries())
            state.fail("has no name among the sections");
        else if (state.copy(fileName) || !state.canWrite())
            return true;
    }
    if (reason != nullptr) reason->harden(std::string_view(state.outcome.reason));
    return false;
}

bool FS_IndexWriter::finish(UT_String* reason) {
    State& state = *state_;
    if (state.outcome.done && state.canWrite() && state.entries.size() != state.names.entries())
        state.fail("a named section has got no file");
    if (state.outcome.done) {
        state.begin();
        state.file->stream().seekp(0);
        state.writeTable();
        state.outcome = state.file->commit();
    }
    const bool done = state.outcome.done;
    if (reason != nullptr && !done) reason->harden(std::string_view(state.outcome.reason));
    state.fail("already finished");
    return done;
}
