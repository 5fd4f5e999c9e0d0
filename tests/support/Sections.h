#pragma once
// The bytes of a container, put together by hand and taken apart again, so that tests of the one don't rest on the
// library's other.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct PackedSection {
    std::string name;
    std::string bytes;
    std::int32_t time = 0;
};
using Sections = std::vector<std::pair<std::string, std::string>>;  // names and bytes

inline std::string packed(std::int32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(static_cast<std::uint32_t>(value) >> shift);
    return bytes;
}
inline std::string packed(std::string_view text) {
    return packed(static_cast<std::int32_t>(text.size())) + std::string(text);
}

// What stands before the table, and one entry of it: for containers that lie.
inline std::string containerHead(std::int32_t count, std::int32_t version = 0, std::string_view description = "") {
    return "INDX" + packed(version) + packed(description) + packed(count);
}
inline std::string tableEntry(std::string_view name, std::int32_t offset, std::int32_t size, std::int32_t time = 1000) {
    return packed(name) + packed(offset) + packed(size) + packed(time);
}

inline std::string packedContainer(const std::vector<PackedSection>& sections, std::string_view description = "") {
    std::string table = containerHead(static_cast<std::int32_t>(sections.size()), 0, description), data;
    for (const auto& [name, bytes, time] : sections) {
        table +=
            tableEntry(name, static_cast<std::int32_t>(data.size()), static_cast<std::int32_t>(bytes.size()), time);
        data += bytes;
    }
    return table + data;
}
inline std::string containerBytes(const Sections& sections, std::string_view description = "") {
    std::vector<PackedSection> list;
    for (const auto& [name, bytes] : sections) list.push_back({name, bytes, 1000});
    return packedContainer(list, description);
}

// The sections of whole container bytes; one named "(damaged)" where they are no container, or hold other than the
// table says.
inline Sections sectionsOf(std::string_view bytes) {
    std::string_view left = bytes;
    bool whole = true;
    const auto take = [&](std::size_t length) {
        whole = whole && length <= left.size();
        const std::string taken(left.substr(0, whole ? length : 0));
        left.remove_prefix(taken.size());
        return taken;
    };
    const auto number = [&] {
        const std::string four = take(4);
        std::uint32_t value = 0;
        for (std::size_t i = four.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(four[i]);
        return value;
    };
    whole = take(4) == "INDX" && number() == 0 && whole;
    take(number());  // the description
    Sections sections;
    std::vector<std::uint32_t> sizes;
    std::uint32_t end = 0;
    for (std::uint32_t count = number(); whole && count > 0; --count) {
        sections.emplace_back(take(number()), "");
        whole = number() == end && whole;
        end += sizes.emplace_back(number());
        number();  // the time
    }
    for (std::size_t i = 0; whole && i < sizes.size(); ++i) sections[i].second = take(sizes[i]);
    return whole && left.empty() ? sections : Sections{{"(damaged)", std::string(bytes)}};
}

// A container as text: (name=content name(name=content)). Other bytes have a "=" in front.
inline std::string treeOf(std::string_view bytes) {
    if (bytes.substr(0, 4) != "INDX") return "=" + std::string(bytes);
    std::string text = "(";
    for (const auto& [name, content] : sectionsOf(bytes))
        text += (text == "(" ? "" : " ") + name + (content == bytes ? "" : treeOf(content));  // the same: damaged
    return text + ")";
}

// Takes a tree from the front of `text`. Gives its bytes, of a container with a description.
inline std::string takeTree(std::string_view& text) {
    static const std::string whole = containerBytes({{"a", "1"}, {"b", ""}, {"c", "whole"}});
    static const std::map<std::string, std::string> odd = {{"@newer", containerHead(0, 1)},
                                                           {"@damaged", containerHead(1) + tableEntry("a", 0, -5)},
                                                           {"@short", whole.substr(0, whole.size() - 1)},
                                                           {"@cut", containerHead(1) + tableEntry("in", 0, 50)}};
    if (!text.starts_with('(')) {
        const std::string word(text.substr(0, text.find_first_of(" )")));
        text.remove_prefix(word.size());
        return odd.contains(word) ? odd.at(word) : word;
    }
    Sections sections;
    for (text.remove_prefix(1); !text.starts_with(')'); text.remove_prefix(text.starts_with(' ') ? 1 : 0)) {
        const std::string name(text.substr(0, text.find_first_of("=(")));
        text.remove_prefix(name.size() + (text[name.size()] == '=' ? 1 : 0));
        sections.emplace_back(name, takeTree(text));
    }
    text.remove_prefix(1);
    return containerBytes(sections, "text");
}
inline std::string bytesOfTree(std::string_view text) {
    return takeTree(text);
}
