// File status and times over the system's calls, with errno read on the line behind each.
#include <fcntl.h>
#include <platform/FileStatus.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

FileKind kindOf(mode_t mode) {
    if (S_ISREG(mode)) return FileKind::File;
    if (S_ISDIR(mode)) return FileKind::Directory;
    if (S_ISLNK(mode)) return FileKind::Link;
    return FileKind::Other;
}

// `result` is what the call gave, `error` what errno was then.
FileStatus statusFrom(int result, int error, const struct stat& from) {
    if (result != 0) return {.error = error};
    return {.kind = kindOf(from.st_mode),
            .size = from.st_size,
            .time = from.st_mtim.tv_sec,
            .device = from.st_dev,
            .inode = from.st_ino,
            .owner = from.st_uid,
            .mode = from.st_mode & 07777u,
            .error = 0};
}

const char* orEmpty(const char* path) {
    return path ? path : "";
}

}  // namespace

FileStatus fileStatus(const char* path) {
    struct stat from;
    const int result = ::stat(orEmpty(path), &from);
    return statusFrom(result, errno, from);
}

FileStatus linkStatus(const char* path) {
    return linkStatusAt(AT_FDCWD, path);
}

FileStatus fileStatus(int fd) {
    struct stat from;
    const int result = ::fstat(fd, &from);
    return statusFrom(result, errno, from);
}

FileStatus linkStatusAt(int directory, const char* name) {
    struct stat from;
    const int result = ::fstatat(directory, orEmpty(name), &from, AT_SYMLINK_NOFOLLOW);
    return statusFrom(result, errno, from);
}

int setFileTimes(const char* path, std::int64_t access, std::int64_t modification) {
    const timespec times[2] = {{.tv_sec = access, .tv_nsec = 0}, {.tv_sec = modification, .tv_nsec = 0}};
    const int result = ::utimensat(AT_FDCWD, orEmpty(path), times, 0);
    return result == 0 ? 0 : errno;
}

int setFileTimes(int fd, std::int64_t access, std::int64_t modification) {
    const timespec times[2] = {{.tv_sec = access, .tv_nsec = 0}, {.tv_sec = modification, .tv_nsec = 0}};
    const int result = ::futimens(fd, times);
    return result == 0 ? 0 : errno;
}

int accessFile(const char* path, int mode) {
    const int result = ::access(orEmpty(path), mode);
    return result == 0 ? 0 : errno;
}

int removeFile(const char* path) {
    const int result = ::unlink(orEmpty(path));
    return result == 0 ? 0 : errno;
}

}  // namespace platform
