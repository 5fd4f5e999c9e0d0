// CPP_Macro by itself. What a definition means in a line is in cases/macros.cases.
#include <UT/UT_String.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_Macro.h>

#include "Sources.h"

namespace {

TEST(Macro, IsCompiledFromItsDefinition) {
    const struct {
        const char* text;
        int commandLine;
        const char* name;
        int argCount;
        const char* definition;
    } cases[] = {
        {"A", 0, "A", -1, ""},         {"A=1", 1, "A", -1, "1"},
        {"f() x\n", 0, "f", 0, " x"},  {"f(a,,b) #a b#a", 0, "f", 2, " \"#0#\" #1# #0#"},
        {"f(a", 0, "f", 1, ""},        {"f(a)a ## x##y \"a\\\"a\" 'a'", 0, "f", 1, "#0# ## x##y \"a\\\"a\" '#0#'"},
        {"f(a,a)a", 0, "f", 2, "#0#"},
    };
    for (const auto& c : cases) {
        const CPP_Macro macro(c.text, c.commandLine);
        EXPECT_STREQ(macro.getName(), c.name) << c.text;
        EXPECT_EQ(macro.getArgCount(), c.argCount) << c.text;
        EXPECT_STREQ(macro.getDefinition(), c.definition) << c.text;
        EXPECT_EQ(macro.getType(), CPP_MACRO_NORMAL);
    }
}

TEST(Macro, WithoutALegalNameIsEmptyUnderANameOfItsOwn) {
    std::string before;
    for (const char* text : {"", "3x 1", "A=1", "(x) x", "a-b 1"}) {
        const CPP_Macro macro(text, 0);
        EXPECT_TRUE(std::string_view(macro.getName()).starts_with("#illegal")) << text;
        EXPECT_NE(macro.getName(), before);
        EXPECT_STREQ(macro.getDefinition(), "") << text;
        EXPECT_EQ(macro.getArgCount(), -1) << text;
        before = macro.getName();
    }
    EXPECT_TRUE(std::string_view(CPP_Macro(nullptr, 1).getName()).starts_with("#illegal"));
}

TEST(Macro, PutsArgumentsIntoItsDefinition) {
    char one[] = "1", empty[] = "", odd[] = "#1#\"";
    const struct {
        const char* definition;
        std::vector<char*> args;
        const char* expected;
    } cases[] = {
        {"f(a)#0##1##00##x# \"#0#\"", {one}, "1#1#1#x# \"1\""},
        {"f(a,b)a##b", {odd, one}, "#1#\"1"},  // an argument isn't looked into
        {"f(a,b)[a|b]", {empty, nullptr}, "[|]"},
        {"f(a)#99999999999999999999#.", {one}, "#99999999999999999999#."},
    };
    for (const auto& c : cases) {
        UT_String text("before");
        CPP_Macro(c.definition, 0).expandMacro(c.args.data(), text);
        EXPECT_STREQ(text.buffer(), c.expected) << c.definition;
    }
    UT_String text;
    CPP_Macro(CPP_MACRO_DATE).expandMacro(nullptr, text);
    EXPECT_STREQ(text.buffer(), "");
}

TEST(Macro, StopsAtALimitOfText) {
    const std::string_view argument[] = {"12345"};
    const CPP_Macro macro("f(a)a a a", 0);
    UT_WorkBuffer out;
    EXPECT_TRUE(macro.appendExpansion(argument, out, 17));
    EXPECT_EQ(out.view(), "12345 12345 12345");
    EXPECT_FALSE(macro.appendExpansion(argument, out, 16));
}

TEST(Macro, CopiesBorrow) {
    const CPP_Macro original("A 1", 0);
    CPP_Macro copy(original);
    EXPECT_EQ(copy.getDefinition(), original.getDefinition());
    CPP_Macro other("B 2", 0);
    other = copy;
    other = *&other;
    EXPECT_STREQ(other.getName(), "A");
    EXPECT_EQ(other.bumpRecursion(2), 2);
    EXPECT_EQ(other.bumpRecursion(-3), -1);
    EXPECT_EQ(copy.bumpRecursion(0), 0);
}

}  // namespace
