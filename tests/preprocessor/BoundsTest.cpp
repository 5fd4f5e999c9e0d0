// Input without an end in sight: each has its outcome, in bounded time and memory.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <new>

#include "../support/Child.h"
#include "../support/ScratchDir.h"
#include "Sources.h"

namespace {

constexpr char kTooDeep[] = "Macro recursion limit reached";

std::string errorAt(int line, const std::string& message) {
    return "# error cpp error: \"main\":" + std::to_string(line) + " " + message;
}

// A chain of `length` macros, of which each names the next one in `body` (as @), and the last is `end`.
std::string chain(int length, const std::string& body, const std::string& end) {
    std::string source;
    for (int i = 0; i < length; ++i) {
        std::string text = body;
        for (std::size_t at; (at = text.find('@')) != text.npos;) text.replace(at, 1, "A" + std::to_string(i + 1));
        source += "#define A" + std::to_string(i) + " " + text + "\n";
    }
    return source + "#define A" + std::to_string(length) + " " + end + "\nA0\n";
}

TEST(Bounds, OfNestedExpansions) {
    const struct {
        std::string source;
        std::vector<const char*> options;
        bool fits;
    } cases[] = {
        {chain(126, "@", "x"), {}, true},
        {chain(127, "@", "x"), {}, false},
        {chain(127, "@", ""), {}, false},
        {chain(127, "@", "__LINE__"), {}, false},
        {chain(126, "@", "__LINE__"), {}, true},
        {chain(50'000, "@", "x"), {"-r", "2147483647"}, true},
        {"#define A A\nA\n", {"-r", "2147483647"}, false},
        {"#define f(x) x f(x)\nf(1)\n", {"-r", "2147483647"}, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(outputOf(c.source, c.options).find(kTooDeep) == std::string::npos, c.fits)
            << c.source.substr(0, 60) << c.options.size();
    }
}

TEST(Bounds, OfReplacementText) {
    // Four of the next one each: 4 to the power of 30 without a bound.
    EXPECT_TRUE(outputOf(chain(30, "@ @ @ @ " + repeated("~", 2'000'000), "")).ends_with(kTooDeep));
    // A plain line has no such limit, and what was made for one line doesn't count for the next.
    const std::string half = "#define B " + repeated("~", 1000) + "\n";
    EXPECT_EQ(outputOf(half + "B\n" + repeated("x ", 2'000'000) + "\nB\n").size(), 1 + 2 * 1001 + 4'000'001u);
}

TEST(Bounds, OfArguments) {
    const auto call = [](std::size_t length) {
        return outputOf("#define f(x)x\nf(" + repeated("x", length / 2) + repeated("\\y", length - length / 2) + ")");
    };
    EXPECT_EQ(call(8191).size(), 1 + 8192u);
    EXPECT_EQ(call(8192), "\n" + errorAt(2, "Invalid arguments for macro \"f\""));
    std::string parameters, arguments;
    for (int i = 0; i < 255; ++i) {
        parameters += ",p" + std::to_string(i);
        arguments += "," + std::to_string(i);
    }
    const std::string most = "#define f(" + parameters + ")p254\nf(" + arguments.substr(1);
    EXPECT_EQ(outputOf(most + ")"), "\n254\n");
    EXPECT_EQ(outputOf(most + ",x)"), "\n" + errorAt(2, "Invalid arguments for macro \"f\""));
}

TEST(Bounds, OfConditions) {
    const std::size_t many = 1'000'000, some = 100'000;
    const auto condition = [](const std::string& text) { return outputOf("#if " + text + "\nyes\n#endif\n"); };
    const std::string yes = "\nyes\n\n", no = "\n\n\n", error = errorAt(1, "#if syntax error") + "\nyes\n\n";
    EXPECT_EQ(condition(repeated("(", many) + "1" + repeated(")", many)), yes);
    EXPECT_EQ(condition(repeated("!(", some) + "0" + repeated(")", some)), no);
    EXPECT_EQ(condition(repeated("(", some) + "1" + repeated(")", some - 1)), error);
    EXPECT_EQ(condition(repeated("~", some) + "0 == 0"), yes);
    EXPECT_EQ(condition("0" + repeated(" + 1", some) + " == 100000"), yes);
    EXPECT_EQ(condition(repeated("9", some) + " == 2147483647"), yes);
    EXPECT_EQ(condition(repeated("x", 1024)), no);
    EXPECT_EQ(condition(repeated("x", 1025)), error);
    EXPECT_EQ(condition("strcmp(a,\"" + repeated("x", 1024) + "\")"), yes);
    EXPECT_EQ(condition("strcmp(a,\"" + repeated("x", 1025) + "\")"), error);
    EXPECT_EQ(outputOf(repeated("#if 1\n", some)).size(), some + errorAt(100'000, "Missing #endif").size());
}

TEST(Bounds, OfNamesInDirectives) {
    const auto defined = [](std::size_t length, const std::string& asked) {
        return outputOf("#define " + repeated("n", length) + "\n#ifdef " + asked + "\nyes\n#endif\n") == "\n\nyes\n\n";
    };
    EXPECT_TRUE(defined(4096, repeated("n", 4096)));
    EXPECT_TRUE(defined(4096, repeated("n", 4097)));  // cut to what is looked at
    EXPECT_FALSE(defined(4097, repeated("n", 4097)));
    const std::string word = repeated("w", 31);
    EXPECT_EQ(outputOf("#" + word + "w x\n"), errorAt(1, "Undefined directive \"" + word + "\"\n") + "\n");
    const std::string name = repeated("n", 1024);
    EXPECT_EQ(outputOf("#define " + name + " 1\n#undef " + name + "n\n" + name + "\n"), "\n\n" + name + "\n");
    // Names of macros themselves have any length.
    const std::string longest = repeated("n", 1'000'000);
    EXPECT_EQ(outputOf("#define " + longest + " 1\n" + longest + "\n"), "\n1\n");
    EXPECT_TRUE(
        outputOf("#include \"" + repeated("n", 5000) + "\"\n").starts_with(errorAt(1, "Unable to include \"n")));
}

TEST(Bounds, LinesThatNeedEveryCharacterOnce) {
    const std::size_t many = 1'000'000;
    const std::string quotes = repeated("\\'", many) + "\n", odd = repeated("\"'", 5) + "/**/";
    // For the comments a quote behind a backslash opens and never closes; for the text it is an ordinary character.
    EXPECT_EQ(outputOf("/**/" + quotes), "    " + repeated("'", many) + "\n");
    EXPECT_EQ(outputOf("/**/" + repeated("\\\"\\'", many)), "    " + repeated("\"'", many) + "\n");
    EXPECT_EQ(outputOf(repeated("/**/", many) + "x"), repeated("    ", many) + "x\n");
    EXPECT_EQ(outputOf(repeated("\\\\", many) + "x"), "\\x\n");
    EXPECT_EQ(outputOf("\"" + repeated("\\\"", many) + "\n"), errorAt(1, "Mismatched quotation marks"));
    EXPECT_EQ(outputOf("/*" + repeated("\n", many) + "x*/"), repeated("\n", many + 1));
    // A long line costs those behind it nothing.
    EXPECT_EQ(outputOf(repeated("x ", many) + "\n" + repeated("/**/\r\n", 50'000)).size(), 2 * many + 1 + 50'000);
    EXPECT_EQ(outputOf("#define f(a)" + repeated("#1", many) + "\nf(x)\n"), "\n" + repeated("#1", many) + "\n");
    EXPECT_EQ(outputOf("a" + repeated("\\\n", 100'000) + "b\n"), "ab\n" + repeated("\n", 100'000));
}

// Peak memory of the process in bytes while `work` runs in a child, which must succeed.
bool staysBelow(rlim_t bytes, const std::function<bool()>& work) {
#if defined(__SANITIZE_ADDRESS__)
    (void)bytes;  // it reserves terabytes
    return work();
#else
    return inChild([&] {
               const rlimit limit{bytes, bytes};
               return ::setrlimit(RLIMIT_AS, &limit) == 0 && work();
           }) == 0;
#endif
}

TEST(Bounds, MemoryFollowsTheLongestLineAndNotTheInput) {
    const std::size_t length = 16u << 20;
    EXPECT_TRUE(staysBelow(200u << 20, [length] {
        MadeManager manager([length, at = 0](UT_WorkBuffer& line) mutable {
            if (at == 0) line.assign("#define X yes");
            if (at == 1) {
                line.clear();
                line.reserve(static_cast<int>(length));
                while (static_cast<std::size_t>(line.length()) < length - 2) line.append("a \"b\" ");
                line.append(" X");
            }
            return at++ < 2;
        });
        manager.open("main", 0);
        const std::string output = restOf(manager);
        return output.size() > length && output.ends_with(" yes\n");
    }));
    EXPECT_TRUE(staysBelow(64u << 20, [] {
        MadeManager manager([at = 0](UT_WorkBuffer& line) mutable {
            line.assign(at % 3 == 0 ? "#define X Y(1) /* and" : at % 3 == 1 ? "so on */ X __LINE__" : "'plain' text");
            return ++at < 300'000;
        });
        manager.define("Y(a)", "[a]");
        manager.open("main", 0);
        std::size_t size = 0;
        for (std::string_view line; manager.getLine(line);) size += line.size();
        return size > 300'000;
    }));
    EXPECT_TRUE(staysBelow(64u << 20, [] {
        MadeManager manager([name = repeated("n", 3000), at = 0](UT_WorkBuffer& line) mutable {
            line.sprintf("#sinclude \"%s%d\"", name.c_str(), at);
            return ++at < 15'000;
        });
        manager.open("main", 0);
        return restOf(manager) == repeated("\n", 14'999);
    }));
}

TEST(Bounds, ALineThatMemoryCannotHoldIsNotTakenForTheEnd) {
    const ScratchDir dir;
    const std::string main = dir.write("main.c", "");
    std::filesystem::resize_file(main, 256u << 20);  // a single line of NULs
    EXPECT_TRUE(staysBelow(100u << 20, [&] {
        CPP_Manager manager;
        manager.open(main.c_str(), 0);
        UT_String line;
        manager.getLine(line);
        try {
            return manager.getLine(line) == 1;
        } catch (const std::bad_alloc&) {
            return true;
        }
    }));
}

TEST(Bounds, AFileThatIncludesItselfRunsOutOfFiles) {
    const ScratchDir dir;
    const std::string main = dir.write("main.c", "__LINE__\n#include \"main.c\"\nend\n");
    const std::string other = dir.write("other.c", "end\n");
    EXPECT_EQ(
        inChild([&] {
            // UndefinedBehaviorSanitizer needs a descriptor the first time that it meets a class.
            CPP_Manager first;
            if (!first.open(other.c_str(), 0) || restOf(first).empty()) return false;
            const rlimit limit{64, 64};
            if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
            CPP_Manager manager;
            const char* const options[] = {"cpp", "-P"};
            manager.setOptions(2, options);
            manager.open(main.c_str(), 0);
            const std::string output = restOf(manager);
            const std::string error = "# error cpp error: \"" + main + "\":2 Unable to include \"main.c\"\n\nend\n";
            const std::size_t at = output.find(error);
            // As many ends as there were beginnings.
            return at != output.npos && at % 3 == 2 && output.substr(at + error.size()) == repeated("end\n", at / 3);
        }),
        0);
}

}  // namespace
