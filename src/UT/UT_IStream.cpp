// Windows on byte sources. What is buffered is a block of the source itself, so reading within it copies nothing twice
// and a neighbouring window finds it again.
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <string>

namespace {

constexpr std::int64_t kLargeRead = UT_ByteSource::kBlockSize;

// What stands behind a backslash inside quotes.
char unescaped(char c) {
    switch (c) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return c;
    }
}

}  // namespace

UT_IStream::UT_IStream(const char* data, int length, UT_ISTREAM_READTYPE type)
    : UT_IStream(UTmakeMemorySource(data, static_cast<std::size_t>(std::max(length, 0))), type) {}

UT_IStream::UT_IStream(std::shared_ptr<const char[]> data, std::int64_t length, UT_ISTREAM_READTYPE type)
    : UT_IStream(UTmakeMemorySource(std::move(data), static_cast<std::size_t>(std::max<std::int64_t>(length, 0))),
                 type) {}

UT_IStream::UT_IStream(std::FILE* file, UT_ISTREAM_READTYPE type) : UT_IStream(UTmakeCFileSource(file), type) {}

UT_IStream::UT_IStream(std::shared_ptr<UT_ByteSource> source, UT_ISTREAM_READTYPE type)
    : UT_IStream(std::move(source), 0, INT64_MAX, type) {}

UT_IStream::UT_IStream(std::shared_ptr<UT_ByteSource> source, std::int64_t start, std::int64_t length,
                       UT_ISTREAM_READTYPE type)
    : source_(std::move(source)), start_(std::max<std::int64_t>(start, 0)), ended_(!source_), type_(type) {
    const std::int64_t total = source_ ? source_->size() : 0;
    length = std::max<std::int64_t>(length, 0);
    if (total >= 0)
        length_ = std::min(length, std::max<std::int64_t>(total - start_, 0));
    else if (length <= INT64_MAX - start_ && length != INT64_MAX)
        length_ = length;
}

UT_IStream::~UT_IStream() = default;

// Bytes from limitPosition_ to the end of the window or, where that isn't known, to the last position there can be.
std::int64_t UT_IStream::left() const {
    return (length_ >= 0 ? length_ : INT64_MAX - start_) - limitPosition_;
}

// Brings the next bytes into memory. False at the end of the window and after a failed read.
bool UT_IStream::fill() {
    // Let go of the old block first: when nobody else holds it the source fills it again in place.
    held_.reset();
    floor_ = cursor_ = limit_ = nullptr;
    if (!source_ || left() <= 0) return false;
    const std::int64_t position = start_ + limitPosition_;
    UT_ByteBlock block = source_->block(position);
    if (!block.holds(position)) {
        // The end; or a failure, and so is a block that was not asked for.
        if (block.failed || block.length > 0) failed_ = true;
        return false;
    }
    // The block may begin before the window and reach beyond it.
    const std::int64_t inBlock = position - block.start;
    const std::int64_t available = std::min(static_cast<std::int64_t>(block.length) - inBlock, left());
    cursor_ = block.bytes.get() + inBlock;
    floor_ = cursor_ - std::min(inBlock, limitPosition_);
    limit_ = cursor_ + available;
    limitPosition_ += available;
    held_ = std::move(block.bytes);
    return true;
}

// To be called when a read has taken bytes: the last one may have been among them.
void UT_IStream::noteEnd() {
    if (cursor_ == limit_ && left() <= 0) ended_ = true;
}

std::string_view UT_IStream::buffered() {
    if (cursor_ == limit_ && !fill()) {
        ended_ = true;
        return {};
    }
    return {cursor_, static_cast<std::size_t>(limit_ - cursor_)};
}

void UT_IStream::consume(std::size_t count) {
    cursor_ += std::min(count, static_cast<std::size_t>(limit_ - cursor_));
    noteEnd();
}

// Whether a read should go past the block of the source. With a large buffer somebody reads a short window as well, and
// often one behind the other: then the block saves more calls than its copy costs, unless it would have to be fetched
// for this window alone.
bool UT_IStream::isLargeRead(std::int64_t count) const {
    if (count < kLargeRead || !source_) return false;
    return left() >= kLargeRead || !source_->isNearBlock(start_ + limitPosition_);
}

// The part of a read that is as large as a block or larger: straight from the source into the caller's memory.
int UT_IStream::readLarge(char* buffer, int count) {
    held_.reset();
    floor_ = cursor_ = limit_ = nullptr;
    const std::int64_t wanted = std::min<std::int64_t>(count, left());
    int done = 0;
    while (done < wanted) {
        const std::int64_t missing = wanted - done;
        const std::int64_t n = std::min(
            source_->readAt(start_ + limitPosition_, buffer + done, static_cast<std::size_t>(missing)), missing);
        if (n < 0) failed_ = true;
        if (n <= 0) break;
        done += static_cast<int>(n);
        limitPosition_ += n;
    }
    return done;
}

int UT_IStream::bread(char* buffer, int count) {
    if (buffer == nullptr || count <= 0) return 0;
    int done = 0;
    while (done < count) {
        const int left = count - done;
        if (cursor_ == limit_) {
            if (isLargeRead(left)) {
                done += readLarge(buffer + done, left);
                break;
            }
            if (!fill()) break;
        }
        const int n = static_cast<int>(std::min<std::ptrdiff_t>(left, limit_ - cursor_));
        std::memcpy(buffer + done, cursor_, static_cast<std::size_t>(n));
        cursor_ += n;
        done += n;
    }
    if (done < count)
        ended_ = true;
    else
        noteEnd();
    return done;
}

