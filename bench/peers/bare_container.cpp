// The floor under the works on containers: only the system calls that a work needs and the walk over the table, for
// well-formed containers. docs/formats.md shows the bytes.
//
//     bare_container open FILE NAME | list FILE | read FILE | create FILE LIST
#include "Work.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kBlock = 256 * 1024;
constexpr std::size_t kFields = 12;  // offset, size, time

std::int32_t loadInt(const char* bytes) {
    std::int32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

int openFile(const char* path) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    require(fd >= 0, path);
    return fd;
}

// Reads on from the file so that at least `count` bytes stand in one window of 64 KB, which is used again and again.
class Window {
public:
    explicit Window(int fd) : fd_(fd), bytes_(std::make_unique_for_overwrite<char[]>(kWindow)) {}
    const char* take(std::size_t count) {
        if (end_ - at_ < count) refill(count);
        at_ += count;
        return bytes_.get() + at_ - count;
    }
    std::int32_t takeInt() { return loadInt(take(sizeof(std::int32_t))); }
    std::int64_t position() const { return position_ - static_cast<std::int64_t>(end_ - at_); }

private:
    void refill(std::size_t count) {
        std::memmove(bytes_.get(), bytes_.get() + at_, end_ - at_);
        end_ -= at_;
        at_ = 0;
        while (end_ < count) {
            const ssize_t n = ::read(fd_, bytes_.get() + end_, kWindow - end_);
            require(n > 0, "short file");
            end_ += static_cast<std::size_t>(n);
            position_ += n;
        }
    }

    const int fd_;
    std::unique_ptr<char[]> bytes_;
    std::size_t at_ = 0, end_ = 0;
    std::int64_t position_ = 0;
};

int open(const char* path, std::string_view name) {
    const int fd = openFile(path);
    Window in(fd);
    in.take(8);
    in.take(static_cast<std::size_t>(in.takeInt()));
    std::int32_t offset = -1, size = 0;
    for (std::int32_t count = in.takeInt(); count > 0; --count) {
        const auto length = static_cast<std::size_t>(in.takeInt());
        const char* const entry = in.take(length + kFields);
        if (length != name.size() || std::memcmp(entry, name.data(), length) != 0) continue;
        offset = loadInt(entry + length);
        size = loadInt(entry + length + 4);
    }
    require(offset >= 0, "no such section");
    const auto bytes = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(size));
    require(::pread(fd, bytes.get(), static_cast<std::size_t>(size), in.position() + offset) == size, "short section");
    return Result{1, size}.print();
}

// The names must stay, as they do for whoever lists by an object: so the table is read into memory.
int list(const char* path) {
    const int fd = openFile(path);
    std::size_t capacity = 4 * kBlock, have = 0, at = 0;
    auto* bytes = static_cast<char*>(std::malloc(capacity));
    const auto need = [&](std::size_t count) {
        while (have < at + count) {
            if (capacity - have < kBlock) bytes = static_cast<char*>(std::realloc(bytes, capacity *= 2));
            const ssize_t n = ::read(fd, bytes + have, kBlock);
            require(n > 0, "short file");
            have += static_cast<std::size_t>(n);
        }
        at += count;
        return bytes + at - count;
    };
    need(8);
    need(static_cast<std::size_t>(loadInt(need(4))));
    Result result;
    for (std::int32_t count = loadInt(need(4)); count > 0; --count) {
        const auto length = static_cast<std::size_t>(loadInt(need(4)));
        result.add(loadInt(need(length + kFields) + length + 4));
    }
    std::free(bytes);
    return result.print();
}

int read(const char* path) {
    const int fd = openFile(path);
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    Result result;
    for (ssize_t n; (n = ::read(fd, block.get(), kBlock)) > 0;) result.bytes += n;
    return result.print();
}

// Collects small writes; what is larger goes straight through.
class Output {
public:
    explicit Output(int fd) : fd_(fd), block_(std::make_unique_for_overwrite<char[]>(kBlock)) {}
    void write(const char* data, std::size_t count) {
        if (count > kBlock - used_) flush();
        if (count > kBlock) return writeAll(data, count);
        std::memcpy(block_.get() + used_, data, count);
        used_ += count;
    }
    void writeInt(std::int64_t value) {
        const auto stored = static_cast<std::int32_t>(value);
        write(reinterpret_cast<const char*>(&stored), sizeof stored);
    }
    void flush() {
        writeAll(block_.get(), used_);
        used_ = 0;
    }
    // A small file goes into the block and costs one read.
    std::size_t copyFile(int from, std::size_t size) {
        if (size > kBlock - used_) flush();
        std::size_t done = 0;
        for (ssize_t n; done < size; done += static_cast<std::size_t>(n)) {
            n = ::read(from, block_.get() + used_, std::min(kBlock - used_, size - done));
            require(n > 0, "short file");
            used_ += static_cast<std::size_t>(n);
            if (used_ == kBlock) flush();
        }
        return done;
    }

private:
    void writeAll(const char* data, std::size_t count) {
        for (ssize_t n; count > 0; data += n, count -= static_cast<std::size_t>(n))
            require((n = ::write(fd_, data, count)) > 0, "write failed");
    }

    const int fd_;
    std::unique_ptr<char[]> block_;
    std::size_t used_ = 0;
};

// One pass: the names alone tell where the table ends, so the bytes go behind it first and the table is filled in last.
int create(const char* path, const char* list) {
    const NameList names(list);
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    require(fd >= 0, path);
    std::size_t tableSize = 16, count = 0;
    names.forEach([&](std::string_view name) {
        tableSize += 4 + name.size() + kFields;
        ++count;
    });
    struct Facts {
        std::int32_t size, time;
    };
    const auto facts = std::make_unique_for_overwrite<Facts[]>(count);
    Result result;
    Output out(fd);
    require(::lseek(fd, static_cast<off_t>(tableSize), SEEK_SET) >= 0, path);
    names.forEach([&](std::string_view name) {
        const int from = openFile(name.data());
        struct stat status {};
        require(::fstat(from, &status) == 0, name);
        facts[static_cast<std::size_t>(result.count)] = {static_cast<std::int32_t>(status.st_size),
                                                         static_cast<std::int32_t>(status.st_mtime)};
        result.add(static_cast<long long>(out.copyFile(from, static_cast<std::size_t>(status.st_size))));
        ::close(from);
    });
    out.flush();
    require(::lseek(fd, 0, SEEK_SET) == 0, path);
    out.write("INDX", 4);
    out.writeInt(0);
    out.writeInt(0);
    out.writeInt(result.count);
    std::int64_t offset = 0;
    std::size_t i = 0;
    names.forEach([&](std::string_view name) {
        out.writeInt(static_cast<std::int64_t>(name.size()));
        out.write(name.data(), name.size());
        out.writeInt(offset);
        out.writeInt(facts[i].size);
        out.writeInt(facts[i].time);
        offset += facts[i++].size;
    });
    out.flush();
    return result.print();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view work = argc > 1 ? argv[1] : "";
    if (argc == 4 && work == "open") return open(argv[2], argv[3]);
    if (argc == 3 && work == "list") return list(argv[2]);
    if (argc == 3 && work == "read") return read(argv[2]);
    if (argc == 4 && work == "create") return create(argv[2], argv[3]);
    die("usage: bare_container open FILE NAME | list FILE | read FILE | create FILE LIST");
}
