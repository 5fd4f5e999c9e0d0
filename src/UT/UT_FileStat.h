#pragma once
// The status of one directory entry, for programs that walk a directory and want to know what they meet.
//
//     UT_FileStat stat;
//     if (statLastRead("/d/scene.idx", stat) == 0 && stat.type == UT_FileStat::DIRECTORY) enter();
#include <UT/UT_Export.h>

#include <cstdint>

struct TARVANI_EXPORT UT_FileStat {
    // What an entry of a directory is.
    enum FileType { UNKNOWN = 0, REGULAR = 1, DIRECTORY = 2, SHORTCUT = 3 };

    FileType type = UNKNOWN;  // SHORTCUT is a symbolic link; devices, pipes and sockets are UNKNOWN
    std::int64_t size = 0;    // bytes
    std::int64_t time = 0;    // last modification, in seconds since the epoch
};

// The status of the entry that a directory walk met last, by its full path; a symbolic link is not followed. Gives 0,
// or -1 with the reason in errno and all of `stat` zero. It keeps no state between calls.
TARVANI_EXPORT int statLastRead(const char* path, UT_FileStat& stat);
