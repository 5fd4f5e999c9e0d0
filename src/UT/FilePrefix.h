// Private: the prefix "file:", of any case, that marks a path of the local file system.
#pragma once
#include <UT/TextScan.h>

#include <algorithm>
#include <string_view>

inline bool hasFilePrefix(std::string_view path) {
    constexpr std::string_view kPrefix = "file:";
    return path.size() >= kPrefix.size() && std::equal(kPrefix.begin(), kPrefix.end(), path.begin(),
                                                       [](char a, char b) { return a == textscan::toLower(b); });
}

// The path behind the prefix, or the whole if it has none.
inline std::string_view withoutFilePrefix(std::string_view path) {
    return hasFilePrefix(path) ? path.substr(5) : path;
}
