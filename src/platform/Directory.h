#pragma once
// Private: directories: reading, making, and the current one.
//
//     platform::Directory directory("/d");
//     while (const char* name = directory.next()) use(name);
#include <platform/FileStatus.h>

#include <memory>
#include <optional>
#include <string>

namespace platform {

// Reads the names of one directory in the order in which the system gives them.
class Directory {
public:
    explicit Directory(const char* path);

    // False when the directory can't be read; next() gives nothing then.
    bool isOpen() const { return handle_ != nullptr; }
    // The next name, `.` and `..` left out, valid until the next call; null at the end and where reading fails.
    const char* next();
    // The status of the name that next() gave last; a link is not followed.
    FileStatus status() const;

private:
    struct Close {
        void operator()(void* handle) const;
    };
    std::unique_ptr<void, Close> handle_;
    const char* name_ = "";
};

// Makes a directory and the parents that are missing. One that exists is no error. 0, or the errno of the failure.
[[nodiscard]] int makeDirectories(const char* path, unsigned mode);
// The current directory; nothing when it has been removed or can't be told.
std::optional<std::string> currentDirectory();
// The absolute path of an existing file with every link followed.
std::optional<std::string> realPath(const char* path);

}  // namespace platform
