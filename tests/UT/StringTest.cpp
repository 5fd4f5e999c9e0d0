// Strings: who owns the characters, matching against a slow reference, words, numbers and short forms.
#include <UT/TextScan.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkArgs.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string_view operator""_n(const char* text, std::size_t length) {
    return {text, length};
}

std::string randomText(std::mt19937& random, std::string_view letters, std::size_t longest) {
    std::string text(random() % (longest + 1), ' ');
    for (char& c : text) c = letters[random() % letters.size()];
    return text;
}

std::string words(const char* text) {
    UT_String line(text);
    std::vector<char*> kept;
    {
        UT_WorkArgs args;
        const int count = line.dosParse(args);
        EXPECT_EQ(count, args.entries());
        kept.assign(args.argv(), args.argv() + count);
        const UT_WorkArgs taken(std::move(args));
        EXPECT_EQ(args.argv()[count], nullptr);  // still a list that can be read and appended to
    }
    std::string all;
    for (const char* word : kept) all += std::string(word) + "|";  // the list has gone, the words stay
    return all;
}

// Ownership

TEST(String, ACopyIsIndependentOfWhatItCameFrom) {
    char source[] = "scene";
    const UT_String reference(source);
    EXPECT_EQ(reference.buffer(), source);
    UT_String copy(reference), assigned, hardened(reference.buffer(), 1), counted(source, 0, 2);
    assigned = source;
    source[0] = 'S';
    EXPECT_EQ(reference, "Scene");
    for (const UT_String* string : {&copy, &assigned, &hardened}) EXPECT_EQ(*string, "scene");
    EXPECT_EQ(counted, "sc");
    EXPECT_EQ(UT_String(source, 0, 0), "");
}

TEST(String, ChangesNeverReachAReferencedText) {
    char source[] = "  A \"b c\"";
    UT_WorkArgs args;
    char* argv[4];
    UT_String(source).toLower();
    UT_String(source).dosParse(args);
    UT_String(source).parseInPlace(argv, 4);
    UT_String(source).truncateMiddle(5);
    UT_String place(source);
    *place.findNonSpace() = 'x';
    UT_String appended(source);
    appended += "x";
    EXPECT_STREQ(source, "  A \"b c\"");
    EXPECT_EQ(place, "  x \"b c\"");
}

TEST(String, AdoptAndStealLeaveTheSourcePointingAtTheText) {
    UT_String owner("text", 1), taker("old", 1);
    const char* const characters = owner.buffer();
    taker.adopt(owner);
    EXPECT_EQ(taker.buffer(), characters);
    EXPECT_EQ(owner.buffer(), characters);
    EXPECT_FALSE(taker.isReference());
    EXPECT_TRUE(owner.isReference());
    owner.adopt(taker);  // back again, over the same characters
    EXPECT_TRUE(taker.isReference());
    owner.adopt(owner);
    EXPECT_EQ(owner, "text");
    taker = nullptr;

    char* const stolen = owner.steal();
    EXPECT_EQ(owner.buffer(), stolen);
    EXPECT_TRUE(owner.isReference());
    owner = "other";
    EXPECT_STREQ(stolen, "text");
    std::free(stolen);

    UT_String literal("literal");
    char* const copy = literal.steal();
    copy[0] = 'L';
    std::free(copy);
    EXPECT_EQ(UT_String().steal(), nullptr);
}

TEST(String, TakesPiecesOfItself) {
    UT_String string("abcdef", 1);
    string = string.buffer() + 2;
    EXPECT_EQ(string, "cdef");
    string += string.buffer() + 3;
    EXPECT_EQ(string, "cdeff");
    string.harden(string.buffer() + 1, 2);
    EXPECT_EQ(string, "de");
    const UT_String& same = string;
    string = same;
    EXPECT_EQ(string, "de");
}

