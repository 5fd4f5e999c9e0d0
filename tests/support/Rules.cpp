#include "Rules.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string_view>

#include "Spelling.h"

namespace {

Columns columnsOf(std::string_view text) {
    constexpr std::string_view kBar = " | ";
    Columns columns;
    for (std::size_t bar = 0; bar != text.npos;) {
        bar = text.find(kBar);
        columns.push_back(spelledOut(text.substr(0, bar)));
        text.remove_prefix(bar == text.npos ? 0 : bar + kBar.size());
    }
    return columns;
}

}  // namespace

void expectRules(const std::string& path, const std::map<std::string, Rule>& functions) {
    constexpr std::string_view kArrow = " -> ";
    std::ifstream in(path, std::ios::binary);
    std::set<std::string> used;
    std::string line, heading, name;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line.front() == ';') continue;
        if (line.front() == '[') {
            heading = line + "\n";
            used.insert(name = line.substr(1, line.find(']') - 1));
            continue;
        }
        SCOPED_TRACE(heading + path + ":" + std::to_string(number) + ": " + line);
        line += line.ends_with(" ->") ? " " : "";
        const std::size_t arrow = line.find(kArrow);
        ASSERT_TRUE(arrow != line.npos && functions.contains(name));
        const std::string expected = spelledOut(line.substr(arrow + kArrow.size()));
        EXPECT_EQ(functions.at(name)(columnsOf(line.substr(0, arrow))), expected);
    }
    for (const auto& [function, rule] : functions)
        EXPECT_TRUE(used.contains(function)) << path << " lacks " << function;
}
