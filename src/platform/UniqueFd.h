#pragma once
// Private: a file descriptor with one owner, closed when the owner goes.
#include <unistd.h>

#include <utility>

namespace platform {

class UniqueFd {
public:
    UniqueFd() = default;
    // Adopts `fd`; a negative one is none.
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    // Gives the descriptor away: the caller closes it.
    int release() { return std::exchange(fd_, -1); }
    // Closes what is held and adopts `fd`. Who must know whether closing worked calls close(release()) instead.
    void reset(int fd = -1) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

// What a call gave that makes a descriptor.
struct [[nodiscard]] OpenResult {
    UniqueFd fd;
    int error = 0;  // errno of the failed call; 0 while fd is open
};

}  // namespace platform
