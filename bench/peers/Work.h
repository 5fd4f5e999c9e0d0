#pragma once
// What the programs have in common that bench/compare runs beside each other. Each does one work of its table per
// process, named by its first argument, and prints what it found as "COUNT BYTES", so that a wrong answer is noticed.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

[[noreturn]] inline void die(std::string_view what) {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(what.size()), what.data());
    std::exit(1);
}

inline void require(bool good, std::string_view what) {
    if (!good) die(what);
}

struct Result {
    long long count = 0;
    long long bytes = 0;

    void add(long long more) {
        ++count;
        bytes += more;
    }
    int print() const { return std::printf("%lld %lld\n", count, bytes) > 0 ? 0 : 1; }
};

// A file for as long as the process needs it.
class ScratchFile {
public:
    ScratchFile() : fd_(::open(kName, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) { require(fd_ >= 0, kName); }
    ~ScratchFile() {
        ::close(fd_);
        ::unlink(kName);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    void write(const char* data, std::size_t size) const {
        while (size > 0) {
            const ssize_t n = ::write(fd_, data, size);
            require(n > 0, kName);
            data += n;
            size -= static_cast<std::size_t>(n);
        }
    }

private:
    static constexpr char kName[] = "scratch";
    const int fd_;
};

// The lines of a small file, held in one stretch, each with a NUL behind it.
class NameList {
public:
    explicit NameList(const char* path) {
        const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
        struct stat status {};
        require(fd >= 0 && ::fstat(fd, &status) == 0, path);
        size_ = static_cast<std::size_t>(status.st_size);
        text_ = std::make_unique_for_overwrite<char[]>(size_);
        require(::read(fd, text_.get(), size_) == static_cast<ssize_t>(size_), path);
        ::close(fd);
        for (std::size_t i = 0; i < size_; ++i)
            if (text_[i] == '\n') text_[i] = '\0';
    }

    template <class Use>
    void forEach(Use use) const {
        for (std::size_t at = 0; at < size_;) {
            const std::string_view name(text_.get() + at);
            use(name);
            at += name.size() + 1;
        }
    }

private:
    std::unique_ptr<char[]> text_;
    std::size_t size_ = 0;
};

// The bytes of a file, in memory that is used again for the next one.
class FileBytes {
public:
    struct Content {
        const char* data;
        std::size_t size;
        std::int64_t time;
    };
    Content read(std::string_view name) {
        const int fd = ::open(name.data(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        require(fd >= 0 && ::fstat(fd, &status) == 0, name);
        const auto size = static_cast<std::size_t>(status.st_size);
        if (size > capacity_) {
            bytes_ = std::make_unique_for_overwrite<char[]>(size);
            capacity_ = size;
        }
        require(::read(fd, bytes_.get(), size) == static_cast<ssize_t>(size), name);
        ::close(fd);
        return {bytes_.get(), size, status.st_mtime};
    }

private:
    std::unique_ptr<char[]> bytes_;
    std::size_t capacity_ = 0;
};
