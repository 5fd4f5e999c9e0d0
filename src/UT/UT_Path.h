#pragma once
// Free functions on paths: what kind a path is, its absolute form, the current directory, access, and names for
// temporary files.
//
//     UT_String path("scene.idx", 1, -1);
//     UTmakeAbsoluteFilePath(path, nullptr);  // "/home/ann/scene.idx"
//     if (UTaccess(path.buffer(), 4) == 0) read(path.buffer());
//
// A null path is treated as an empty one: it exists nowhere, is no directory and is not absolute.
#include <UT/UT_Export.h>

class UT_String;

// What the process may do with a file: `mode` adds up 4 read, 2 write and 1 execute; 0 asks whether it exists.
// 0 if it may, -1 otherwise with the reason in errno.
TARVANI_EXPORT int UTaccess(const char* path, int mode);
// 1 if `path` is a directory that exists, through symbolic links too; else 0.
TARVANI_EXPORT int UTisValidDirectory(const char* path);
// True for the root of the file system: "/", written with any number of slashes.
TARVANI_EXPORT bool UTisRootPath(const char* path);
// True if `path` begins with "/" or with a registered prefix, behind a "file:" in any case too.
TARVANI_EXPORT bool UTisAbsolutePath(const char* path);
// 1 if `path` says itself where the file is and is not to be searched for: absolute, or beginning with "./" or "../".
TARVANI_EXPORT int UTfullPathSpecified(const char* path);
// Registers a prefix such as "http:", case-sensitive, whose paths count as absolute from then on, process-wide. The
// text is copied. For one thread at a time, before others ask about paths.
TARVANI_EXPORT void UTaddAbsolutePathPrefix(const char* prefix);
// Makes `path` absolute in place, from the directory `base`, or from the current directory if `base` is null. What is
// empty or absolute stays as it is; behind "file:" the rest is made absolute and the prefix stays. `.`, `..` and
// repeated slashes are left. False, with `path` unchanged, when the current directory can't be told.
TARVANI_EXPORT bool UTmakeAbsoluteFilePath(UT_String& path, const char* base);
// Writes the current directory into `buffer` of `size` bytes and gives `buffer`. Null when it doesn't fit or can't be
// told; the buffer then holds an empty text if it has room for one.
TARVANI_EXPORT char* getUnixCwd(char* buffer, int size);

// Makes an empty temporary file with a name of its own in $TMPDIR, else in /tmp, and puts its absolute path into `out`.
// The name begins with "tarvani-" and only the user can open the file. It is the caller's to remove. With a `base` it
// ends as UTcreateTempFileName tells. False when the file can't be made; `out` is then null.
TARVANI_EXPORT bool UTgetTmpName(UT_String& out, const char* base);
// The same, with a name that ends in the last component of `base` (a path or an address), so that its extension
// stays. Characters other than letters, digits, `.`, `_` and `-` become `_`; of a long component the last 64 stay.
TARVANI_EXPORT bool UTcreateTempFileName(UT_String& out, const char* base);
