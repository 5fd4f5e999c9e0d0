#pragma once
// What is left in a stream.
#include <UT/UT_IStream.h>

#include <string>

inline std::string readAll(UT_IStream& stream) {
    std::string all;
    char piece[777];
    while (const int n = stream.bread(piece, sizeof piece)) all.append(piece, static_cast<std::size_t>(n));
    return all;
}
