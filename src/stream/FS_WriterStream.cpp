// A file is written where it stands; a section is collected in a temporary file, which SectionCommit puts into its
// container at the end.
#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <platform/FileStatus.h>
#include <platform/FileStreamBuf.h>
#include <platform/TempFile.h>
#include <stream/FS_WriterStream.h>
#include <stream/PathForm.h>
#include <stream/SectionCommit.h>

#include <new>
#include <optional>
#include <string>

using platform::FileOutput;
using platform::Outcome;

struct FS_WriterStream::State {
    std::string filename;          // absolute, with any "?" in it; empty for a stream that was adopted
    bool section = false;          // it is collected in `temporary`
    platform::TempFile temporary;  // outlives the stream that writes to it
    std::unique_ptr<std::ostream> stream;
    std::optional<Outcome> outcome;  // once the stream has been finished

    ~State();
    void open(const char* dest);
    bool finish(bool removeFile);
    Outcome closeStream();
    Outcome finishSection(bool removeFile);
};

FS_WriterStream::State::~State() {
    try {
        finish(false);
    } catch (const std::bad_alloc&) {
        // Nobody is left to be told. A container is as it was.
    }
}

void FS_WriterStream::State::open(const char* dest) {
    UT_String path(dest, 1);
    UTmakeAbsoluteFilePath(path, nullptr);
    filename = path.view();
    if (filename.empty()) return;
    section = splitSection(filename).has_value();
    if (section) {
        temporary = platform::TempFile::make();
        stream = std::make_unique<FileOutput>(temporary.fd(), temporary.error());
    } else {
        stream = std::make_unique<FileOutput>(filename.c_str());
    }
}

// Closed here and not by the destructor: what fails in flushing and closing must be heard.
Outcome FS_WriterStream::State::closeStream() {
    auto* const file = dynamic_cast<FileOutput*>(stream.get());
    const bool whole = file != nullptr ? file->close() : !stream->flush().fail();
    const int error = file != nullptr ? file->error() : 0;
    stream.reset();
    if (whole) return platform::success();
    if (error == 0) return platform::failure(filename + ": the output failed before it was whole");
    if (!section) return platform::failure(filename, error);
    return platform::failure(temporary ? temporary.path() : "temporary file in $TMPDIR", error);
}

Outcome FS_WriterStream::State::finishSection(bool removeFile) {
    Outcome closed = closeStream();
    if (!closed.done) {
        temporary.remove();
        closed.reason += "; nothing was written";
        return closed;
    }
    if (!removeFile) return commitSection(filename, std::move(temporary));
    temporary.remove();
    return removeSection(filename);
}

bool FS_WriterStream::State::finish(bool removeFile) {
    if (!stream) return false;
    if (section) {
        outcome = finishSection(removeFile);
        return outcome->done;
    }
    outcome = closeStream();
    if (!removeFile) return true;
    const int error = platform::removeFile(filename.c_str());
    outcome = error == 0 ? platform::success() : platform::failure(filename, error);
    return outcome->done;
}

FS_WriterStream::FS_WriterStream() : state_(std::make_shared<State>()) {}

FS_WriterStream::FS_WriterStream(const char* dest) : FS_WriterStream() {
    FS_WriterStream::init(dest);
}

FS_WriterStream::FS_WriterStream(const FS_WriterStream&) = default;
FS_WriterStream& FS_WriterStream::operator=(const FS_WriterStream&) = default;
FS_WriterStream::~FS_WriterStream() = default;

std::ostream* FS_WriterStream::getStream() const {
    return state_->stream.get();
}

bool FS_WriterStream::removeFile() {
    return end(true, "could not be removed");
}

bool FS_WriterStream::finish(UT_String* reason) {
    if (!state_->outcome) end(false, "could not be finished");
    const Outcome& outcome = *state_->outcome;
    if (reason != nullptr && !outcome.done) reason->harden(std::string_view(outcome.reason));
    return outcome.done;
}

// Gives what destroy answers. A derived class may end in its own way, and then knows only yes and no.
bool FS_WriterStream::end(bool removeFile, const char* failed) {
    std::optional<Outcome>& outcome = state_->outcome;
    const bool before = outcome.has_value();
    const bool answer = destroy(removeFile);
    if (before) return answer;
    if (!answer && (!outcome || outcome->done))
        outcome = platform::failure((state_->filename.empty() ? "the output" : state_->filename + ":") + " " + failed);
    if (!outcome) outcome = platform::success();
    return answer;
}

bool FS_WriterStream::init(const char* dest) {
    state_->finish(false);
    state_->outcome.reset();
    state_->open(dest);
    return state_->stream != nullptr;
}

bool FS_WriterStream::destroy(bool removeFile) {
    return state_->finish(removeFile);
}

void FS_WriterStream::adoptStream(std::ostream* stream) {
    state_->finish(false);
    state_->filename.clear();
    state_->section = false;
    state_->outcome.reset();
    state_->stream.reset(stream);
}
