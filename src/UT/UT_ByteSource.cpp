// The sources that the library brings, and the read-ahead that windows on one source share.
#include <UT/FileSource.h>
#include <UT/UT_ByteSource.h>
#include <fcntl.h>
#include <platform/Uninterrupted.h>
#include <platform/UniqueFd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

UT_ByteSource::UT_ByteSource() = default;
UT_ByteSource::~UT_ByteSource() = default;

namespace {

// The bytes that a window must be able to hold on to while the source goes on to fill others.
std::shared_ptr<char[]> newBlock(std::size_t length) {
    return std::make_shared_for_overwrite<char[]>(length);
}

// The turn at the block that a source keeps: taken if nobody else has it, given back in the end.
class Turn {
public:
    explicit Turn(std::atomic_flag& busy) : busy_(busy.test_and_set(std::memory_order_acquire) ? nullptr : &busy) {}
    ~Turn() {
        if (busy_) busy_->clear(std::memory_order_release);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return busy_ != nullptr; }

private:
    std::atomic_flag* const busy_;
};

}  // namespace

UT_ByteBlock UT_ByteSource::block(std::int64_t position) {
    const Turn mine(busy_);
    if (mine && kept_.holds(position)) return kept_;
    UT_ByteBlock fresh;
    // Emptied, so that no place without bytes is kept when memory ends below.
    if (mine) fresh = std::exchange(kept_, {});
    // A small source needs no whole block.
    const std::int64_t total = size();
    const bool small = total >= 0 && total < static_cast<std::int64_t>(kBlockSize);
    const std::size_t wanted = small ? static_cast<std::size_t>(std::max<std::int64_t>(total, 1)) : kBlockSize;
    std::size_t room = mine ? keptRoom_ : 0;
    // Filled again in place when no window holds it: the first touch of fresh pages costs more than the read itself.
    if (room < wanted || fresh.bytes.use_count() != 1) {
        fresh.bytes = newBlock(wanted);
        room = wanted;
    } else {
        // Counting up and down again, unlike use_count, orders the last window's reads before our writes.
        std::shared_ptr<const char[]>(fresh.bytes).reset();
    }
    // A source that claims more than it was asked for is not believed.
    const std::int64_t got =
        std::min(readAt(position, const_cast<char*>(fresh.bytes.get()), wanted), static_cast<std::int64_t>(wanted));
    fresh.start = position;
    fresh.length = static_cast<std::size_t>(std::max<std::int64_t>(got, 0));
    fresh.failed = got < 0;
    if (mine) {
        kept_ = fresh;
        keptRoom_ = room;
    }
    return fresh;
}

// True if the byte lies in the block that is kept, or follows on it: somebody reads on from there.
bool UT_ByteSource::isNearBlock(std::int64_t position) {
    const Turn mine(busy_);
    return mine && kept_.length > 0 &&
           (kept_.holds(position) || position == kept_.start + static_cast<std::int64_t>(kept_.length));
}

namespace {

class MemorySource : public UT_ByteSource {
public:
    MemorySource(std::shared_ptr<const char[]> bytes, std::size_t length) : bytes_(std::move(bytes)), length_(length) {}

    std::int64_t size() const override { return static_cast<std::int64_t>(length_); }

    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        if (position < 0) return -1;
        if (position >= size()) return 0;
        const std::size_t n = std::min(count, length_ - static_cast<std::size_t>(position));
        std::memcpy(out, bytes_.get() + position, n);
        return static_cast<std::int64_t>(n);
    }

    UT_ByteBlock block(std::int64_t position) override {
        if (position < 0 || position >= size()) return {};
        return {.bytes = bytes_, .length = length_};
    }

private:
    const std::shared_ptr<const char[]> bytes_;
    const std::size_t length_;
};

// A pipe, a terminal or a socket that has a path: read as it comes.
class PipeSource : public UT_ByteSource {
public:
    explicit PipeSource(platform::UniqueFd fd) : fd_(std::move(fd)) {}

    std::int64_t size() const override { return -1; }
    bool isSeekable() const override { return false; }

    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        const std::lock_guard turn(mutex_);
        if (position != position_) return -1;
        const ssize_t n = platform::uninterrupted([&] { return ::read(fd_.get(), out, count); });
        if (n > 0) position_ += n;
        return n;
    }

private:
    const platform::UniqueFd fd_;
    std::mutex mutex_;  // over the position
    std::int64_t position_ = 0;
};

class FileSource : public UT_ByteSource {
public:
    FileSource(platform::UniqueFd fd, std::int64_t size) : fd_(std::move(fd)), size_(size) {}

    std::int64_t size() const override { return size_; }

    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        if (position < 0) return -1;
        std::size_t done = 0;
        while (done < count) {
            const off_t at = static_cast<off_t>(position) + static_cast<off_t>(done);
            const ssize_t n = platform::uninterrupted([&] { return ::pread(fd_.get(), out + done, count - done, at); });
            if (n < 0) return done > 0 ? static_cast<std::int64_t>(done) : -1;
            if (n == 0) break;
            done += static_cast<std::size_t>(n);
            // What a regular file has been asked for up to its end needs no further call to learn that it ends there.
            if (size_ >= 0 && position + static_cast<std::int64_t>(done) >= size_) break;
        }
        return static_cast<std::int64_t>(done);
    }

