// Sizes, status and shortcuts of files.
#include <UT/SystemResult.h>
#include <UT/UT_FileShortcutUtil.h>
#include <UT/UT_FileStat.h>
#include <UT/UT_FileUtil.h>
#include <UT/UT_String.h>
#include <platform/Directory.h>

namespace {

UT_FileStat::FileType typeOf(platform::FileKind kind) {
    switch (kind) {
        case platform::FileKind::File:
            return UT_FileStat::REGULAR;
        case platform::FileKind::Directory:
            return UT_FileStat::DIRECTORY;
        case platform::FileKind::Link:
            return UT_FileStat::SHORTCUT;
        default:
            return UT_FileStat::UNKNOWN;
    }
}

}  // namespace

std::int64_t UT_FileUtil::getFileSize(const char* path) {
    return platform::fileStatus(path).size;
}

int UT_FileUtil::removeFile(const char* path) {
    return resultOf(platform::removeFile(path));
}

int statLastRead(const char* path, UT_FileStat& stat) {
    const auto status = platform::linkStatus(path);
    stat = {.type = typeOf(status.kind), .size = status.size, .time = status.time};
    return resultOf(status.error);
}

UT_FileShortcutUtil::UT_FileShortcutUtil() = default;
UT_FileShortcutUtil::~UT_FileShortcutUtil() = default;

bool UT_FileShortcutUtil::resolve(const char* path, UT_String& target, bool, bool* isDirectory) const {
    if (isDirectory) *isDirectory = false;
    const bool isLink = platform::linkStatus(path).kind == platform::FileKind::Link;
    const auto real = isLink ? platform::realPath(path) : std::nullopt;
    if (!real) {
        target.clear();
        return false;
    }
    if (isDirectory) *isDirectory = platform::fileStatus(real->c_str()).isDirectory();
    target = std::string_view(*real);
    return true;
}
