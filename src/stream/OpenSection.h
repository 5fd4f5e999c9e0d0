#pragma once
// Private: section paths, opened from the outermost container inwards.
//
// "a?b?c" is section c of the container that section b of file a holds. The file is opened once, by the search that
// opens any path; from there on a level is one look into a table and a sub-stream, so that a path of n levels costs n
// looks and no memory. The outcome is that of an FS_IndexFile for each level, without the sections that nobody asked
// for.
#include <memory>
#include <optional>
#include <string_view>

class FS_IndexFile;
class FS_ReaderStream;

struct SectionFacts {
    int dataSize = 0;  // bytes of plain content
    int modTime = 0;   // seconds since the epoch
};

// A stream over the section `name` of the container at the path `container`; null if there is no such section.
std::unique_ptr<FS_ReaderStream> openSection(std::string_view container, std::string_view name);
// What the container's table says of the section; nothing if there is none.
std::optional<SectionFacts> lookUpSection(std::string_view container, std::string_view name);
// The container at a path, one without sections if there is none. Unlike FS_IndexFile(path) it keeps its source open,
// so that looking into all sections opens nothing again.
std::unique_ptr<FS_IndexFile> openIndexFile(std::string_view path);
