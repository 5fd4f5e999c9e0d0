#pragma once
// Private: the status and the times of files. Failures are told by an errno in the result; no caller reads errno
// itself.
#include <cstdint>

namespace platform {

enum class FileKind { None, File, Directory, Link, Other };

struct [[nodiscard]] FileStatus {
    FileKind kind = FileKind::None;  // None: there is no such file, or it can't be looked at
    std::int64_t size = 0;           // bytes
    std::int64_t time = 0;           // last modification, in seconds since the epoch
    std::uint64_t device = 0;        // device and inode together say whether two paths are one file
    std::uint64_t inode = 0;
    unsigned owner = 0;
    unsigned mode = 0;  // permission bits
    int error = 0;      // errno of the failed call

    explicit operator bool() const { return error == 0; }
    bool isDirectory() const { return kind == FileKind::Directory; }
};

// The status of a path through symbolic links, of a link itself, of an open file, and of a name in an open directory
// (a link itself). A null path is an empty one.
FileStatus fileStatus(const char* path);
FileStatus linkStatus(const char* path);
FileStatus fileStatus(int fd);
FileStatus linkStatusAt(int directory, const char* name);

// Sets access and modification time, in seconds since the epoch. 0, or the errno of the failure.
[[nodiscard]] int setFileTimes(const char* path, std::int64_t access, std::int64_t modification);
[[nodiscard]] int setFileTimes(int fd, std::int64_t access, std::int64_t modification);
// 0 if the process may do with `path` what `mode` adds up (4 read, 2 write, 1 execute; 0 exists), or the errno.
[[nodiscard]] int accessFile(const char* path, int mode);
// Removes a file or a link. 0, or the errno of the failure.
[[nodiscard]] int removeFile(const char* path);

}  // namespace platform
