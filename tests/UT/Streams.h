#pragma once
// Streams to read from, and what is left in them.
#include <UT/UT_IStream.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

using CFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

inline CFile openFile(const std::string& path) {
    return {std::fopen(path.c_str(), "r"), std::fclose};
}

// A binary stream over a copy of `text`.
inline UT_IStream over(std::string_view text) {
    return UT_IStream(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY);
}

inline std::string readAll(UT_IStream& stream) {
    std::string all;
    char piece[777];
    while (const int n = stream.bread(piece, sizeof piece)) all.append(piece, static_cast<std::size_t>(n));
    return all;
}