TEST(String, NullIsAnEmptyTextEverywhere) {
    UT_String null(nullptr, 0, -1), copy(null);
    UT_WorkArgs args;
    EXPECT_TRUE(copy.isNull() && copy.isEmpty());
    null.toLower();
    null.expandVariables();
    EXPECT_FALSE(null.truncateMiddle(-1));
    EXPECT_EQ(null.findNonSpace(), nullptr);
    EXPECT_EQ(null.length() + null.isInteger() + null.isFloat() + null.parseInPlace(nullptr, 3) + null.dosParse(args),
              0);
    EXPECT_EQ(null.match(nullptr) + null.multiMatch(nullptr, 1, nullptr, nullptr, nullptr), 0);
    EXPECT_FALSE(null.endsWith(nullptr));
    EXPECT_EQ(null.replaceSuffix(nullptr, "x"), 0);
    EXPECT_TRUE(null.isNull());
    null += "x";
    EXPECT_EQ(null, "x");
    UT_String literal("x");
    literal += nullptr;
    EXPECT_FALSE(literal.isReference());
    EXPECT_EQ(UT_String("ab\0c"_n), "ab");
}

TEST(String, ASuffixIsReplacedWhereItEndsTheText) {
    UT_String string("scene.idx");
    for (const char* other : {".id", "longer than scene.idx"}) EXPECT_EQ(string.replaceSuffix(other, ""), 0);
    EXPECT_EQ(string.replaceSuffix(".idx", ""), 1);
    EXPECT_EQ(string, "scene");
    EXPECT_EQ(string.replaceSuffix("scene", "x.y"), 1);
    EXPECT_EQ(string, "x.y");
}

// Matching

bool slowMatch(std::string_view text, std::string_view pattern) {
    if (pattern.empty()) return text.empty();
    if (pattern[0] == '*')
        return slowMatch(text, pattern.substr(1)) ||
               (!text.empty() && text[0] != '/' && slowMatch(text.substr(1), pattern));
    return !text.empty() && (pattern[0] == '?' ? text[0] != '/' : text[0] == pattern[0]) &&
           slowMatch(text.substr(1), pattern.substr(1));
}

TEST(StringMatch, AgreesWithAReferenceThatTriesEverything) {
    std::mt19937 random(1);
    int matches = 0;
    for (int i = 0; i < 100'000; ++i) {
        const std::string text = randomText(random, "aab/*", 9), pattern = randomText(random, "aab/***?", 7);
        matches += slowMatch(text, pattern);
        ASSERT_EQ(UT_String::match(text, pattern), slowMatch(text, pattern)) << text << " against " << pattern;
        ASSERT_TRUE(UT_String::match(pattern, pattern));
    }
    EXPECT_GT(matches, 1000);
}

