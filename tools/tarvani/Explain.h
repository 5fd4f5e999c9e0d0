#pragma once
// The library answers with true or false; a person wants to know why. These look again at a path that failed, or is
// about to be written, and say at which level it fails and for which reason:
//
//     x.idx?geo       no section "geo" (3 sections: a, b, c)
//     x.idx?geo?top   x.idx?geo: not a container
//     d/x.idx?geo     d/x.idx: Permission denied
//
// Each gives an empty text where it finds nothing wrong.
#include <memory>
#include <string>

class FS_IndexFile;
struct LibraryPath;

// Why FS_Reader gives nothing to read for `path`. Never empty.
std::string whyUnreadable(const std::string& path);
// Why `path` isn't a container, with or without sections.
std::string whyNoContainer(const std::string& path);
// What stands against writing to `path`: a directory in its place, none where it should go, something that isn't a
// container where a section should go.
std::string whyUnwritable(const std::string& path);
// What is to be said of a path that is served, but for reading alone.
std::string onlyRead(const LibraryPath& path);
// 'no section "geo" (3 sections: a, b, c)', shortened where there are many.
std::string noSection(const FS_IndexFile& index, const std::string& name);

// The container at `path`. Throws Failure, with the reason, if it isn't one.
std::unique_ptr<FS_IndexFile> openContainer(const std::string& path);
