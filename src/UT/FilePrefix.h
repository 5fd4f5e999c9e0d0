#pragma once
// Private: the prefix "file:", of any case, that marks a path of the local file system.
#include <UT/TextScan.h>

#include <string_view>

// The path without the prefix. Helpers see the prefix, so it goes only just before the local file system is used.
inline std::string_view stripFilePrefix(std::string_view path) {
    constexpr std::string_view kPrefix = "file:";
    return textscan::equalsLower(path.substr(0, kPrefix.size()), kPrefix) ? path.substr(kPrefix.size()) : path;
}
