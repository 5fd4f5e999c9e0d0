#pragma once
// The bytes of a container, put together by hand, so that tests of reading don't rest on the writing.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct PackedSection {
    std::string name;
    std::string bytes;
    std::int32_t time = 0;
};

inline std::string packed(std::int32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(static_cast<std::uint32_t>(value) >> shift);
    return bytes;
}

inline std::string packed(std::string_view text) {
    return packed(static_cast<std::int32_t>(text.size())) + std::string(text);
}

inline std::string packedContainer(const std::vector<PackedSection>& sections, std::string_view description = "") {
    std::string table = "INDX" + packed(0) + packed(description) + packed(static_cast<std::int32_t>(sections.size()));
    std::string data;
    for (const PackedSection& section : sections) {
        table += packed(section.name) + packed(static_cast<std::int32_t>(data.size()));
        table += packed(static_cast<std::int32_t>(section.bytes.size())) + packed(section.time);
        data += section.bytes;
    }
    return table + data;
}
