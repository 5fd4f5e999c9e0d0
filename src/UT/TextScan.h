#pragma once
// Private: texts of callers, kinds of characters, and scanning of quoted text. The quoting of words, definitions, lines
// and arguments differs in what a backslash does, and the differences stay visible side by side here.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace textscan {

// The characters of `text` up to its NUL, but not more than `length` unless that is negative: then there need be no
// NUL. A view of nothing (null data) for null.
inline std::string_view viewOf(const char* text, int length = -1) {
    if (!text) return {};
    return length < 0 ? std::string_view(text)
                      : std::string_view(text, strnlen(text, static_cast<std::size_t>(length)));
}

// ASCII's, whatever the locale.
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool isLetter(char c) {
    return isUpper(c) || (c >= 'a' && c <= 'z');
}
constexpr char toLower(char c) {
    return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
// Of a hexadecimal digit; 16 of any other character.
constexpr int digitValue(char c) {
    if (isDigit(c)) return c - '0';
    c = toLower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : 16;
}
// True if `text` is `lower`, which has no capitals, in whatever case.
constexpr bool equalsLower(std::string_view text, std::string_view lower) {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return toLower(a) == b; });
}

enum class QuoteRule {
    Plain,               // a backslash is an ordinary character: words, arguments of macro calls
    NotBehindBackslash,  // a quote directly behind a backslash doesn't close, even if that stands behind another:
                         // definitions, line structure, conditions
    BackslashPairs,      // a backslash and the character behind it belong together, so that \\" closes: lines being
                         // expanded
};

// The position of the quote that closes the one at `open`, npos if there is none. It is the same character, either
// quote alike.
inline std::size_t closingQuote(std::string_view text, std::size_t open, QuoteRule rule) {
    const char quote = text[open];
    if (rule == QuoteRule::BackslashPairs) {
        for (std::size_t at = open + 1; at < text.size(); ++at) {
            if (text[at] == quote) return at;
            if (text[at] == '\\') ++at;
        }
        return text.npos;
    }
    std::size_t at = text.find(quote, open + 1);
    if (rule == QuoteRule::NotBehindBackslash) {
        while (at != text.npos && text[at - 1] == '\\') at = text.find(quote, at + 1);
    }
    return at;
}

}  // namespace textscan
