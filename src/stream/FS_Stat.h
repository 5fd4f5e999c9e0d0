#pragma once
// Time, size and kind of one file, as FS_Info gives them:
//
//     FS_Stat stat;
//     if (FS_Info::statFile("d", "x.txt", &stat)) use(stat.size);
#include <algorithm>
#include <cstdint>
#include <limits>

struct FS_Stat {
    // A time that doesn't fit 32 bits becomes the nearest that does.
    constexpr FS_Stat(long modTimeSeconds = 0, std::int64_t bytes = 0, bool directory = false, bool shortcut = false)
        : modTime(static_cast<std::int32_t>(std::clamp<long>(modTimeSeconds, std::numeric_limits<std::int32_t>::min(),
                                                             std::numeric_limits<std::int32_t>::max()))),
          size(bytes),
          isDirectory(directory),
          isShortcut(shortcut) {}

    // True if all four fields are the same.
    constexpr bool operator==(const FS_Stat& other) const {
        return modTime == other.modTime && size == other.size && isDirectory == other.isDirectory &&
               isShortcut == other.isShortcut;
    }
    constexpr bool operator!=(const FS_Stat& other) const { return !(*this == other); }

    // Folds one more file of a sequence in: the later time, the sum of the sizes. The kind stays.
    constexpr void updateSequenceStat(const FS_Stat& other) {
        modTime = std::max(modTime, other.modTime);
        size += other.size;
    }

    std::int32_t modTime;  // seconds since the epoch
    std::int64_t size;     // bytes
    bool isDirectory : 1;  // a directory, or what its helper calls one
    bool isShortcut : 1;   // a symbolic link; a listing has it under what it leads to
};
