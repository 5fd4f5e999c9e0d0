// CPP_Manager as an application uses it: options, macros, line sources of its own, copies.
#include <gtest/gtest.h>
#include <preprocessor/CPP_Manager.h>
#include <unistd.h>

#include <ctime>

#include "../support/ScratchDir.h"
#include "Sources.h"

namespace {

TEST(Manager, ReadsOptionsUpToTheFirstWordThatIsNone) {
    const struct {
        std::vector<const char*> words;
        int result;
    } cases[] = {
        {{}, 1},
        {{"-DX=1", "-P", "file"}, 3},
        {{"-z"}, 0},
        {{"-P", "-D"}, 0},
    };
    for (const auto& c : cases) {
        optind = 17;
        MadeManager manager(listed({}));
        EXPECT_EQ(manager.options(c.words), c.result);
        EXPECT_EQ(optind, 17);
    }
    optind = 1;
    CPP_Manager manager;
    EXPECT_EQ(manager.setOptions(0, static_cast<const char* const*>(nullptr)), 1);
    char name[] = "cpp", option[] = "-P";
    char* const words[] = {name, option};
    EXPECT_EQ(manager.setOptions(2, words), 2);
}

TEST(Manager, TellsAChangedDefinition) {
    MadeManager manager(listed({"X f(2)"}));
    EXPECT_TRUE(manager.define("X", nullptr));
    EXPECT_TRUE(manager.define("X", ""));
    EXPECT_FALSE(manager.define("X", "1"));
    EXPECT_TRUE(manager.define("f(x)", "<x>"));
    EXPECT_FALSE(manager.define("f(x,y)", "<x>"));
    EXPECT_FALSE(manager.define("f(x)", "<x>"));
    EXPECT_FALSE(manager.define("__LINE__", "1"));
    EXPECT_TRUE(manager.define("3x", "1"));
    EXPECT_FALSE(manager.define(nullptr, "1"));
    EXPECT_TRUE(manager.undefine("NEVER_DEFINED"));
    EXPECT_TRUE(manager.undefine(nullptr));
    manager.open("main", 0);
    EXPECT_FALSE(manager.define("X", "2"));  // owes a line now that a file is open
    EXPECT_EQ(restOf(manager), "\n2  <2>\n");
    EXPECT_FALSE(manager.hasError());
}

TEST(Manager, KnowsWhereItReadsAndGoesOnWithWhatIsOpenedMeanwhile) {
    MadeManager manager(listed({"#if 1", "a", "#endif", "b"}));
    const auto place = [&] { return manager.getFileName() + (":" + std::to_string(manager.getLineNumber())); };
    EXPECT_EQ(place(), "<unknown>:-1");
    manager.open("main", 0);
    EXPECT_EQ(place(), "main:0");
    UT_String line;
    EXPECT_EQ(manager.getLine(line), 1);
    EXPECT_EQ(place(), "main:1");
    manager.open("second", 0);
    EXPECT_EQ(place(), "second:0");
    EXPECT_EQ(restOf(manager), "\na\n\nb\na\n\nb\n");
    EXPECT_EQ(manager.getLine(line), 0);
    EXPECT_STREQ(line.buffer(), "");
    EXPECT_EQ(place(), "<unknown>:-1");
    manager.open("main", 0);
    manager.getLine(line);
    EXPECT_EQ(manager.close(), 1);
    EXPECT_EQ(manager.open("main", 0), 1);
    EXPECT_EQ(restOf(manager), "\na\n\nb\n");
}

TEST(Manager, StandsWithoutAFileInTheMiddleOfALine) {
    // The line behind the end of an included file waits behind its marker.
    const struct {
        const char *waiting, *expected;
    } cases[] = {
        {"__FILE__ __LINE__", "\"<unknown>\" -1\n"},
        {"#if 1", "\n"},
        {"#line 7 x", "\n"},
        {"#define X 1", "\n"},
        {"#bogus", "# error cpp error: Undefined directive \"bogus\"\n"},
        {"#include \"none\"", "# error cpp error: Unable to include \"none\"\n"},
    };
    for (const auto& c : cases) {
        const ScratchDir dir;
        dir.write("b.h", "");
        const std::string main = dir.write("main.c", "#include \"b.h\"\n" + std::string(c.waiting) + "\n");
        CPP_Manager manager;
        manager.open(main.c_str(), 0);
        UT_String line;
        for (int i = 0; i < 4; ++i) EXPECT_EQ(manager.getLine(line), 1);
        EXPECT_EQ(line, "# 2 \"" + main + "\"\n");
        manager.close();
        EXPECT_EQ(restOf(manager), c.expected) << c.waiting;
    }
}

TEST(Manager, KeepsALineWhoseFileWaitsForAnother) {
    const ScratchDir dir;
    const std::string inner = dir.write("b.h", "b\n");
    const std::string main = dir.write("main.c", "#include \"b.h\"\n__LINE__ __FILE__\nend\n");
    CPP_Manager manager;
    manager.open(main.c_str(), 0);
    UT_String line;
    for (int i = 0; i < 5; ++i) EXPECT_EQ(manager.getLine(line), 1);
    const std::string marker = "# 2 \"" + main + "\"\n";
    EXPECT_EQ(line, marker);
    manager.open(inner.c_str(), 0);
    EXPECT_EQ(restOf(manager), "# 1 \"" + inner + "\"\nb\n" + marker + "2 \"" + main + "\"\nend\n");
}

TEST(Manager, StaysStopped) {
    MadeManager manager(listed({"#define f(x) x", "f(", "1", ",", "2"}));
    manager.open("main", 0);
    EXPECT_EQ(restOf(manager), "\n# error cpp error: \"main\":4 Invalid arguments for macro \"f\"\n\n");
    EXPECT_TRUE(manager.hasError());
    manager.close();
    EXPECT_EQ(manager.open("main", 0), 1);
    EXPECT_EQ(restOf(manager), "");
}

TEST(Manager, IsCryptedOnceALineWas) {
    struct Crypted : CPP_Manager {
        CPP_Stream* allocStream() override { return new MadeLines(listed({"a"}), true); }
    } manager;
    EXPECT_EQ(manager.isCrypted(), 0);
    manager.open("main", 0);
    EXPECT_EQ(manager.isCrypted(), 0);
    restOf(manager);
    EXPECT_NE(manager.isCrypted(), 0);
}

TEST(Manager, SearchesItsPathsInOrder) {
    const ScratchDir dir;
    for (const char* name : {"first/x", "second/x", "second/y", "third/y", "third/z"}) dir.write(name, name);
    CPP_Manager manager(-1, dir.path("first").c_str());
    manager.addIncludePath((dir.path("second") + ":" + dir.path("none")).c_str());
    manager.addIncludePath(nullptr);
    const std::string third = "-I" + dir.path("third");
    const char* const options[] = {"cpp", "-P", third.c_str()};
    manager.setOptions(3, options);
    const struct {
        const char *name, *expected;
    } cases[] = {{"x", "first/x\n"}, {"\"y", "second/y\n"}, {"<z>", "third/z\n"}};
    for (const auto& c : cases) {
        EXPECT_EQ(manager.open(c.name, 1), 1) << c.name;
        EXPECT_EQ(restOf(manager), c.expected);
    }
    EXPECT_EQ(manager.open("x", 0), 0);
    EXPECT_EQ(manager.open("w", 1), 0);
    // Not remembered from one run to the next.
    dir.write("first/w", "now");
    EXPECT_EQ(manager.open("w", 1), 1);
}

TEST(Manager, CopiesShareWhatIsOpen) {
    MadeManager original(listed({"X", "X", "X"}));
    original.define("X", "1");
    original.open("main", 0);
    {
        CPP_Manager copy(original);
        UT_String line;
        EXPECT_EQ(copy.getLine(line), 1);
        EXPECT_EQ(line, "1\n");
        original.define("X", "2");
        EXPECT_EQ(copy.getLine(line), 1);
        EXPECT_EQ(line, "2\n");
        CPP_Manager other;
        other = copy;
        other = *&other;
        EXPECT_EQ(other.getLine(line), 1);
        EXPECT_EQ(other.getLine(line), 0);  // and so its file is gone for it, not for the others
        EXPECT_EQ(other.getLineNumber(), -1);
        EXPECT_EQ(copy.getLineNumber(), 3);
    }
    EXPECT_EQ(original.getLineNumber(), 3);
    EXPECT_EQ(restOf(original), "\n");  // owed for the definition
}

TEST(Manager, FindsMacrosAndCommentsWhereverTheyStand) {
    // Lines are looked through in blocks, in another way once a macro begins with a small letter.
    for (const char* const defined : {"-DB", "-Db"}) {
        for (std::size_t i = 0; i < 50; ++i) {
            const std::string front(i, 'x');
            EXPECT_EQ(outputOf(front + " A xA x1A 1A \\2A [A]'A' A/*A*/ //A", {"-DA=5", defined}),
                      front + " 5 xA x1A 15 25 [5]'A' 5      \n")
                << i;
        }
    }
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
    manager.open("main", 0);
    EXPECT_EQ(restOf(manager), "\n\nbefore  [1] other\n\n\n");
}

TEST(Manager, ShowsThePresentDateAndTime) {
    char before[64], after[64];
    const auto format = [](char(&text)[64]) {
        const std::time_t now = std::time(nullptr);
        std::tm parts{};
        std::strftime(text, sizeof text, "\"%b %e %Y\" \"%T\"\n", localtime_r(&now, &parts));
    };
    std::string shown;
    do {  // until no second passed in between
        format(before);
        shown = outputOf("__DATE__ __TIME__");
        format(after);
    } while (std::string_view(before) != after);
    EXPECT_EQ(shown, before);
}

}  // namespace
