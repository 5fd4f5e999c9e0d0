#include <UT/UT_Path.h>
#include <stream/FS_HttpInfoHelper.h>
#include <stream/HttpPages.h>

namespace {

constexpr int kWriteOrExecute = 6;

platform::FileStatus statusOf(const char* path) {
    const HttpPage* const page = httpPage(path);
    return page != nullptr ? page->status() : platform::FileStatus();
}

}  // namespace

FS_HttpInfoHelper::FS_HttpInfoHelper() {
    UTaddAbsolutePathPrefix("http:");
}

FS_HttpInfoHelper::~FS_HttpInfoHelper() = default;

bool FS_HttpInfoHelper::canHandle(const char* path) {
    return parseHttpPath(path).has_value();
}

bool FS_HttpInfoHelper::hasAccess(const char* path, int mode) {
    // Fetched also where the mode alone decides: what a first question costs shouldn't depend on it.
    return statusOf(path).kind != platform::FileKind::None && (mode & kWriteOrExecute) == 0;
}

bool FS_HttpInfoHelper::getIsDirectory(const char*) {
    return false;
}

int FS_HttpInfoHelper::getModTime(const char* path) {
    return FS_Stat(statusOf(path).time).modTime;
}

std::int64_t FS_HttpInfoHelper::getSize(const char* path) {
    return statusOf(path).size;
}

bool FS_HttpInfoHelper::getContents(const char*, UT_StringArray&, UT_StringArray*) {
    return false;
}
