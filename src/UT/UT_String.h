#pragma once
// A text that is null, refers to characters of someone else, or owns its characters. Two words in size.
//
//     UT_String name("scene.idx");       // refers to the literal, copies nothing
//     name += "?geo";                    // owns its characters from here on
//     if (name.match("*.idx?geo")) use(name.buffer());
//
// A character is a byte. Letters, digits and white space are those of ASCII, whatever the locale. A text ends at its
// first NUL. Null arguments are welcome everywhere and count as an empty text unless an operation says otherwise.
#include <UT/UT_Export.h>

#include <string_view>

class UT_WorkArgs;

class TARVANI_EXPORT UT_String {
public:
    UT_String() = default;
    // Refers to `text`, which must outlive the string or its next change. With `harden` not 0, or a `length` of 0 or
    // more, the string is an owned copy of the text or of its first `length` characters. A null text is a null string.
    explicit UT_String(const char* text, int harden = 0, int length = -1);
    // An owned copy. A view of nothing (null data) is a null string.
    explicit UT_String(std::string_view text) { harden(text); }
    // An independent value: the copy owns its characters also where `other` only refers to them.
    UT_String(const UT_String& other);
    UT_String(UT_String&& other) noexcept;
    ~UT_String();

    UT_String& operator=(const UT_String& other);
    UT_String& operator=(UT_String&& other) noexcept;
    // A private copy, so that the source may change or go; it may be a piece of this very string. Null makes the
    // string null.
    UT_String& operator=(const char* text);
    UT_String& operator=(std::string_view text);

    // The characters, null for a null string. Valid until the string changes.
    const char* buffer() const { return text_; }
    // The same to write on, without changing the length beyond its end; a text that was only referred to is copied
    // first.
    char* writable();
    // The characters without the ending NUL; empty, with null data, for a null string.
    std::string_view view() const { return text_ ? std::string_view(text_) : std::string_view(); }
    // In characters; 0 for a null string. Counted at every call. INT_MAX for a text longer than that.
    int length() const;
    // True for a null and for an empty string.
    bool isEmpty() const { return !text_ || !*text_; }
    // True for a null string alone.
    bool isNull() const { return !text_; }
    // True if the string only refers to its characters.
    bool isReference() const { return text_ && notOwned_; }
    // Makes the string null.
    void clear();

    // Makes sure that the characters are the string's own.
    void harden();
    // Makes the string an owned copy of `text` or of its first `length` characters (-1: all). Null makes it null.
    void harden(const char* text, int length = -1);
    void harden(std::string_view text);
    // Takes the characters of `other` and the duty to release them. `other` goes on pointing at them, unowned, for as
    // long as this string keeps them.
    void adopt(UT_String& other);
    // Takes a buffer from malloc and the duty to free it. Null makes the string null.
    void adopt(char* text);
    // Gives the characters to the caller, who releases them with free. The string goes on pointing at them, unowned.
    // What was only referred to is copied first. Null for a null string.
    char* steal();

    // Appends; the result is owned. `text` may be a piece of this very string.
    UT_String& operator+=(const char* text);
    UT_String& operator+=(std::string_view text);
    UT_String& operator+=(const UT_String& text) { return *this += text.view(); }
    // Lower-cases in place.
    void toLower();

    // Not 0 if the whole text is an integer with an optional sign, in decimal, that fits 32 bits. The argument is not
    // used.
    int isInteger(int = 0) const;
    // Not 0 if the whole text is a decimal number with an optional sign, point and exponent. Every integer is one. The
    // arguments are not used.
    int isFloat(int = 0, int = 0) const;

    // Not 0 if the whole string matches the pattern: `*` stands for any run of characters without `/`, `?` for one
    // character that isn't `/`, everything else for itself. `caseSensitive` 0 takes letters of both cases as equal.
    // Takes at most the product of both lengths in time. A null pattern matches nothing.
    int match(const char* pattern, int caseSensitive = 1) const {
        return pattern && match(view(), pattern, caseSensitive != 0);
    }
    static bool match(std::string_view text, std::string_view pattern, bool caseSensitive = true);
    // Not 0 if the string matches one of the patterns in a list that is split at each of the characters `separators`
    // (null: not split). Empty patterns are passed over; an empty list matches nothing. `exact`, if not null, gets
    // whether the pattern that matched has no wildcard; `index` its place among the patterns, from 0, or -1.
    int multiMatch(const char* patterns, int caseSensitive = 1, const char* separators = ", ", bool* exact = nullptr,
                   int* index = nullptr) const;

    // Orders names as a person would: negative, 0 or positive as `a` stands before, beside or behind `b`. Runs of
    // digits compare by value, whatever their length, everything else by byte (or without regard to case). Leading
    // zeros decide only when all else is equal: "a1", "a01", "a2", "a10". Null comes before everything.
    static int compareNumberedString(const char* a, const char* b, bool caseSensitive = true);

    // True if the string ends in `text`; every string ends in the empty text. False for null.
    bool endsWith(const char* text) const;
    // Puts `newSuffix` in the place of `oldSuffix`, with which the string must end. Gives 1 if it did, else 0.
    int replaceSuffix(const char* oldSuffix, const char* newSuffix);
    // The first character that isn't white space, null if there is none. The non-const form gives a place to write on:
    // it hardens the string first.
    const char* findNonSpace() const;
    char* findNonSpace();

    // The two below split the string at white space. Double quotes group and are taken off; a backslash is an ordinary
    // character; an unclosed quote ends at the end of the text. The words are pointers into the string's own
    // characters, which are cut up by that, and valid until the string changes. A text that is only referred to is
    // copied first.
    //
    // Puts at most `max` words into `argv` and gives their number; what stands behind the last of them is lost.
    int parseInPlace(char** argv, int max);
    // Puts all words into `args`, replacing what that held, and gives their number.
    int dosParse(UT_WorkArgs& args);

    // Replaces $NAME, ${NAME} and a leading ~/ by their values from the environment. An unknown name stays as it is
    // written.
    void expandVariables();
    // Cuts the string to at most `max` characters by putting "..." in the place of its middle, never inside a UTF-8
    // character. Where `max` leaves no room for that (below 5), the front is kept. True if something was cut.
    bool truncateMiddle(int max);

private:
    void release() noexcept;

    char* text_ = nullptr;   // from malloc if owned
    bool notOwned_ = false;  // someone else releases text_
};

// Equal characters. A null string equals an empty one.
inline bool operator==(const UT_String& a, const UT_String& b) {
    return a.view() == b.view();
}
inline bool operator==(const UT_String& a, std::string_view b) {
    return a.view() == b;
}
inline bool operator==(const UT_String& a, const char* b) {
    return a.view() == (b ? std::string_view(b) : std::string_view());
}
#if __cplusplus < 202002L
// From C++20 on the compiler makes this of the above.
template <class Text>
bool operator!=(const UT_String& a, const Text& b) {
    return !(a == b);
}
#endif
