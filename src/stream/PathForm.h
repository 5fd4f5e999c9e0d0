#pragma once
// Private: the two forms of a path that are told apart as text alone: sections here, "file:" by stripFilePrefix.
#include <UT/FilePrefix.h>

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
