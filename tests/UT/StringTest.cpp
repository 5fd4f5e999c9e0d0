// Strings: who owns the characters, and what a text means: patterns, words, numbers, order, short forms.
#include <UT/UT_String.h>
#include <UT/UT_WorkArgs.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <vector>

#include "../support/Rules.h"

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
    UT_String(source).replaceSuffix("\"", "x");
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
    EXPECT_TRUE(taker.isReference() && !owner.isReference());
    taker = nullptr;
    EXPECT_EQ(owner, "text");

    char* const stolen = owner.steal();
    owner.adopt(stolen);  // given back, and taken again
    EXPECT_FALSE(owner.isReference());
    EXPECT_TRUE(owner.steal() == stolen && owner.buffer() == stolen && owner.isReference());
    owner = "other";
    EXPECT_STREQ(stolen, "text");
    std::free(stolen);
    char* const copy = UT_String("literal").steal();
    copy[0] = 'L';
    std::free(copy);
}

TEST(String, TakesPiecesOfItselfAndLosesASuffixThatItHas) {
    UT_String string("abcdef", 1);
    string = string.buffer() + 2;
    string += string.buffer() + 3;
    EXPECT_EQ(string, "cdeff");
    string.harden(string.buffer() + 1, 2);
    const UT_String& same = string;
    string = same;
    EXPECT_EQ(string, "de");
    for (const char* other : {"f", "longer than de"}) EXPECT_EQ(string.replaceSuffix(other, ""), 0);
    EXPECT_EQ(string.replaceSuffix("e", "xyz") + string.replaceSuffix("yz", ""), 2);
    EXPECT_EQ(string, "dx");
}

TEST(String, NullIsAnEmptyTextEverywhere) {
    UT_String null(nullptr, 0, -1), literal("x");
    UT_WorkArgs args;
    null.toLower();
    null.expandVariables();
    EXPECT_FALSE(null.truncateMiddle(-1) || null.steal() || null.endsWith(nullptr) || null.findNonSpace());
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

// Meanings

std::string matched(const Columns& row) {
    int index = 7;
    bool exact = true;
    const bool found = UT_String(row[0].c_str()).multiMatch(row[1].c_str(), 1, ", ", &exact, &index);
    EXPECT_TRUE(found || (index == -1 && !exact));
    return found ? std::to_string(index) + (exact ? " plain" : "") : "none";
}

// Each word with a bar behind it. The list of words has gone by then; the words stay. Parsing in place gives the first
// of them if no more is asked for.
std::string words(const Columns& row) {
    UT_String line(row[0].c_str()), inPlace(line);
    std::vector<char*> kept;
    {
        UT_WorkArgs args;
        const int count = line.dosParse(args);
        EXPECT_EQ(count, args.entries());
        kept.assign(args.argv(), args.argv() + count);
        const UT_WorkArgs taken(std::move(args));
        EXPECT_EQ(args.argv()[args.entries()], nullptr);  // still a list that can be read and appended to
    }
    char* first[2] = {nullptr, nullptr};
    EXPECT_EQ(inPlace.parseInPlace(first, -1) + inPlace.parseInPlace(first, 1), kept.empty() ? 0 : 1);
    EXPECT_TRUE((kept.empty() || first[0] == std::string_view(kept[0])) && !first[1]);
    std::string all;
    for (const char* word : kept) all.append(word) += '|';
    return all;
}

std::string kindOfNumber(const Columns& row) {
    const UT_String string(row[0].c_str());
    return !string.isFloat(0, 0) ? "none" : string.isInteger(0) ? "integer" : "real";
}

std::string shortened(const Columns& row) {
    UT_String string(row[1].c_str());
    const bool isCut = string.truncateMiddle(std::stoi(row[0]));
    EXPECT_EQ(isCut, string != row[1].c_str());
    return std::string(string.view());
}

TEST(StringRules, HoldForEachRow) {
    expectRules(TARVANI_RULES "/strings.rules",
                {{"match", matched}, {"words", words}, {"number", kindOfNumber}, {"middle", shortened}});
    EXPECT_FALSE(UT_String("a.idx").multiMatch("a*,*", 1, nullptr, nullptr, nullptr)) << "one pattern";
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

}  // namespace
