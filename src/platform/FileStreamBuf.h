#pragma once
// Private: output to a file descriptor as a standard stream, with the errors that std::ofstream doesn't tell.
#include <platform/UniqueFd.h>

#include <memory>
#include <ostream>
#include <streambuf>

namespace platform {

// Writes all `count` bytes to where `fd` stands. 0, or the errno of the failure.
[[nodiscard]] int writeAll(int fd, const char* data, std::size_t count);

// Writes through one buffer; what is larger than the buffer goes straight through. After the first failure nothing
// more is written, so that what the file holds is a whole beginning of what was given.
class FileStreamBuf : public std::streambuf {
public:
    static constexpr std::size_t kBufferSize = 64 * 1024;

    // Adopts `fd`. With none every write fails, and `error` says why.
    explicit FileStreamBuf(UniqueFd fd, int error = 0);
    // Borrows `fd`, which close() then leaves open.
    explicit FileStreamBuf(int fd, int error = 0);
    // Closes, for who didn't want to know.
    ~FileStreamBuf() override;

    // Writes what is buffered, and closes the descriptor if it was adopted. False when anything failed since the
    // beginning. Further calls give the same.
    bool close();
    // errno of the first failure, 0 while there was none.
    int error() const { return error_; }

protected:
    int_type overflow(int_type c) override;
    int sync() override;
    std::streamsize xsputn(const char* data, std::streamsize count) override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    bool flush();
    bool writeAll(const char* data, std::size_t count);

    UniqueFd owned_;
    int fd_;
    int error_;
    std::unique_ptr<char[]> buffer_;
};

// A std::ostream on a FileStreamBuf.
class FileOutput : public std::ostream {
public:
    // Opens a file for writing: what it held goes, a missing one is made with mode 0666 less the mask. When it can't be
    // opened the stream is in a failed state and error() tells why.
    explicit FileOutput(const char* path);
    // Borrows `fd`; with -1 the stream is in a failed state because of `error`.
    explicit FileOutput(int fd, int error = 0);

    // As FileStreamBuf::close; false too when the stream failed for another reason, such as a caller's setstate.
    bool close();
    int error() const { return file_.error(); }

private:
    FileStreamBuf file_;
};

}  // namespace platform
