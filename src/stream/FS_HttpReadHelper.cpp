#include <UT/UT_Path.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/FS_ReaderStream.h>
#include <stream/HttpPages.h>

FS_HttpReadHelper::FS_HttpReadHelper() {
    UTaddAbsolutePathPrefix("http:");
}

FS_HttpReadHelper::~FS_HttpReadHelper() = default;

FS_ReaderStream* FS_HttpReadHelper::createStream(const char* path) {
    const HttpPage* const page = httpPage(path);
    return page != nullptr ? new FS_ReaderStream(page->open(), page->file()) : nullptr;
}

const char* FS_HttpReadHelper::getErrorText(const char* path) {
    return httpErrorText(path);
}