private:
    const platform::UniqueFd fd_;
    const std::int64_t size_;
};

// A C file has one position for everybody, so the source remembers where it left it. What can't seek is read in rising
// order only.
class CFileSource : public UT_ByteSource {
public:
    explicit CFileSource(std::FILE* file) : file_(file) {
        struct stat status {};
        const bool regular = ::fstat(::fileno(file), &status) == 0 && S_ISREG(status.st_mode);
        base_ = ::ftello(file);
        seekable_ = base_ >= 0;
        if (!seekable_) base_ = 0;
        if (regular && seekable_ && status.st_size > base_) size_ = status.st_size - base_;
    }

    std::int64_t size() const override { return size_; }
    bool isSeekable() const override { return seekable_; }

    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        if (position < 0) return -1;
        const std::lock_guard turn(mutex_);
        if (position != position_ && !goTo(position)) return -1;
        const std::size_t n = seekable_ ? std::fread(out, 1, count, file_) : readAvailable(out, count);
        position_ += static_cast<std::int64_t>(n);
        if (n == 0 && std::ferror(file_)) return -1;
        return static_cast<std::int64_t>(n);
    }

private:
    bool goTo(std::int64_t position) {
        if (!seekable_ || position > std::numeric_limits<off_t>::max() - base_) return false;
        if (::fseeko(file_, static_cast<off_t>(base_ + position), SEEK_SET) != 0) return false;
        position_ = position;
        return true;
    }

    // What a pipe or a terminal has ready, and waits for the first byte alone: a person who typed a line is to be
    // answered.
    std::size_t readAvailable(char* out, std::size_t count) {
        if (count == 0) return 0;
        int first = EOF;
        // A signal that comes while it waits is no failure.
        while ((first = std::getc(file_)) == EOF && std::ferror(file_) && errno == EINTR) std::clearerr(file_);
        if (first == EOF) return 0;
        out[0] = static_cast<char>(first);
        std::size_t n = 1;
#if defined(__GLIBC__)
        const auto ready = static_cast<std::size_t>(file_->_IO_read_end - file_->_IO_read_ptr);
        n += std::fread(out + 1, 1, std::min(count - 1, ready), file_);
#else
        // Without a view of the C library's buffer, a line is what can be taken without waiting.
        while (n < count && out[n - 1] != '\n') {
            const int next = std::getc(file_);
            if (next == EOF) break;
            out[n++] = static_cast<char>(next);
        }
#endif
        return n;
    }

    std::FILE* const file_;
    std::mutex mutex_;           // over the two positions
    std::int64_t base_ = 0;      // where the file stood at the beginning: position 0
    std::int64_t position_ = 0;  // where it stands now
    std::int64_t size_ = -1;
    bool seekable_ = false;
};

}  // namespace

std::shared_ptr<UT_ByteSource> UTmakeMemorySource(const char* data, std::size_t length) {
    if (data == nullptr) length = 0;
    auto copy = newBlock(length);
    if (length > 0) std::memcpy(copy.get(), data, length);
    return UTmakeMemorySource(std::shared_ptr<const char[]>(std::move(copy)), length);
}

std::shared_ptr<UT_ByteSource> UTmakeMemorySource(std::shared_ptr<const char[]> data, std::size_t length) {
    if (!data) length = 0;
    return std::make_shared<MemorySource>(std::move(data), length);
}

OpenedFile openFileSource(const char* path) {
    OpenedFile opened;
    if (path == nullptr) {
        errno = ENOENT;
        return opened;
    }
    platform::UniqueFd fd(::open(path, O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!fd || ::fstat(fd.get(), &status) != 0) return opened;
    opened.hasStatus = true;
    opened.size = status.st_size;
    opened.time = status.st_mtime;
    opened.device = status.st_dev;
    opened.inode = status.st_ino;
    opened.owner = status.st_uid;
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
    } else if (S_ISREG(status.st_mode) && status.st_size > 0) {
        // Generated files say 0 and hold bytes all the same, so only a length above 0 is believed.
        opened.source = std::make_shared<FileSource>(std::move(fd), status.st_size);
    } else if (::lseek(fd.get(), 0, SEEK_CUR) < 0) {
        opened.source = std::make_shared<PipeSource>(std::move(fd));
    } else {
        opened.source = std::make_shared<FileSource>(std::move(fd), -1);
    }
    return opened;
}

std::shared_ptr<UT_ByteSource> UTmakeFileSource(const char* path) {
    return openFileSource(path).source;
}

std::shared_ptr<UT_ByteSource> UTmakeCFileSource(std::FILE* file) {
    if (file == nullptr) return nullptr;
    return std::make_shared<CFileSource>(file);
}
