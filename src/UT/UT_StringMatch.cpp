// Strings held against each other: wildcards, and the order of names that hold numbers.
#include <UT/TextScan.h>
#include <UT/UT_String.h>

#include <algorithm>

namespace {

int sign(bool less) {
    return less ? -1 : 1;
}

// Takes the run of digits off the front of `text`.
std::string_view takeDigits(std::string_view& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), textscan::isDigit);
    const std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    return digits;
}

std::string_view withoutLeadingZeros(std::string_view digits) {
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

// By value. Without leading zeros the longer run is the larger, and runs of one length compare as texts.
int compareDigits(std::string_view a, std::string_view b) {
    a = withoutLeadingZeros(a);
    b = withoutLeadingZeros(b);
    if (a.size() != b.size()) return sign(a.size() < b.size());
    return a.compare(b);
}

}  // namespace

// One pass that remembers the last `*` and lengthens its run by a character whenever what stands behind it fails. An
// earlier `*` need not be tried again: behind it the leftmost place was taken, and every other one leaves the later `*`
// less to choose from, also when a `/` bounds its run.
bool UT_String::match(std::string_view text, std::string_view pattern, bool caseSensitive) {
    const auto same = [caseSensitive](char a, char b) {
        return a == b || (!caseSensitive && textscan::toLower(a) == textscan::toLower(b));
    };
    std::size_t at = 0, place = 0;         // next of the text, next of the pattern
    std::size_t starPlace = pattern.npos;  // behind the last `*`
    std::size_t runEnd = 0;                // what its run takes so far
    while (at < text.size() || place < pattern.size()) {
        if (place < pattern.size() && pattern[place] == '*') {
            starPlace = ++place;
            runEnd = at;
        } else if (at < text.size() && place < pattern.size() &&
                   (pattern[place] == '?' ? text[at] != '/' : same(text[at], pattern[place]))) {
            ++at;
            ++place;
        } else if (starPlace != pattern.npos && runEnd < text.size() && text[runEnd] != '/') {
            at = ++runEnd;
            place = starPlace;
        } else {
            return false;
        }
    }
    return true;
}

int UT_String::multiMatch(const char* patterns, int caseSensitive, const char* separators, bool* exact,
                          int* index) const {
    if (exact) *exact = false;
    if (index) *index = -1;
    std::string_view rest = textscan::viewOf(patterns);
    const std::string_view separating = textscan::viewOf(separators);
    for (int count = 0; !rest.empty();) {
        const std::string_view pattern = rest.substr(0, rest.find_first_of(separating));
        rest.remove_prefix(std::min(pattern.size() + 1, rest.size()));
        if (pattern.empty()) continue;
        if (match(view(), pattern, caseSensitive != 0)) {
            if (exact) *exact = pattern.find_first_of("*?") == pattern.npos;
            if (index) *index = count;
            return 1;
        }
        ++count;
    }
    return 0;
}

int UT_String::compareNumberedString(const char* a, const char* b, bool caseSensitive) {
    if (!a || !b) return static_cast<int>(a != nullptr) - static_cast<int>(b != nullptr);
    std::string_view left(a), right(b);
    int zeros = 0;  // the first difference in leading zeros
    while (!left.empty() && !right.empty()) {
        if (textscan::isDigit(left.front()) && textscan::isDigit(right.front())) {
            const std::string_view leftDigits = takeDigits(left), rightDigits = takeDigits(right);
            if (const int order = compareDigits(leftDigits, rightDigits)) return order;
            if (zeros == 0 && leftDigits.size() != rightDigits.size())
                zeros = sign(leftDigits.size() < rightDigits.size());
            continue;
        }
        const char c = caseSensitive ? left.front() : textscan::toLower(left.front());
        const char d = caseSensitive ? right.front() : textscan::toLower(right.front());
        if (c != d) return sign(static_cast<unsigned char>(c) < static_cast<unsigned char>(d));
        left.remove_prefix(1);
        right.remove_prefix(1);
    }
    if (left.empty() != right.empty()) return sign(left.empty());
    return zeros;
}
