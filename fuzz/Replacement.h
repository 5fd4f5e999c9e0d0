#pragma once
// What macros may take by right, whatever the size of the input: definitions that name each other make a line grow by
// a factor with each level. With kLevels, and no more than kLongestInput for all definitions, a line stays below 16
// MiB; buffers double, and those that want a copy have one. A text without a directive defines nothing and gets
// nothing.
#include "Limits.h"

#include <string_view>

struct Replacement {
    static constexpr std::size_t kLongestInput = 1024;
    static constexpr const char* kLevels = "4";  // for the option -r
    static constexpr std::size_t kLongestLine = std::size_t{16} << 20;

    explicit Replacement(std::string_view text) {
        if (text.find('#') == text.npos) return;
        bytes = 4 * kLongestLine;
        time = std::chrono::seconds(5);
    }
    std::size_t bytes = 0;
    std::chrono::microseconds time = {};
};
