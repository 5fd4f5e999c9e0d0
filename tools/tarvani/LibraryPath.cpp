#include "LibraryPath.h"

#include <UT/UT_Path.h>
#include <stream/FS_Reader.h>
#include <strings.h>
#include <sys/stat.h>

namespace {

constexpr std::string_view kFilePrefix = "file:";

std::string withoutFilePrefix(const std::string& path) {
    const bool prefixed = ::strncasecmp(path.c_str(), kFilePrefix.data(), kFilePrefix.size()) == 0;
    return prefixed ? path.substr(kFilePrefix.size()) : path;
}

}  // namespace

LibraryPath::LibraryPath(std::string_view path) {
    // With the first handle come the helpers, and with them the prefixes that aren't local.
    static const FS_Reader first;
    std::size_t mark = path.find('?');
    outer = path.substr(0, mark);
    while (mark != std::string_view::npos) {
        path.remove_prefix(mark + 1);
        mark = path.find('?');
        sections.emplace_back(path.substr(0, mark));
    }
    file = withoutFilePrefix(outer);
    isLocal = file.empty() || file.front() == '/' || !UTisAbsolutePath(file.c_str());
}

std::string LibraryPath::level(std::size_t depth) const {
    std::string path = outer;
    for (std::size_t i = 0; i < depth; ++i) path += "?" + sections[i];
    return path;
}

bool isSameFile(const LibraryPath& a, const LibraryPath& b) {
    struct stat first {
    }, second{};
    return a.isLocal && b.isLocal && ::stat(a.file.c_str(), &first) == 0 && ::stat(b.file.c_str(), &second) == 0 &&
           S_ISREG(first.st_mode) && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}
