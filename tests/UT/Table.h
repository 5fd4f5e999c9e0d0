#pragma once
// Tables of what goes in and what comes out.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// Rows of any types, for `for (const auto& [text, number] : rows)`.
template <class... Columns>
using Rows = std::vector<std::tuple<Columns...>>;

// What `function` makes of the text in front of each arrow, as text, is what stands behind it.
//
//     expectRows(resolved, {"/a/.. -> /", "/a/b/../ -> /a/"});
template <class Function>
void expectRows(Function function, std::initializer_list<std::string_view> rows) {
    constexpr std::string_view kArrow = " -> ";
    for (const std::string_view row : rows) {
        const std::size_t arrow = row.find(kArrow);
        ASSERT_NE(arrow, row.npos) << row;
        EXPECT_EQ(function(std::string(row.substr(0, arrow))), row.substr(arrow + kArrow.size())) << row;
    }
}
