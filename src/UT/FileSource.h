#pragma once
// Private: a file source together with the status that opening it learns anyway, so that nobody asks for it twice.
#include <UT/UT_ByteSource.h>

#include <cstdint>
#include <memory>

struct OpenedFile {
    std::shared_ptr<UT_ByteSource> source;  // null when the file can't be opened or is a directory; errno tells why
    bool hasStatus = false;                 // false where it couldn't be opened at all
    std::int64_t size = 0;                  // bytes
    std::int64_t time = 0;                  // last modification, in seconds since the epoch
};

OpenedFile openFileSource(const char* path);
