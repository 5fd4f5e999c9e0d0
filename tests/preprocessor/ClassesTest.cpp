// CPP_Macro, CPP_File, CPP_Stream and CPP_Manager: what the cases can't say.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_File.h>
#include <preprocessor/CPP_Macro.h>

#include <cstdlib>
#include <ctime>
#include <memory>

#include "../support/Child.h"
#include "../support/ScratchDir.h"
#include "Sources.h"

namespace {

TEST(Macro, IsCompiledAndExpanded) {
    char one[] = "1", odd[] = "#0#\"";
    char* const args[] = {odd, one, nullptr};
    const struct {
        const char* text;
        int commandLine;
        const char* name;
        int argCount;
        const char *definition, *expansion;
    } cases[] = {
        {"A", 0, "A", -1, "", ""},
        {"A=1", 1, "A", -1, "1", "1"},
        {"A #0#\r\n", 0, "A", -1, "#0#", "#0#"},
        {"f() x\n", 0, "f", 0, " x", " x"},
        {"f(a,,b) #a b#a", 0, "f", 2, " \"#0#\" #1# #0#", " \"#0#\"\" 1 #0#\""},  // an argument isn't looked into
        {"f(a", 0, "f", 1, "", ""},
        {"f(a,b)##b \"b\\\"b\" 'b'", 0, "f", 2, "#1# \"b\\\"b\" '#1#'", "1 \"b\\\"b\" '1'"},
        {"f(a,a)a", 0, "f", 2, "#0#", "#0#\""},
        {"f(a,b,c)[c|b]", 0, "f", 3, "[#2#|#1#]", "[|1]"},
        {"f(a,b)#1##1##01##2##x# #18446744073709551616#.", 0, "f", 2, "#1##1##01##2##x# #18446744073709551616#.",
         "111#2##x# #18446744073709551616#."},  // 0 in 64 bits
    };
    for (const auto& c : cases) {
        const CPP_Macro macro(c.text, c.commandLine);
        EXPECT_STREQ(macro.getName(), c.name) << c.text;
        EXPECT_EQ(macro.getArgCount(), c.argCount) << c.text;
        EXPECT_STREQ(macro.getDefinition(), c.definition) << c.text;
        EXPECT_EQ(macro.getType(), CPP_MACRO_NORMAL);
        UT_String text("before");
        macro.expandMacro(args, text);
        EXPECT_STREQ(text.buffer(), c.expansion) << c.text;
    }
    UT_String text;
    CPP_Macro(CPP_MACRO_DATE).expandMacro(nullptr, text);
    EXPECT_STREQ(text.buffer(), "");
}

TEST(Macro, WithoutALegalNameHasANameOfItsOwn) {
    const CPP_Macro first("3x(a) 1", 0), second(nullptr, 1);
    const std::string kFront = "#illegal", number = std::to_string(std::atoi(first.getName() + kFront.size()) + 1);
    EXPECT_EQ(second.getName(), kFront + number + "#") << first.getName();
    EXPECT_STREQ(first.getDefinition(), "");
    EXPECT_EQ(first.getArgCount(), -1);
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
    CPP_Macro original("A 1", 0), copy(original), other("B 2", 0);
    original = copy;
    EXPECT_STREQ(original.getDefinition(), "1");
    EXPECT_EQ(copy.getDefinition(), original.getDefinition());
    other = copy;
    other = *&other;
    EXPECT_STREQ(other.getName(), "A");
    EXPECT_EQ(other.bumpRecursion(2), 2);
    EXPECT_EQ(other.bumpRecursion(-3), -1);
    EXPECT_EQ(CPP_Macro(other).bumpRecursion(0), -1);
    EXPECT_EQ(copy.bumpRecursion(0), 0);
}

TEST(File, KnowsTheDirectoryOfItsName) {
    const struct {
        const char *name, *path;
    } cases[] = {{"a/b/c", "a/b"}, {"c", nullptr}, {"/c", ""}, {"a\\b", nullptr}, {"a/", "a"}};
    for (const auto& c : cases) {
        CPP_File file;
        EXPECT_EQ(file.open(c.name, new MadeLines(listed({}))), 1);
        EXPECT_STREQ(file.getLastPath(), c.path) << c.name;
        file.lineDirective("7 \"q/r s\" more");
        EXPECT_EQ(file.getLineNumber(), 7);
        file.lineDirective(" 99999999999 ");
        file.lineDirective("");
        file.lineDirective(nullptr);
        EXPECT_EQ(file.getLineNumber(), 2147483647);
        EXPECT_STREQ(file.getName(), "q/r s");
        EXPECT_STREQ(file.getLastPath(), c.path) << c.name;
    }
}

TEST(File, OpensOnce) {
    CPP_File file;
    UT_WorkBuffer line;
    EXPECT_STREQ(file.getName(), "");
    EXPECT_EQ(file.getLine(line) + file.open("x", nullptr), 0);
    EXPECT_EQ(file.open("x", new MadeLines(listed({"1"}), true)), 1);
    MadeLines second(listed({"2"}));
    EXPECT_EQ(file.open("y", &second), 0);
    EXPECT_STREQ(file.getName(), "x");
    EXPECT_EQ(file.isCrypted(), 0);
    EXPECT_EQ(file.getLine(line), 1);
    EXPECT_EQ(line.view(), "1\n");
    EXPECT_NE(file.isCrypted(), 0);
    CPP_File copy(file);
    EXPECT_EQ(copy.getLineNumber(), 1);
    copy.lineDirective("5 z");
    file = copy;
    EXPECT_STREQ(file.getName(), "z") << "what it takes over leaves it its stream";
    EXPECT_EQ(file.getLine(line), 0);
    EXPECT_EQ(file.close(), 1);
    EXPECT_EQ(file.getLine(line), 0);
    EXPECT_EQ(file.open(file.getName(), new MadeLines(listed({"2"}))), 1) << "under its own name";
    EXPECT_STREQ(file.getName(), "z");
    EXPECT_EQ(file.getLine(line), 1);
    EXPECT_EQ(file.getLineNumber(), 6);
}

TEST(File, CopiesGoOnWhereTheOriginalStands) {
    CPP_File file;
    UT_WorkBuffer line;
    EXPECT_EQ(file.open("d/x", new MadeLines(listed({"a\\", {"b\0\\", 3}, "c"}), true)), 1);
    EXPECT_EQ(file.getLine(line), 1);
    EXPECT_EQ(line.view(), "ab\n") << "a NUL ends its line";
    CPP_File copy(file);
    EXPECT_STREQ(copy.getLastPath(), "d");
    EXPECT_NE(copy.isCrypted(), 0);
    EXPECT_EQ(copy.getLine(line) + copy.getLineNumber(), 3);
    EXPECT_EQ(line.view(), "\n");
    EXPECT_EQ(copy.getLine(line) + copy.getLineNumber(), 4);
    EXPECT_EQ(line.view(), "c\n");
}

TEST(File, StepsFromBranchToBranch) {
    CPP_File none;
    EXPECT_EQ(none.elifDef(1) + none.elseDef(1) + none.endIf(), 0);
    EXPECT_TRUE(none.getIfState() && none.isIfMatched());
    // Only behind a pending branch another one can be taken: by #elif, or by #else if there is none that was.
    for (const int state : {0, 1, 2, 3}) {
        for (const int value : {0, 1, 2}) {
            CPP_File file;
            file.ifDef(state);
            EXPECT_EQ(file.elifDef(value) + file.elseDef(0), 2);
            const CPP_File copy(file);
            EXPECT_EQ(file.getIfState(), state == 0 && value == 1) << state << value;
            EXPECT_EQ(file.elseDef(1), 1);
            EXPECT_EQ(file.getIfState(), state == 0 && value == 0) << state << value;
            file.ifDef(1);
            EXPECT_EQ(file.getIfState(), state == 0 && value == 0) << "dead from the start in a skipped branch";
            EXPECT_EQ(file.endIf() + file.endIf(), 2);
            EXPECT_TRUE(file.isIfMatched() && !copy.isIfMatched());
        }
    }
}

TEST(File, DeletesItselfWithItsLastReference) {
    auto alive = std::make_shared<int>();
    const std::weak_ptr<int> watched = alive;
    auto* const file = new CPP_File;
    file->open("x", new MadeLines([alive = std::move(alive)](UT_WorkBuffer&) { return false; }));
    file->bumpRefCount(2);
    file->bumpRefCount(-1);
    EXPECT_FALSE(watched.expired());
    file->bumpRefCount(-1);
    EXPECT_TRUE(watched.expired());
}

TEST(Stream, StandardInputCanBeReplaced) {
    CPP_Stream::clearStdin();
    UT_IStream* const own = CPP_Stream::getStdin();
    ASSERT_TRUE(own);
    EXPECT_EQ(CPP_Stream::getStdin(), own);
    CPP_Stream::clearStdin();
    EXPECT_NE(CPP_Stream::getStdin(), own);
    for (const char* name : {"stdin", "stdin.zul"}) {
        UT_IStream source("a\nb", 3, UT_ISTREAM_BINARY);
        CPP_Stream::setStdin(source);
        CPP_Manager manager;
        EXPECT_EQ(manager.open(name, 1), 1);
        EXPECT_EQ(restOf(manager), "# 1 \"" + std::string(name) + "\"\na\nb\n");
    }
    CPP_Stream::clearStdin();
    for (const char* name : {"Stdin", "stdin ", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(CPP_Stream::isStdin(name), 0);
    }
}

TEST(Stream, ReadsACFileThatStaysTheCallers) {
    const ScratchDir dir;
    CPP_Manager manager;
    std::FILE* const file = std::fopen(dir.write("text", "one\ntwo").c_str(), "rb");
    EXPECT_EQ(manager.open(file, "text"), 1);
    EXPECT_EQ(restOf(manager), "# 1 \"text\"\none\ntwo\n");
    std::fclose(file);
}

TEST(Stream, ThatComesByItselfReadsWhatItWasGivenLast) {
    const ScratchDir dir;
    const std::string text = dir.write("text", "one\ntwo"), none = dir.path("none");
    checkInChild(false, [&] {
        ASSERT_TRUE(std::freopen(dir.write("typed", "typed\nmore").c_str(), "r", stdin));
        const std::unique_ptr<CPP_Stream> stream(CPP_Manager().allocStream());
        UT_WorkBuffer line;
        const auto next = [&] { return stream->readLine(line) ? std::string(line.view()) : "(end)"; };
        EXPECT_EQ(next(), "typed") << "what nobody attaches to anything reads standard input";
        EXPECT_NE(stream->openPath(text.c_str()), 0);
        EXPECT_EQ(next(), "one");
        UT_IStream memory("m\nn", 3, UT_ISTREAM_BINARY);
        stream->attachStream(&memory);
        EXPECT_EQ(next(), "m");
        std::FILE* const file = std::fopen(text.c_str(), "rb");
        stream->attachFile(file);
        EXPECT_EQ(next(), "one");
        EXPECT_EQ(stream->openPath(none.c_str()), 0);
        EXPECT_EQ(stream->isOpen(), 0);
        EXPECT_EQ(next(), "(end)");
        EXPECT_TRUE(UT_IStream(file, UT_ISTREAM_BINARY).getLine(line, '\n') && line.view() == "two");
        std::fclose(file);
        EXPECT_TRUE(memory.getLine(line, '\n') && line.view() == "n");

        CPP_File unnamed, missing;
        EXPECT_EQ(unnamed.open("", CPP_Manager().allocStream()), 1);
        EXPECT_TRUE(unnamed.getLine(line) && line.view() == "more\n");
        EXPECT_EQ(missing.open(none.c_str(), CPP_Manager().allocStream()), 0);
        EXPECT_EQ(missing.open(text.c_str(), stream.get()), 0)
            << "the stream that failed is the file's until it closes";
        EXPECT_EQ(missing.getName(), none);
    });
}

TEST(Manager, TakesNothingFromASourceThatRefuses) {
    struct PathsOnly : MadeLines {
        using MadeLines::MadeLines;
        int openPath(const char*) override { return isOpen_ = 1; }
        int isOpen() override { return isOpen_; }
        int isOpen_ = 0;
    };
    struct PathsManager : CPP_Manager {
        using CPP_Manager::CPP_Manager;
        CPP_Stream* allocStream() override { return new PathsOnly(listed({"line"})); }
    };
    const ScratchDir dir;
    const std::string found = dir.write("stdin", "");
    PathsManager manager(-1, dir.path().c_str());
    UT_IStream source("a", 1, UT_ISTREAM_BINARY);
    EXPECT_EQ(manager.open(source, "a") + manager.open(stdin, "a") + manager.open("stdin", 0), 0);
    EXPECT_EQ(restOf(manager), "");
    EXPECT_EQ(manager.open("stdin", 1), 1) << "a file of that name is as good";
    EXPECT_EQ(restOf(manager), "# 1 \"" + found + "\"\nline\n");
}

TEST(Manager, IsCryptedOnceALineWas) {
    MadeManager manager(listed({"a"}), true);
    EXPECT_EQ(manager.isCrypted(), 0);
    EXPECT_EQ(restOf(manager), "a\n");
    EXPECT_NE(manager.isCrypted(), 0);
    EXPECT_NE(CPP_Manager(manager).isCrypted(), 0);
}

TEST(Manager, SurvivesMacrosThatGoWhileTheyAreExpanded) {
    CPP_Manager* self = nullptr;
    MadeManager manager([&self, at = 0](UT_WorkBuffer& line) mutable {
        const char* const lines[] = {"#define g(x) [x]", "#define f before g(", "f", "1) f"};
        if (at == 4) return false;
        if (at == 3) {
            self->undefine("f");
            self->undefine("g");
            self->define("f", "other");
        }
        line.assign(lines[at++]);
        return true;
    });
    self = &manager;
    EXPECT_EQ(restOf(manager), "\n\nbefore  [1] other\n\n\n");
}

TEST(Manager, ShowsThePresentDateAndTime) {
    const auto now = [] {
        char text[64];
        const std::time_t seconds = std::time(nullptr);
        std::tm parts{};
        std::strftime(text, sizeof text, "\"%b %e %Y\" \"%T\"\n", localtime_r(&seconds, &parts));
        return std::string(text);
    };
    std::string before, shown;
    do {  // until no second passed in between
        before = now();
        MadeManager manager(listed({"__DATE__ __TIME__"}));
        shown = restOf(manager);
    } while (before != now());
    EXPECT_EQ(shown, before);
}

}  // namespace
