#pragma once
// Private: the numbers of the container format; docs/formats.md shows the bytes. Integers are 32-bit little-endian, a
// text is such a length and its bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace indexformat {

// magic, version, description, count, then the table, then the bytes of the sections
inline constexpr std::string_view kMagic = "INDX";
inline constexpr int kVersion = 0;  // readers take every version up to this one
inline constexpr std::size_t kIntSize = 4;
// An entry is a name, then offset, size and time. Offsets count from the first byte behind the table.
inline constexpr std::size_t kFieldsSize = 3 * kIntSize;
inline constexpr std::size_t kShortestEntry = kIntSize + kFieldsSize;
inline constexpr std::int64_t kLargestContainer = 2147483647;  // bytes in all, since offsets are 32-bit
// What is said of more.
inline constexpr char kTooLarge[] = "the container would be larger than 2147483647 bytes";
inline constexpr char kSectionTooLarge[] = "is larger than a section can be (2147483647 bytes)";

inline int loadInt(const char* at) {
    unsigned char b[kIntSize];
    std::memcpy(b, at, kIntSize);
    const auto byte = [&b](int i) { return std::uint32_t{b[i]} << 8 * i; };
    return static_cast<int>(byte(0) | byte(1) | byte(2) | byte(3));
}
inline void storeInt(char* at, int value) {
    const auto v = static_cast<std::uint32_t>(value);
    const unsigned char b[kIntSize] = {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
                                       static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 24)};
    std::memcpy(at, b, kIntSize);
}

}  // namespace indexformat
