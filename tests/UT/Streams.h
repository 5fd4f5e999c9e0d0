#pragma once
// Streams to read from.
#include <UT/UT_IStream.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "../support/Reading.h"

using CFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

inline CFile openFile(const std::string& path) {
    return {std::fopen(path.c_str(), "r"), std::fclose};
}

// A binary stream over a copy of `text`.
inline UT_IStream over(std::string_view text) {
    return UT_IStream(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY);
}
