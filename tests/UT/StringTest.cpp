// Strings: who owns the characters, matching against a slow reference, words, numbers, short forms.
#include <UT/UT_String.h>
#include <UT/UT_WorkArgs.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <random>
#include <sstream>
#include <vector>

#include "Table.h"

namespace {

// Ownership

TEST(String, ACopyIsIndependentOfWhatItCameFrom) {
    char source[] = "scene";
    const UT_String reference(source), copy(reference), hardened(source, 1), counted(source, 0, 2);
    UT_String assigned("a literal");
    assigned = source;
    EXPECT_FALSE(assigned.isReference());
    source[0] = 'S';
    EXPECT_EQ(reference, "Scene");
    EXPECT_TRUE(copy == "scene" && assigned == "scene" && hardened == "scene");
    EXPECT_EQ(counted, "sc");
    EXPECT_EQ(UT_String(source, 0, 0), "");
    EXPECT_EQ(UT_String(std::string_view("ab\0c", 4)), "ab");
}

TEST(String, ChangesNeverReachAReferencedText) {
    char source[] = "  A \"b c\"";
    UT_WorkArgs args;
    char* argv[4];
    UT_String(source).dosParse(args);
    UT_String(source).parseInPlace(argv, 4);
    UT_String(source).truncateMiddle(5);
    UT_String place(source), appended(source), lower(source);
    lower.toLower();
    *place.findNonSpace() = 'x';
    appended += "x";
    EXPECT_STREQ(source, "  A \"b c\"");
    EXPECT_EQ(place, "  x \"b c\"");
    EXPECT_EQ(lower, "  a \"b c\"");
}

TEST(String, AdoptAndStealLeaveTheSourcePointingAtTheText) {
    UT_String owner("text", 1), taker("old", 1);
    const char* const characters = owner.buffer();
    taker.adopt(owner);
    EXPECT_TRUE(taker.buffer() == characters && owner.buffer() == characters);
    EXPECT_TRUE(!taker.isReference() && owner.isReference());
    owner.adopt(taker);  // back again, over the same characters
    owner.adopt(owner);
    EXPECT_TRUE(taker.isReference());
    taker = nullptr;
    EXPECT_EQ(owner, "text");

    char* const stolen = owner.steal();
    EXPECT_TRUE(owner.buffer() == stolen && owner.isReference());
    owner.adopt(stolen);  // given back, and taken again
    EXPECT_FALSE(owner.isReference());
    EXPECT_EQ(owner.steal(), stolen);
    owner = "other";
    EXPECT_STREQ(stolen, "text");
    std::free(stolen);
    char* const copy = UT_String("literal").steal();
    copy[0] = 'L';
    std::free(copy);
    EXPECT_EQ(UT_String().steal(), nullptr);
}

TEST(String, TakesPiecesOfItself) {
    UT_String string("abcdef", 1);
    string = string.buffer() + 2;
    string += string.buffer() + 3;
    EXPECT_EQ(string, "cdeff");
    string.harden(string.buffer() + 1, 2);
    const UT_String& same = string;
    string = same;
    EXPECT_EQ(string, "de");
}

TEST(String, NullIsAnEmptyTextEverywhere) {
    UT_String null(nullptr, 0, -1), literal("x");
    UT_WorkArgs args;
    null.toLower();
    null.expandVariables();
    EXPECT_FALSE(null.truncateMiddle(-1) || null.endsWith(nullptr) || null.findNonSpace());
    EXPECT_EQ(null.length() + null.isInteger() + null.isFloat() + null.parseInPlace(nullptr, 3) + null.dosParse(args) +
                  null.match(nullptr) + null.multiMatch(nullptr, 1, nullptr, nullptr, nullptr) +
                  null.replaceSuffix(nullptr, "x"),
              0);
    EXPECT_TRUE(null.isEmpty() && null.isNull() && UT_String(null).isNull());
    null += "x";
    literal += nullptr;
    EXPECT_EQ(null, literal);
    EXPECT_FALSE(literal.isReference());
}

TEST(String, ASuffixIsReplacedWhereItEndsTheText) {
    UT_String string("scene.idx");
    for (const char* other : {".id", "longer than scene.idx"}) EXPECT_EQ(string.replaceSuffix(other, ""), 0);
    EXPECT_EQ(string.replaceSuffix(".idx", ".x") + string.replaceSuffix("e.x", ""), 2);
    EXPECT_EQ(string, "scen");
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
    const auto randomText = [&](std::string_view letters, std::size_t longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char& c : text) c = letters[random() % letters.size()];
        return text;
    };
    int matches = 0;
    for (int i = 0; i < 100'000; ++i) {
        const std::string text = randomText("aab/*", 9), pattern = randomText("aab/***?", 7);
        matches += slowMatch(text, pattern);
        ASSERT_EQ(UT_String::match(text, pattern), slowMatch(text, pattern)) << text << " against " << pattern;
    }
    EXPECT_GT(matches, 1000);
}