TEST(StringMatch, EndsWithManyStarsAndMindsCaseOnlyWhenAsked) {
    std::string pattern;
    for (int i = 0; i < 1000; ++i) pattern += "a*";
    EXPECT_FALSE(UT_String::match(std::string(20'000, 'a'), pattern + "b"));
    EXPECT_FALSE(UT_String("Scene.IDX").match("*.idx", 1));
    EXPECT_TRUE(UT_String("Scene.IDX").match("s*.idx", 0));
}

TEST(StringMatch, AListMatchesWithItsFirstPatternThatDoes) {
    const struct {
        const char *patterns, *separators;
        int matches, index;
        bool exact;
    } cases[] = {{"*.txt, *.idx", ", ", 1, 1, false}, {" ,,a.idx,*", ", ", 1, 0, true},    {"", ", ", 0, -1, false},
                 {" , ", ", ", 0, -1, false},         {"b.idx c.idx", ", ", 0, -1, false}, {"x:a.idx", ":", 1, 1, true},
                 {"a*,*", nullptr, 0, -1, false}};
    for (const auto& c : cases) {
        bool exact = true;
        int index = 7;
        EXPECT_EQ(UT_String("a.idx").multiMatch(c.patterns, 1, c.separators, &exact, &index), c.matches) << c.patterns;
        EXPECT_EQ(index, c.index) << c.patterns;
        EXPECT_EQ(exact, c.exact) << c.patterns;
    }
}

TEST(StringCompare, NamesThatHoldNumbersComeInTheirOrder) {
    std::istringstream list(
        "- 0 00 1 01 1a2 1a10 01b 10 99999999999999999999 100000000000000000000 "
        "A a a1b1 a1b01 a01b1 a1b2 a2 a10 b \xc3\xa9");
    const std::vector<std::string> texts(std::istream_iterator<std::string>(list), {});
    std::vector<const char*> inOrder = {nullptr, ""};
    for (const std::string& text : texts) inOrder.push_back(text.c_str());
    for (const char* const& a : inOrder) {
        for (const char* const& b : inOrder) {
            const int order = UT_String::compareNumberedString(a, b, true);
            EXPECT_EQ((order > 0) - (order < 0), (&a > &b) - (&a < &b))
                << (a ? a : "null") << " and " << (b ? b : "null");
        }
    }
    EXPECT_EQ(UT_String::compareNumberedString("A01b", "a01B", false), 0);
}

// Words and numbers

TEST(StringWords, WhiteSpaceSeparatesAndDoubleQuotesGroup) {
    const struct {
        const char *text, *words;  // each with a bar behind it
    } cases[] = {{"", ""},
                 {" \t\r\n\v\f", ""},
                 {"  a  bb\tc ", "a|bb|c|"},
                 {"\"a b\" c", "a b|c|"},
                 {"x\"a b\"y\"\"z w", "xa byz|w|"},
                 {"\"\" \"\"", "||"},
                 {"a \"b c", "a|b c|"},
                 {"a \"", "a||"},
                 {"C:\\dir\\ \"q\\\" 'a b'", "C:\\dir\\|q\\|'a|b'|"}};
    for (const auto& c : cases) EXPECT_EQ(words(c.text), c.words) << c.text;
}

TEST(StringWords, ParsingInPlaceStopsAtTheGivenNumber) {
    UT_String line("100 \"a b\" rest of it", 1);
    char* argv[3] = {nullptr, nullptr, nullptr};
    EXPECT_EQ(line.parseInPlace(argv, 2), 2);
    EXPECT_STREQ(argv[0], "100");
    EXPECT_STREQ(argv[1], "a b");
    EXPECT_EQ(argv[2], nullptr);
    EXPECT_EQ(line.parseInPlace(argv, -1), 0);
}

TEST(StringNumbers, TheWholeTextMustBeTheNumber) {
    const auto check = [](std::initializer_list<const char*> texts, int integer, int real) {
        for (const char* text : texts) {
            EXPECT_EQ(UT_String(text).isInteger(0), integer) << text;
            EXPECT_EQ(UT_String(text).isFloat(0, 0), real) << text;
        }
    };
    check({"0", "-12", "+7", "2147483647", "-2147483648", "00000000000012"}, 1, 1);
    check({"2147483648", "-2147483649", "1.", ".5", "-1.5e+10", "1e5"}, 0, 1);
    check({"", "-", ".", "+-1", "1e", "e5", "1e+", " 1", "1 ", "0x10", "nan", "inf", "1.2.3"}, 0, 0);
}

TEST(StringTruncate, TheMiddleGoes) {
    const struct {
        const char* text;
        int max;
        const char* shortened;
    } cases[] = {{"abcdef", 6, "abcdef"},    {"abcdefghij", 9, "abc...hij"}, {"abcdefghij", 8, "abc...ij"},
                 {"abcdefghij", 5, "a...j"}, {"abcdef", 4, "abcd"},          {"abcdef", 0, ""},
                 {"abcdef", -5, ""},         {"ééééé", 9, "é...é"},          {"€€", 2, ""}};
    for (const auto& c : cases) {
        UT_String string(c.text);
        EXPECT_EQ(string.truncateMiddle(c.max), std::string_view(c.text) != c.shortened) << c.text;
        EXPECT_EQ(string, c.shortened) << c.text << " to " << c.max;
    }
}

// Quotes

TEST(TextScan, EachRuleHasItsOwnViewOfBackslashes) {
    using textscan::QuoteRule;
    constexpr std::size_t none = std::string_view::npos;
    const struct {
        std::string_view text;
        std::size_t plain, notBehind, pairs;
    } cases[] = {{R"("ab" ")", 3, 3, 3},    {R"('a"b')", 4, 4, 4},      {R"("a\"b")", 3, 5, 5},
                 {R"("a\\"b")", 4, 6, 4},   {R"("a\")", 3, none, none}, {R"("a\)", none, none, none},
                 {R"(")", none, none, none}};
    for (const auto& c : cases) {
        EXPECT_EQ(textscan::closingQuote(c.text, 0, QuoteRule::Plain), c.plain) << c.text;
        EXPECT_EQ(textscan::closingQuote(c.text, 0, QuoteRule::NotBehindBackslash), c.notBehind) << c.text;
        EXPECT_EQ(textscan::closingQuote(c.text, 0, QuoteRule::BackslashPairs), c.pairs) << c.text;
    }
}

}  // namespace
