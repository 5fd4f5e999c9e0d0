#pragma once
// Private: the helpers' answer for a path, for who would rather not open what is a plain file.
#include <memory>

class FS_ReaderStream;

// The stream of the newest reader helper that claims `path`, which has no "?"; null if the path is left to the local
// file system.
std::unique_ptr<FS_ReaderStream> streamFromHelpers(const char* path);
