#pragma once
// Writing a container back to where it belongs.
#include <string>
#include <string_view>

class FS_IndexFile;

// Writes `index` to `path`, a file or a section. Throws Failure, with the old container as it was, when it can't.
void saveContainer(FS_IndexFile& index, const std::string& path);

// A reason that the library gave for `path`, without the path in front: the line of the failure has it already.
std::string reasonFor(const std::string& path, std::string_view reason);
// The same where `path` was to be written.
std::string writeReasonFor(const std::string& path, std::string_view reason);

// Throws Failure unless `dest` may be written from `source`: neither may be the other, or hold it.
void refuseOverlap(const std::string& source, const std::string& dest);
