#pragma once
// The sections of a container as values that tests compare: packed into bytes, and taken out of them again without the
// library.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Container.h"

using Sections = std::vector<std::pair<std::string, std::string>>;  // names and bytes

inline std::string containerBytes(const Sections& sections, std::string_view description = "") {
    std::vector<PackedSection> list;
    for (const auto& [name, bytes] : sections) list.push_back({name, bytes, 1000});
    return packedContainer(list, description);
}
// What stands before the table, and one entry of it: for containers that lie.
inline std::string containerHead(std::int32_t count, std::int32_t version = 0) {
    return "INDX" + packed(version) + packed("") + packed(count);
}
inline std::string tableEntry(std::string_view name, std::int32_t offset, std::int32_t size) {
    return packed(name) + packed(offset) + packed(size) + packed(1000);
}

// The sections of whole container bytes; one named "(damaged)" where they are no container, or hold other than the
// table says.
inline Sections sectionsOf(std::string_view bytes) {
    const Sections damaged = {{"(damaged)", std::string(bytes)}};
    std::size_t at = 4;
    bool whole = bytes.substr(0, 4) == "INDX";
    const auto number = [&] {
        std::uint32_t value = 0;
        whole = whole && at <= bytes.size() && bytes.size() - at >= 4;
        for (std::size_t i = 4; whole && i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
        at += 4;
        return value;
    };
    const auto text = [&] {
        const std::size_t length = number();
        whole = whole && length <= bytes.size() - at;
        at += length;
        return whole ? std::string(bytes.substr(at - length, length)) : std::string();
    };
    whole = number() == 0 && whole;
    text();  // the description
    Sections sections;
    std::vector<std::pair<std::size_t, std::size_t>> places;
    for (std::uint32_t left = number(); whole && left > 0; --left) {
        sections.emplace_back(text(), "");
        const std::size_t offset = number(), size = number();
        number();  // the time
        places.emplace_back(offset, size);
    }
    std::size_t end = at;
    for (std::size_t i = 0; whole && i < places.size(); ++i) {
        whole = at + places[i].first == end && places[i].second <= bytes.size() - end;
        if (whole) sections[i].second = bytes.substr(end, places[i].second);
        end += places[i].second;
    }
    return whole && end == bytes.size() ? sections : damaged;
}
