#include <fcntl.h>
#include <platform/FileStreamBuf.h>
#include <platform/Uninterrupted.h>

#include <cerrno>
#include <cstring>

namespace platform {

int writeAll(int fd, const char* data, std::size_t count) {
    while (count > 0) {
        const ssize_t n = uninterrupted([&] { return ::write(fd, data, count); });
        if (n < 0) return errno;
        data += n;
        count -= static_cast<std::size_t>(n);
    }
    return 0;
}

FileStreamBuf::FileStreamBuf(UniqueFd fd, int error) : owned_(std::move(fd)), fd_(owned_.get()), error_(error) {
    if (fd_ < 0) {
        if (error_ == 0) error_ = EBADF;
        return;
    }
    buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    setp(buffer_.get(), buffer_.get() + kBufferSize);
}

FileStreamBuf::FileStreamBuf(int fd, int error) : FileStreamBuf(UniqueFd(fd), error) {
    owned_.release();
}

FileStreamBuf::~FileStreamBuf() {
    close();
}

bool FileStreamBuf::close() {
    flush();
    fd_ = -1;
    setp(nullptr, nullptr);
    // A close that was interrupted has closed all the same.
    if (owned_ && ::close(owned_.release()) != 0 && errno != EINTR && error_ == 0) error_ = errno;
    return error_ == 0;
}

bool FileStreamBuf::writeAll(const char* data, std::size_t count) {
    if (error_ == 0) error_ = platform::writeAll(fd_, data, count);
    return error_ == 0;
}

bool FileStreamBuf::flush() {
    if (pptr() == pbase()) return error_ == 0;
    const bool done = writeAll(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    // After a failure without room, so that the next character is refused too.
    setp(buffer_.get(), buffer_.get() + (done ? kBufferSize : 0));
    return done;
}

FileStreamBuf::int_type FileStreamBuf::overflow(int_type c) {
    if (fd_ < 0 || !flush()) return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
    }
    return traits_type::not_eof(c);
}

int FileStreamBuf::sync() {
    return flush() ? 0 : -1;
}

std::streamsize FileStreamBuf::xsputn(const char* data, std::streamsize count) {
    if (fd_ < 0 || error_ != 0 || count <= 0) return 0;
    if (count > epptr() - pptr()) {
        if (!flush()) return 0;
        if (count >= static_cast<std::streamsize>(kBufferSize))
            return writeAll(data, static_cast<std::size_t>(count)) ? count : 0;
    }
    std::memcpy(pptr(), data, static_cast<std::size_t>(count));
    pbump(static_cast<int>(count));
    return count;
}

FileStreamBuf::pos_type FileStreamBuf::seekoff(off_type offset, std::ios_base::seekdir from,
                                               std::ios_base::openmode which) {
    if (!(which & std::ios_base::out) || !flush()) return pos_type(off_type(-1));
    const int origin = from == std::ios_base::beg ? SEEK_SET : from == std::ios_base::cur ? SEEK_CUR : SEEK_END;
    return pos_type(off_type(::lseek(fd_, offset, origin)));
}

FileStreamBuf::pos_type FileStreamBuf::seekpos(pos_type position, std::ios_base::openmode which) {
    return seekoff(off_type(position), std::ios_base::beg, which);
}

namespace {

OpenResult openForOutput(const char* path) {
    const int fd = uninterrupted([&] { return ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666); });
    if (fd < 0) return {.fd = {}, .error = errno};
    return {.fd = UniqueFd(fd)};
}

FileStreamBuf openBuffer(const char* path) {
    OpenResult opened = openForOutput(path);
    return FileStreamBuf(std::move(opened.fd), opened.error);
}

}  // namespace

FileOutput::FileOutput(const char* path) : std::ostream(nullptr), file_(openBuffer(path)) {
    rdbuf(&file_);
    if (file_.error() != 0) setstate(failbit);
}

FileOutput::FileOutput(int fd, int error) : std::ostream(nullptr), file_(fd, error) {
    rdbuf(&file_);
    if (file_.error() != 0) setstate(failbit);
}

bool FileOutput::close() {
    const bool closed = file_.close();
    if (!closed) setstate(badbit);
    return closed && !fail();
}

}  // namespace platform
