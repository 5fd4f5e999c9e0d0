// Writes the container of a section anew. Here stream calls into indexfile: every level of a section path is one
// FS_IndexFile.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <indexfile/SectionTable.h>
#include <platform/FileReplace.h>
#include <platform/FileStatus.h>
#include <stream/AskHelpers.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/FilterPair.h>
#include <stream/PathForm.h>
#include <stream/SectionCommit.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <vector>

using platform::FileOutput;
using platform::Outcome;
using platform::ReplaceBy;
using platform::ReplacementFile;
using platform::TempFile;

namespace {

struct Level {
    std::string_view container;  // the path of the container; the outermost is a file
    std::string_view section;    // the name in it
    std::unique_ptr<FS_IndexFile> index;
};

Outcome untouched(std::string_view path, std::string_view why) {
    return platform::failure(std::string(path).append(": ").append(why).append("; nothing was written"));
}

// The innermost level first, the real file last.
std::vector<Level> levelsOf(std::string_view path) {
    std::vector<Level> levels;
    while (const auto split = splitSection(path)) {
        levels.push_back({split->container, split->section, nullptr});
        path = split->container;
    }
    return levels;
}

// Why a file that should be a container gives no stream; nothing when it is simply not there.
std::string whyUnreadable(const std::string& path) {
    const auto status = platform::fileStatus(path.c_str());
    if (status.error == ENOENT) return {};
    if (!status) return platform::errorWords(status.error);
    if (status.isDirectory()) return platform::errorWords(EISDIR);
    constexpr int kRead = 4;
    const int error = platform::accessFile(path.c_str(), kRead);
    return error != 0 ? platform::errorWords(error) : "cannot be read";
}

// Only what is empty may become a container without having been one: everything else is somebody's data.
Outcome openContainer(Level& level, std::unique_ptr<FS_Reader> reader) {
    UT_IStream& stream = *reader->getStream();
    if (stream.buffered().empty()) {
        if (stream.hasFailed() || reader->getLength() != 0) return untouched(level.container, "cannot be read whole");
        level.index = std::make_unique<FS_IndexFile>();
        return platform::success();
    }
    // A helper's container may begin anywhere.
    const std::int64_t begin = stream.tellg();
    if (!holdsContainer(stream)) return untouched(level.container, "not a container");
    if (!stream.seekg(begin, 0)) return untouched(level.container, "cannot be read from the beginning");
    // Memory is taken before the reader lets go, unlike with make_unique.
    level.index.reset(new FS_IndexFile(reader.release()));  // NOLINT(modernize-make-unique)
    if (!canUndo(level.index->getEncryptionFilter(), level.index->getDecryptionFilter()))
        return untouched(level.container, "its filters are no pair");
    return platform::success();
}

Outcome openFile(Level& level) {
    const std::string path(level.container);
    std::unique_ptr<FS_ReaderStream> served = streamFromHelpers(path.c_str());
    // What a helper reads as a container need not be one as it lies there, and only as such it is written.
    if (served && platform::fileStatus(path.c_str()).size > 0) {
        UT_IStream stored(UTmakeFileSource(path.c_str()), UT_ISTREAM_BINARY);
        if (!holdsContainer(stored)) return untouched(path, "not a container as it is stored");
    }
    if (!served) served = std::make_unique<FS_ReaderStream>(path.c_str());
    std::unique_ptr<FS_Reader> reader(new FS_Reader(served.release()));
    if (reader->isGood()) return openContainer(level, std::move(reader));
    if (const std::string why = whyUnreadable(path); !why.empty()) return untouched(path, why);
    level.index = std::make_unique<FS_IndexFile>();
    return platform::success();
}

Outcome openSection(Level& level, const Level& outer) {
    const std::string name(outer.section);
    if (!outer.index->hasSection(name.c_str())) {
        level.index = std::make_unique<FS_IndexFile>();
        return platform::success();
    }
    std::unique_ptr<FS_Reader> reader(outer.index->getSectionReader(name.c_str()));
    if (!reader || !reader->isGood()) return untouched(level.container, "cannot be read");
    return openContainer(level, std::move(reader));
}

// From the outermost inwards, so that each level is opened once.
Outcome openLevels(std::vector<Level>& levels) {
    Outcome outcome = openFile(levels.back());
    for (std::size_t i = levels.size() - 1; i > 0 && outcome.done; --i) outcome = openSection(levels[i - 1], levels[i]);
    return outcome;
}

Outcome write(const Level& level, FileOutput& out, const std::string& temporary) {
    level.index->writeFile(out);
    out.flush();
    if (!out.fail()) return platform::success();
    if (out.error() != 0) return untouched(temporary, platform::errorWords(out.error()));
    const UT_String& why = level.index->getWriteFailure();
    return untouched(level.container, why.isNull() ? "cannot be written whole" : why.view());
}

// Puts `content` into the level, or takes its section out if there is none.
Outcome change(const Level& level, const TempFile& content) {
    const std::string name(level.section);
    if (!content) {
        level.index->removeSection(name.c_str());
        return platform::success();
    }
    UT_String reason;
    // Opened as the plain file that it is, whatever its path looks like to helpers and to the section rule.
    const FS_Reader collected(new FS_ReaderStream(content.path().c_str()));
    if (level.index->linkSection(name.c_str(), collected, &reason)) return platform::success();
    return untouched(std::string(level.container) + '?' + name, reason.view());
}

// Each level is written to a temporary, which is the content of the next one outwards.
Outcome rewrite(const std::string& path, TempFile content) {
    std::vector<Level> levels = levelsOf(path);
    if (levels.empty()) return untouched(path, "not a section path");
    if (Outcome opened = openLevels(levels); !opened.done) return opened;
    ReplacementFile file(std::string(levels.back().container), ReplaceBy::Copy);
    if (!file.error().done) return file.commit();

    for (Level& level : levels) {
        if (Outcome changed = change(level, content); !changed.done) return changed;
        if (&level == &levels.back()) break;
        TempFile next = TempFile::make();
        FileOutput out(next.fd(), next.error());
        if (Outcome written = write(level, out, next.path()); !written.done) return written;
        content = std::move(next);
        level.index.reset();
    }
    if (Outcome written = write(levels.back(), file.stream(), file.temporary()); !written.done) return written;
    return file.commit();
}

}  // namespace

Outcome commitSection(const std::string& path, TempFile content) {
    return rewrite(path, std::move(content));
}

Outcome removeSection(const std::string& path) {
    return rewrite(path, TempFile());
}
