// What a string says: words, numbers, variables, and its short form.
#include <UT/TextScan.h>
#include <UT/UT_String.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_WorkArgs.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <utility>

namespace {

// Hands out the words of a text one by one, in the text's own characters. What it writes, words without their quotes
// and the NULs behind them, never overtakes what it reads.
class WordCutter {
public:
    explicit WordCutter(char* text) : text_(text), rest_(textscan::viewOf(text)) {}

    // The next word, null if there is none.
    char* next() {
        while (!rest_.empty() && textscan::isSpace(rest_.front())) rest_.remove_prefix(1);
        if (rest_.empty()) return nullptr;
        char* const word = text_ + (rest_.data() - text_);
        char* end = word;
        while (!rest_.empty() && !textscan::isSpace(rest_.front())) {
            const std::string_view piece = takePiece();
            std::memmove(end, piece.data(), piece.size());
            end += piece.size();
        }
        if (!rest_.empty()) rest_.remove_prefix(1);  // the white space, in whose place the NUL may come
        *end = '\0';
        return word;
    }

private:
    // What a pair of quotes holds, or what stands in front of the next quote or white space.
    std::string_view takePiece() {
        if (rest_.front() == '"') {
            const std::size_t close = textscan::closingQuote(rest_, 0, textscan::QuoteRule::Plain);
            const std::string_view piece = rest_.substr(1, close == rest_.npos ? close : close - 1);
            rest_.remove_prefix(close == rest_.npos ? rest_.size() : close + 1);
            return piece;
        }
        const auto end =
            std::find_if(rest_.begin(), rest_.end(), [](char c) { return c == '"' || textscan::isSpace(c); });
        const std::string_view piece = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(piece.size());
        return piece;
    }

    char* text_;
    std::string_view rest_;  // not read yet, in text_
};

bool skip(std::string_view& text, std::string_view any) {
    if (text.empty() || any.find(text.front()) == any.npos) return false;
    text.remove_prefix(1);
    return true;
}

bool skipDigits(std::string_view& text) {
    const auto before = text.size();
    while (!text.empty() && textscan::isDigit(text.front())) text.remove_prefix(1);
    return text.size() != before;
}

bool insideUtf8Character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u;
}

}  // namespace

int UT_String::isInteger(int) const {
    std::string_view digits = view();
    skip(digits, "+-");
    if (!skipDigits(digits) || !digits.empty()) return 0;
    std::string_view number = view();
    skip(number, "+");
    int value;
    return std::from_chars(number.data(), number.data() + number.size(), value).ec == std::errc();
}

int UT_String::isFloat(int, int) const {
    std::string_view rest = view();
    skip(rest, "+-");
    const bool whole = skipDigits(rest);
    const bool fraction = skip(rest, ".") && skipDigits(rest);
    if (!whole && !fraction) return 0;
    if (skip(rest, "eE")) {
        skip(rest, "+-");
        if (!skipDigits(rest)) return 0;
    }
    return rest.empty();
}

const char* UT_String::findNonSpace() const {
    const std::string_view text = view();
    const auto found = std::find_if_not(text.begin(), text.end(), textscan::isSpace);
    return found == text.end() ? nullptr : &*found;
}

char* UT_String::findNonSpace() {
    harden();
    return const_cast<char*>(std::as_const(*this).findNonSpace());
}

int UT_String::parseInPlace(char** argv, int max) {
    if (!argv) return 0;
    WordCutter words(writable());
    int count = 0;
    for (char* word; count < max && (word = words.next()); ++count) argv[count] = word;
    return count;
}

int UT_String::dosParse(UT_WorkArgs& args) {
    args.clear();
    WordCutter words(writable());
    while (char* const word = words.next()) args.append(word);
    return args.entries();
}

void UT_String::expandVariables() {
    if (isEmpty()) return;
    UT_WorkBuffer expanded;
    if (UTVariableScan(expanded, text_, nullptr, nullptr, true, true) > 0) expanded.copyIntoString(*this);
}

bool UT_String::truncateMiddle(int max) {
    constexpr std::string_view kDots = "...";
    const std::string_view text = view();
    const std::size_t most = static_cast<std::size_t>(std::max(max, 0));
    if (text.size() <= most) return false;
    const bool dotted = most >= kDots.size() + 2;
    const std::size_t shown = dotted ? most - kDots.size() : most;
    std::size_t front = dotted ? shown - shown / 2 : shown;
    std::size_t back = text.size() - (shown - front);
    while (front > 0 && insideUtf8Character(text[front])) --front;
    while (back < text.size() && insideUtf8Character(text[back])) ++back;
    std::string cut(text.substr(0, front));
    if (dotted) cut.append(kDots).append(text.substr(back));
    harden(cut);
    return true;
}
