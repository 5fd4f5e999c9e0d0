#include <UT/FilePrefix.h>
#include <UT/FileSource.h>
#include <UT/Saturated.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Path.h>
#include <platform/FileStatus.h>
#include <stream/FS_FilterFactory.h>
#include <stream/FS_ReaderStream.h>

#include <ctime>

namespace {

// Length and time are those of the path as given, the bytes those of its absolute form. Only behind a "file:", which
// means nothing to the system, do the two name different files; everywhere else the opening has learnt both.
bool namesOneFile(const char* given) {
    const std::string_view text(given);
    return stripFilePrefix(text).size() == text.size();
}

}  // namespace

FS_ReaderStream::FS_ReaderStream() : modTime(saturated(std::time(nullptr))) {}

FS_ReaderStream::FS_ReaderStream(const char* file) : filename(file, 1) {
    UTmakeAbsoluteFilePath(filename, nullptr);
    if (filename.isEmpty()) return;
    OpenedFile opened = openFileSource(filename.buffer());
    if (opened.hasStatus && namesOneFile(file)) {
        length = saturated(opened.size);
        modTime = saturated(opened.time);
    } else if (const platform::FileStatus status = platform::fileStatus(file)) {
        length = saturated(status.size);
        modTime = saturated(status.time);
    }
    stream = std::make_shared<UT_IStream>(std::move(opened.source), UT_ISTREAM_BINARY);
}

FS_ReaderStream::FS_ReaderStream(OpenedFile opened, std::string_view file)
    : stream(std::make_shared<UT_IStream>(std::move(opened.source), UT_ISTREAM_BINARY)),
      filename(file),
      length(saturated(opened.size)),
      modTime(saturated(opened.time)) {}

FS_ReaderStream::FS_ReaderStream(const char* buffer, int bytes, int seconds)
    : stream(std::make_shared<UT_IStream>(buffer, bytes, UT_ISTREAM_BINARY)), length(bytes), modTime(seconds) {}

FS_ReaderStream::FS_ReaderStream(std::shared_ptr<const char[]> buffer, int bytes, int seconds)
    : stream(std::make_shared<UT_IStream>(std::move(buffer), bytes, UT_ISTREAM_BINARY)),
      length(bytes),
      modTime(seconds) {}

FS_ReaderStream::FS_ReaderStream(FS_ReaderStream& source, std::int64_t start, std::int64_t size, std::int64_t dataSize,
                                 const FS_IStreamFilterFactory* factory)
    : filename(source.filename),
      length(static_cast<int>(static_cast<std::uint32_t>(dataSize))),
      modTime(source.modTime) {
    if (filename.isEmpty() || !source.stream) return;
    stream.reset(source.stream->getSubStream(start, size));
    // Assigned after the call: the stored bytes must be there for as long as the filter looks at their stream.
    if (factory != nullptr) stream = std::shared_ptr<UT_IStream>(factory->createFilteredStream(stream.get()));
}

FS_ReaderStream::FS_ReaderStream(const FS_ReaderStream&) = default;

FS_ReaderStream& FS_ReaderStream::operator=(const FS_ReaderStream& other) {
    // What was held goes in the destructor's order.
    stream = other.stream;
    readFilterFactory = other.readFilterFactory;
    writeFilterFactory = other.writeFilterFactory;
    filename = other.filename;
    length = other.length;
    modTime = other.modTime;
    return *this;
}

FS_ReaderStream::~FS_ReaderStream() {
    stream.reset();
    readFilterFactory.reset();
    writeFilterFactory.reset();
}

bool FS_ReaderStream::isGood() const {
    return stream && !stream->isEof();
}

void FS_ReaderStream::getFilename(UT_String& out) const {
    out = filename;
}

void FS_ReaderStream::setSubStreamReadFilterFactory(FS_IStreamFilterFactory* factory) {
    readFilterFactory.reset(factory != nullptr ? factory->clone() : nullptr);
}

void FS_ReaderStream::setSubStreamWriteFilterFactory(FS_WriteFilterFactory* factory) {
    writeFilterFactory.reset(factory != nullptr ? factory->clone() : nullptr);
}
