#pragma once
// Private: what the preprocessor takes for a word and for a number, in lines, definitions and conditions alike.
#include <UT/Saturated.h>
#include <UT/TextScan.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace cppwords {

constexpr bool isStart(char c) {
    return textscan::isLetter(c) || c == '_';
}
constexpr bool isPart(char c) {
    return isStart(c) || textscan::isDigit(c);
}

// Characters by what a scan of a line has to do with them, since asking one table is faster than asking three ranges.
// All up to Digit mean nothing where no word has begun.
enum class Kind : unsigned char { Plain, Digit, Word, Quote, Backslash };
inline constexpr auto kKinds = [] {
    std::array<Kind, 256> kinds{};
    for (int i = 0; i < 256; ++i) {
        const char c = static_cast<char>(i);
        Kind kind = Kind::Plain;
        if (isStart(c)) kind = Kind::Word;
        if (textscan::isDigit(c)) kind = Kind::Digit;
        if (c == '"' || c == '\'') kind = Kind::Quote;
        if (c == '\\') kind = Kind::Backslash;
        kinds[static_cast<std::size_t>(i)] = kind;
    }
    return kinds;
}();
inline Kind kindOf(char c) {
    return kKinds[static_cast<unsigned char>(c)];
}

// The end of the letters, digits and `_` that stand from `at` on.
inline std::size_t endOf(std::string_view text, std::size_t at) {
    while (at < text.size() && (kindOf(text[at]) == Kind::Word || kindOf(text[at]) == Kind::Digit)) ++at;
    return at;
}

// Whether the letter at `at` begins a word: no other stands in front of it and of the digits before it.
inline bool startsAt(std::string_view text, std::size_t at) {
    while (at > 0 && kindOf(text[at - 1]) == Kind::Digit) --at;
    return at == 0 || kindOf(text[at - 1]) != Kind::Word;
}

inline std::size_t spaceEnd(std::string_view text, std::size_t at) {
    while (at < text.size() && textscan::isSpace(text[at])) ++at;
    return at;
}
inline std::string_view skipSpace(std::string_view text) {
    return text.substr(spaceEnd(text, 0));
}

// The text in front of the first white space, cut to `most` characters.
inline std::string_view firstWord(std::string_view text, std::size_t most) {
    std::size_t end = 0;
    while (end < text.size() && end < most && !textscan::isSpace(text[end])) ++end;
    return text.substr(0, end);
}

// The decimal number at the front of `text`, behind white space and with an optional sign; 0 if there is none. What
// doesn't fit an int becomes the nearest one.
inline int leadingNumber(std::string_view text) {
    text = skipSpace(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    constexpr std::int64_t kEnough = std::int64_t{std::numeric_limits<int>::max()} + 1;  // with either sign
    std::int64_t value = 0;
    for (; !text.empty() && textscan::isDigit(text[0]); text.remove_prefix(1))
        value = std::min(value * 10 + (text[0] - '0'), kEnough);
    return saturated(negative ? -value : value);
}

}  // namespace cppwords