TEST(StringMatch, EndsWithManyStarsAndMindsCaseOnlyWhenAsked) {
    std::string pattern;
    for (int i = 0; i < 1000; ++i) pattern += "a*";
    EXPECT_FALSE(UT_String::match(std::string(20'000, 'a'), pattern + "b"));
    for (const int minds : {1, 0}) EXPECT_EQ(UT_String("Scene.IDX").match("s*.idx", minds), !minds);
}

TEST(StringMatch, AListMatchesWithItsFirstPatternThatDoes) {
    // Patterns and separators; whether one matches, which, and whether that is a plain name.
    const Rows<const char*, const char*, int, int, bool> rows = {
        {"*.txt, *.idx", ", ", 1, 1, false}, {" ,,a.idx,*", ", ", 1, 0, true},    {"x:a.idx", ":", 1, 1, true},
        {" , ", ", ", 0, -1, false},         {"b.idx c.idx", ", ", 0, -1, false}, {"a*,*", nullptr, 0, -1, false}};
    for (const auto& [patterns, separators, matches, which, plain] : rows) {
        int index = 7;
        bool exact = true;
        EXPECT_EQ(UT_String("a.idx").multiMatch(patterns, 1, separators, &exact, &index), matches) << patterns;
        EXPECT_TRUE(index == which && exact == plain) << patterns;
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
            EXPECT_EQ((order > 0) - (order < 0), (&a > &b) - (&a < &b)) << testing::PrintToString(std::pair(a, b));
        }
    }
    EXPECT_EQ(UT_String::compareNumberedString("A01b", "a01B", false), 0);
}

// Words and numbers

// Each word with a bar behind it. The list of words has gone by then; the words stay.
std::string words(const std::string& text) {
    UT_String line(text.c_str());
    std::vector<char*> kept;
    {
        UT_WorkArgs args;
        const int count = line.dosParse(args);
        EXPECT_EQ(count, args.entries());
        kept.assign(args.argv(), args.argv() + count);
        const UT_WorkArgs taken(std::move(args));
        EXPECT_EQ(args.argv()[args.entries()], nullptr);  // still a list that can be read and appended to
    }
    std::string all;
    for (const char* word : kept) all.append(word) += '|';
    return all;
}

TEST(StringWords, WhiteSpaceSeparatesAndDoubleQuotesGroup) {
    expectRows(words, {" \t\r\n\v\f -> ", "  a  bb\tc  -> a|bb|c|", R"("a b" c -> a b|c|)", R"(a "b c -> a|b c|)",
                       R"("" "" -> ||)", R"(a " -> a||)", R"(x"a b"y""z w -> xa byz|w|)",
                       R"(C:\d\ "q\" 'a b' -> C:\d\|q\|'a|b'|)"});
    UT_String line("100 \"a b\" rest of it", 1);
    char* argv[3] = {nullptr, nullptr, nullptr};
    EXPECT_EQ(line.parseInPlace(argv, 2), 2) << "no more than asked for";
    EXPECT_EQ(std::string(argv[0]) + "|" + argv[1], "100|a b");
    EXPECT_EQ(argv[2], nullptr);
    EXPECT_EQ(line.parseInPlace(argv, -1), 0);
}

TEST(StringNumbers, TheWholeTextMustBeTheNumber) {
    const std::vector<const char*> integers = {"0", "-12", "+7", "2147483647", "-2147483648", "00000000000012"},
                                   reals = {"2147483648", "-2147483649", "1.", ".5", "-1.5e+10", "1e5"},
                                   neither = {"",    "-",  ".",  "+-1",  "1e",  "e5",
                                              "1e+", " 1", "1 ", "0x10", "nan", "1.2.3"};
    for (const auto* list : {&integers, &reals, &neither})
        for (const char* text : *list) {
            EXPECT_EQ(UT_String(text).isInteger(0), list == &integers) << text;
            EXPECT_EQ(UT_String(text).isFloat(0, 0), list != &neither) << text;
        }
}

TEST(StringTruncate, TheMiddleGoes) {
    const auto upTo = [](int most) {
        return [most](const std::string& text) {
            UT_String string(text.c_str());
            const bool cut = string.truncateMiddle(most);
            EXPECT_EQ(cut, string != text.c_str());
            return std::string(string.view());
        };
    };
    expectRows(upTo(9), {"abcdefghi -> abcdefghi", "abcdefghij -> abc...hij", "ééééé -> é...é"});
    expectRows(upTo(8), {"abcdefghij -> abc...ij"});
    expectRows(upTo(5), {"abcdefghij -> a...j"});
    expectRows(upTo(4), {"abcdef -> abcd"});
    expectRows(upTo(2), {"€€ -> "});
    expectRows(upTo(-5), {"abcdef -> "});
}

}  // namespace