int UT_IStream::bread(int* values, int count) {
    static_assert(sizeof(int) == 4);
    if (count <= 0 || count > INT_MAX / 4) return 0;
    const int whole = bread(reinterpret_cast<char*>(values), count * 4) / 4;
    if constexpr (std::endian::native == std::endian::big) {
        for (int i = 0; i < whole; ++i) {
            const auto v = static_cast<unsigned>(values[i]);
            values[i] = static_cast<int>(v >> 24 | (v >> 8 & 0xff00u) | (v << 8 & 0xff0000u) | v << 24);
        }
    }
    return whole;
}

bool UT_IStream::readBinaryString(UT_String& text, UT_ISTREAM_RLE_IO) {
    int length = 0;
    if (bread(&length, 1) != 1 || length < 0) return false;
    // The text grows with what is really there: the length alone may be a lie.
    std::string bytes;
    while (static_cast<int>(bytes.size()) < length) {
        const std::string_view ready = buffered();
        if (ready.empty()) return false;
        const std::size_t n = std::min(ready.size(), static_cast<std::size_t>(length) - bytes.size());
        bytes.append(ready.substr(0, n));
        consume(n);
    }
    text.harden(bytes);
    return true;
}

int UT_IStream::nextCharacter() {
    const std::string_view ready = buffered();
    if (ready.empty()) return -1;
    const int c = static_cast<unsigned char>(ready.front());
    consume(1);
    return c;
}

bool UT_IStream::readString(UT_String& text, bool) {
    return isBinary() ? readBinaryString(text, UT_ISTREAM_RLE32) : readWord(text);
}

bool UT_IStream::readWord(UT_String& text) {
    int c = nextCharacter();
    while (c >= 0 && textscan::isSpace(static_cast<char>(c))) c = nextCharacter();
    if (c < 0) return false;
    std::string word;
    if (c == '"') {
        for (c = nextCharacter(); c >= 0 && c != '"'; c = nextCharacter()) {
            if (c == '\\') {
                const int escaped = nextCharacter();
                if (escaped < 0) break;
                word += unescaped(static_cast<char>(escaped));
            } else {
                word += static_cast<char>(c);
            }
        }
    } else {
        word += static_cast<char>(c);
        // The blank that ends the word is left for whoever reads on by lines.
        while (!buffered().empty() && !textscan::isSpace(*cursor_)) word += static_cast<char>(nextCharacter());
    }
    text.harden(word);
    return true;
}

bool UT_IStream::getLine(UT_WorkBuffer& line, int end) {
    if (buffered().empty()) return false;
    line.truncate(0);
    do {
        const auto n = static_cast<std::size_t>(limit_ - cursor_);
        const auto* const found = static_cast<const char*>(std::memchr(cursor_, end, n));
        line.append({cursor_, found ? static_cast<std::size_t>(found - cursor_) : n});
        cursor_ = found ? found + 1 : limit_;
        if (found) {
            noteEnd();
            return true;
        }
    } while (!buffered().empty());
    return true;
}

bool UT_IStream::seekg(std::int64_t position, int origin) {
    if (!source_ || origin != 0 || position < 0 || position > INT64_MAX - start_) return false;
    const std::int64_t behind = limitPosition_ - position;  // how far the place lies before limit_
    if (floor_ != nullptr && behind >= 0 && behind <= limit_ - floor_) {
        cursor_ = limit_ - behind;
    } else if (position != tellg()) {
        if (!source_->isSeekable()) return false;
        held_.reset();
        floor_ = cursor_ = limit_ = nullptr;
        limitPosition_ = position;
    }
    ended_ = false;
    return true;
}

std::int64_t UT_IStream::tellg() const {
    return limitPosition_ - (limit_ - cursor_);
}

std::int64_t UT_IStream::getSize() const {
    return length_;
}

void UT_IStream::pushBinary(UT_ISTREAM_READTYPE type) {
    types_.push_back(type_);
    type_ = type;
}

void UT_IStream::popBinary() {
    if (types_.empty()) return;
    type_ = types_.back();
    types_.pop_back();
}

UT_IStream* UT_IStream::getSubStream(std::int64_t offset, std::int64_t length) {
    if (!source_) return new UT_IStream(std::shared_ptr<UT_ByteSource>(), type_);
    offset = std::max<std::int64_t>(offset, 0);
    // A window of a window: the inner one never reaches beyond the outer.
    std::int64_t reach = length_ >= 0 ? std::max<std::int64_t>(length_ - offset, 0) : INT64_MAX;
    reach = std::min(reach, std::max<std::int64_t>(length, 0));
    const std::int64_t start = offset <= INT64_MAX - start_ ? start_ + offset : INT64_MAX;
    return new UT_IStream(source_, start, reach, type_);
}

namespace {

std::shared_ptr<UT_ByteSource> openAbsolute(const char* path) {
    UT_String absolute(path, 1);
    UTmakeAbsoluteFilePath(absolute, nullptr);
    if (absolute.isEmpty()) return nullptr;
    return UTmakeFileSource(absolute.buffer());
}

}  // namespace

UT_IFStream::UT_IFStream(const char* path, UT_ISTREAM_READTYPE type) : UT_IStream(openAbsolute(path), type) {}

UT_IFStream::~UT_IFStream() = default;
