// Private: the prefix "file:", of any case, that marks a path of the local file system.
#pragma once
#include <UT/TextScan.h>

#include <algorithm>
#include <string_view>

// The path without the prefix. Helpers see the prefix, so it goes only just before the local file system is used.
inline std::string_view stripFilePrefix(std::string_view path) {
    constexpr std::string_view kPrefix = "file:";
    const bool has =
        path.size() >= kPrefix.size() && std::equal(kPrefix.begin(), kPrefix.end(), path.begin(),
                                                    [](char a, char b) { return a == textscan::toLower(b); });
    return has ? path.substr(kPrefix.size()) : path;
}
