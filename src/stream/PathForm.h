#pragma once
// Private: the two forms of a path that are told apart as text alone.
#include <optional>
#include <string_view>

struct SectionPath {
    std::string_view container;
    std::string_view section;
};

// "x?y" at its last "?": sections nest, so that the container may be a section path itself. Nothing without a "?".
inline std::optional<SectionPath> splitSection(std::string_view path) {
    const std::size_t mark = path.rfind('?');
    if (mark == std::string_view::npos) return std::nullopt;
    return SectionPath{path.substr(0, mark), path.substr(mark + 1)};
}

// The path without a leading "file:" in any case. Helpers see the prefix, so it goes only just before the local file
// system is used.
inline std::string_view stripFilePrefix(std::string_view path) {
    constexpr std::string_view kPrefix = "file:";
    if (path.size() < kPrefix.size()) return path;
    for (std::size_t i = 0; i < kPrefix.size(); ++i) {
        const char c = path[i];
        const char lower = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
        if (lower != kPrefix[i]) return path;
    }
    return path.substr(kPrefix.size());
}
