#pragma once
// What a pattern matches, by its rules alone: the set of all places in the text that its characters can lead to.
#include "Limits.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

inline bool slowMatch(std::string_view text, std::string_view pattern, bool caseSensitive = true) {
    const Limits::Pause slow;
    const auto lower = [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; };
    std::vector<bool> reached(text.size() + 1);
    reached[0] = true;
    for (const char wanted : pattern) {
        std::vector<bool> next(text.size() + 1);
        for (std::size_t at = 0; at <= text.size(); ++at) {
            if (!reached[at]) continue;
            if (wanted == '*') {
                next[at] = true;
                for (std::size_t end = at; end < text.size() && text[end] != '/'; ++end) next[end + 1] = true;
            } else if (at < text.size()) {
                const bool same = caseSensitive ? text[at] == wanted : lower(text[at]) == lower(wanted);
                next[at + 1] = wanted == '?' ? text[at] != '/' : same;
            }
        }
        reached = next;
    }
    return reached[text.size()];
}

// The parts of a text between separators, those that are empty left out.
inline std::vector<std::string> wordsOf(std::string_view text, std::string_view separators) {
    std::vector<std::string> words(1);
    for (const char c : text) {
        if (separators.find(c) == separators.npos)
            words.back() += c;
        else
            words.emplace_back();
    }
    std::erase(words, "");
    return words;
}

// Whether a path is one of those that a search pattern finds below a directory.
inline bool slowBelongs(std::string_view path, const std::string& directory, std::string_view pattern) {
    for (const std::string& token : wordsOf(pattern, " \t\n\v\f\r"))
        for (const char* const suffix : {".hide", ".append", ".nosave", ""})
            if (slowMatch(path, directory + "/" + token + suffix)) return true;
    return false;
}
