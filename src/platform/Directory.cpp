// Directories over the system's calls.
#include <dirent.h>
#include <platform/Directory.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace platform {

Directory::Directory(const char* path) : handle_(::opendir(path ? path : "")) {}

void Directory::Close::operator()(void* handle) const {
    ::closedir(static_cast<DIR*>(handle));
}

const char* Directory::next() {
    if (!handle_) return nullptr;
    while (const dirent* const entry = ::readdir(static_cast<DIR*>(handle_.get()))) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        name_ = entry->d_name;
        return name_;
    }
    return nullptr;
}

FileStatus Directory::status() const {
    return linkStatusAt(::dirfd(static_cast<DIR*>(handle_.get())), name_);
}

int makeDirectories(const char* path, unsigned mode) {
    if (!path || !*path) return ENOENT;
    // The usual case, where all parents stand, is one call.
    if (::mkdir(path, mode) == 0) return 0;
    if (errno == ENOENT) {
        // Each prefix that ends in front of a slash, then the whole.
        std::string part(path);
        for (std::size_t slash = part.find('/', 1); slash != std::string::npos; slash = part.find('/', slash + 1)) {
            part[slash] = '\0';
            // What fails here shows at the next level, where it matters.
            ::mkdir(part.c_str(), mode);
            part[slash] = '/';
        }
        if (::mkdir(path, mode) == 0) return 0;
    }
    const int error = errno;
    return fileStatus(path).isDirectory() ? 0 : error;
}

std::optional<std::string> currentDirectory() {
    // A directory may be deeper than any one path: the C library takes as much memory as it needs.
    const std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0), std::free);
    return current ? std::optional<std::string>(current.get()) : std::nullopt;
}

std::optional<std::string> realPath(const char* path) {
    const std::unique_ptr<char, decltype(&std::free)> real(path ? ::realpath(path, nullptr) : nullptr, std::free);
    return real ? std::optional<std::string>(real.get()) : std::nullopt;
}

}  // namespace platform
