#pragma once
// Sizes and removal of files.
//
//     if (UT_FileUtil::getFileSize(path) == 0) UT_FileUtil::removeFile(path);
#include <UT/UT_Export.h>

#include <cstdint>

class TARVANI_EXPORT UT_FileUtil {
public:
    // Bytes of a file, through symbolic links. 0 if there is none.
    static std::int64_t getFileSize(const char* path);
    // Removes a file, or a symbolic link but not its target. 0 on success; -1 with the reason in errno, as for a
    // directory.
    static int removeFile(const char* path);
};
