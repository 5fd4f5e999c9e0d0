#pragma once
// A path of the library, taken apart: "file:d/x.idx?geo?top" is the file d/x.idx, in it the section geo, and in that
// the section top.
#include <string>
#include <string_view>
#include <vector>

struct LibraryPath {
    explicit LibraryPath(std::string_view path);

    std::string outer;                  // what stands before the first "?"
    std::vector<std::string> sections;  // what stands behind each "?"
    bool isLocal;                       // the local file system serves `outer`, no prefix such as "http:"
    std::string file;                   // `outer` as the local file system knows it, without "file:"

    // The path of the first `depth` levels; 0 is `outer`.
    std::string level(std::size_t depth) const;
};

// True if both are local and their outer files are one file, also by links.
bool isSameFile(const LibraryPath& a, const LibraryPath& b);
