#include "Rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string_view>

namespace {

// Takes `text` up to its end, or to the "}" of the repetition it stands in, and undoes its spelling.
std::string spelledOut(std::string_view& text, bool isRepeated = false) {
    std::string out;
    while (!text.empty() && !(isRepeated && text.front() == '}')) {
        const char kind = text.front() == '\\' && text.size() > 1 ? text[1] : '\0';
        const std::size_t length = kind == '\0' ? 1 : kind == 'x' ? 4 : kind == '{' ? text.find(' ') + 1 : 2;
        const std::string_view taken = text.substr(0, length);
        text.remove_prefix(taken.size());
        if (kind == '{') {
            const std::string repeated = spelledOut(text, true);
            text.remove_prefix(std::min<std::size_t>(1, text.size()));
            for (int i = std::stoi(std::string(taken.substr(2))); i > 0; --i) out += repeated;
        } else if (kind == 'x') {
            out += static_cast<char>(std::stoi(std::string(taken.substr(2)), nullptr, 16));
        } else {
            out += kind == 'r' ? '\r' : kind == 'n' ? '\n' : kind == 't' ? '\t' : taken.back();
        }
    }
    return out;
}

Columns columnsOf(std::string_view text) {
    constexpr std::string_view kBar = " | ";
    Columns columns;
    for (std::size_t bar = 0; bar != text.npos;) {
        bar = text.find(kBar);
        std::string_view column = text.substr(0, bar);
        columns.push_back(spelledOut(column));
        text.remove_prefix(bar == text.npos ? 0 : bar + kBar.size());
    }
    return columns;
}

}  // namespace

void expectRules(const std::string& path, const std::map<std::string, Rule>& functions) {
    constexpr std::string_view kArrow = " -> ";
    std::ifstream in(path, std::ios::binary);
    std::set<std::string> used;
    std::string line, name;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line.front() == ';') continue;
        if (line.front() == '[') {
            used.insert(name = line.substr(1, line.find(']') - 1));
            continue;
        }
        const std::string place = path + ":" + std::to_string(number) + ": " + line;
        line += line.ends_with(" ->") ? " " : "";
        const std::size_t arrow = line.find(kArrow);
        ASSERT_TRUE(arrow != line.npos && functions.contains(name)) << place;
        std::string_view expected = std::string_view(line).substr(arrow + kArrow.size());
        EXPECT_EQ(functions.at(name)(columnsOf(line.substr(0, arrow))), spelledOut(expected)) << place;
    }
    for (const auto& [function, rule] : functions)
        EXPECT_TRUE(used.contains(function)) << path << " lacks " << function;
}
