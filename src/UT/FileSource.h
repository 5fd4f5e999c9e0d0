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
    std::uint64_t device = 0;               // device, inode and owner tell which file it is, whatever its path leads
    std::uint64_t inode = 0;                // to by now
    unsigned owner = 0;
};

OpenedFile openFileSource(const char* path);
