// Options, controls, dates, processes and the end of the process.
#include "../support/Environment.h"

#include <UT/OptionScan.h>
#include <UT/UT_Date.h>
#include <UT/UT_EnvControl.h>
#include <UT/UT_Exit.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Options.h>
#include <UT/UT_Process.h>
#include <UT/UT_String.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

namespace {

std::string textOf(const UT_OptionFile& options, const char* name) {
    UT_String out;
    return options.getOption(name, out, "missing") == options.hasOption(name) ? std::string(out.view()) : "two answers";
}

bool load(UT_Options& options, std::string_view text) {
    UT_IStream stream(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY);
    return options.load("test", stream);
}

// Options.

TEST(OptionFile, KeepsTheTypeOfAValue) {
    UT_OptionFile options(nullptr);
    options.setOption("i", -7);
    options.setOption("f", 0.1f);
    options.setOption("b", false);
    options.setOption("s", UT_String("text"));
    options.setOption("literal", "text");
    options.setOption("", 1);
    options.setOption(nullptr, 1);
    EXPECT_EQ(textOf(options, "i") + textOf(options, "f") + textOf(options, "b"), "-70.1off");
    EXPECT_EQ(textOf(options, "s") + textOf(options, "literal"), "texttext");
    EXPECT_EQ(options.getOptionType("literal"), UT_OptionFile::STRING) << "no truth value";
    EXPECT_EQ(textOf(options, "I") + textOf(options, nullptr), "missingmissing");
    EXPECT_EQ(options.entries(), 5);
    EXPECT_STREQ(options.getName(0), "b");
    for (const int outside : {-1, 5}) EXPECT_EQ(options.getName(outside), nullptr);
}

TEST(OptionFile, MergingFillsInAndALaterValueHolds) {
    UT_OptionFile parent(nullptr), child(nullptr);
    parent.setOption("a", 1);
    parent.setOption("b", 1);
    child.setOption("b", 2);
    child.merge(parent);
    child.merge(child);
    parent.setOption("a", 3);
    EXPECT_EQ(textOf(child, "a") + textOf(child, "b"), "12");
    child.setOption("a", "now text");
    EXPECT_EQ(textOf(child, "a"), "now text");
}

TEST(OptionFile, TextGetsTheFirstTypeThatFits) {
    using File = UT_OptionFile;
    const struct {
        const char* text;
        File::Type type;
        const char* value;
    } cases[] = {{"12", File::INT, "12"},
                 {"+2147483647", File::INT, "2147483647"},
                 {"4294967296", File::FLOAT, "4294967296"},
                 {"-1.50", File::FLOAT, "-1.5"},
                 {"+.5e1", File::FLOAT, "5"},
                 {"1e999", File::STRING, "1e999"},
                 {"On", File::BOOL, "on"},
                 {"FALSE", File::BOOL, "off"},
                 {"once", File::STRING, "once"},
                 {"nan", File::STRING, "nan"},
                 {"", File::STRING, ""}};
    for (const auto& c : cases) {
        UT_OptionFile options(nullptr);
        options.setOptionFromText("x", UT_String(c.text));
        EXPECT_EQ(options.getOptionType("x"), c.type) << c.text;
        EXPECT_EQ(textOf(options, "x"), c.value);
    }
}

TEST(Options, ReadANameAndAValueALine) {
    UT_Options options;
    EXPECT_TRUE(
        load(options,
             "# \"comment\n\n  width 640\r\n\"a name\"\t\"two\\nlines \\\"here\\\"\"\n #width 1\nflag off\nwidth 800"));
    EXPECT_EQ(options.entries(), 3);
    EXPECT_EQ(textOf(options, "width"), "800");
    EXPECT_EQ(textOf(options, "a name"), "two\nlines \"here\"");
    EXPECT_EQ(options.getOptionType("flag"), UT_OptionFile::BOOL);
    EXPECT_STREQ(options.getSource(), "test");
    EXPECT_TRUE(load(options, "")) << "an empty text is a set without options";
    EXPECT_EQ(options.entries(), 3);
}

TEST(Options, AFaultyLineEndsTheReadingAndKeepsWhatCameBefore) {
    constexpr std::string_view kCutByNul("alone \0value", 12);
    for (const std::string_view fault :
         {std::string_view("alone"), std::string_view("three words here"), std::string_view("\"\" value"), kCutByNul}) {
        UT_Options options;
        EXPECT_FALSE(load(options, "first 1\n" + std::string(fault) + "\nlast 2\n")) << fault;
        EXPECT_EQ(options.getErrorLine(), 2);
        EXPECT_EQ(textOf(options, "first") + textOf(options, "last"), "1missing");
    }
    UT_Options options;
    UT_IFStream nothing("/no/such/file", UT_ISTREAM_BINARY);
    EXPECT_FALSE(options.load(nullptr, nothing));
    EXPECT_STREQ(options.getSource(), "");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> directory(std::fopen("/", "r"), std::fclose);
    UT_IStream failing(directory.get(), UT_ISTREAM_BINARY);
    EXPECT_FALSE(options.load("/", failing)) << "what can't be read isn't an empty set";
}

TEST(OptionScan, FollowsThePosixRules) {
    const struct {
        std::vector<const char*> words;
        const char* seen;  // letters with their arguments, then the index
    } cases[] = {{{"x", "-PC", "-Da", "-U", "b", "file", "-P"}, "P C D=a U=b 5"},
                 {{"x", "-PDa"}, "P D=a 2"},
                 {{"x", "-D", "--", "-P"}, "D=-- P 4"},
                 {{"x", "--", "-P"}, "2"},
                 {{"x", "-", "-P"}, "1"},
                 {{"x", "-P:z", "-P"}, "P ? ? P 3"},
                 {{"x", "-P", "-D"}, "P ? 3"},
                 {{"x", "-D", ""}, "D= 3"},
                 {{"x", "-P", nullptr, "-C"}, "P 2"},
                 {{"x"}, "1"},
                 {{}, "1"}};
    for (const auto& c : cases) {
        OptionScan scan(static_cast<int>(c.words.size()), c.words.data(), "PCU:D:");
        std::string seen;
        for (int letter = scan.next(); letter != OptionScan::kEnd; letter = scan.next()) {
            seen += static_cast<char>(letter);
            if (scan.argument()) seen += "=" + std::string(scan.argument());
            seen += ' ';
        }
        EXPECT_EQ(scan.next(), OptionScan::kEnd) << "the end stays the end";
        EXPECT_EQ(seen + std::to_string(scan.index()), c.seen);
    }
    EXPECT_EQ(OptionScan(3, nullptr, "P").next(), OptionScan::kEnd);
}

// The environment.

TEST(EnvControl, TakesWholeNumbersInTheirRange) {
    constexpr UT_IntControl dso = UT_CONTROL_DSO_ERROR, expand = UT_CONTROL_CPP_EXPAND_DIRECTIVES,
                            verbose = UT_CONTROL_FEATURES_VERBOSE, history = UT_CONTROL_HISTORY_LENGTH;
    const struct {
        UT_IntControl control;
        const char* text;
        int value;
    } cases[] = {{dso, nullptr, 1},
                 {dso, "0", 0},
                 {dso, "", 1},
                 {dso, "0x", 1},
                 {expand, nullptr, 0},
                 {verbose, "-3", -3},
                 {history, nullptr, 20},
                 {history, "0", 1},
                 {history, "-99999999999", 1},
                 {history, "99999999999", 10000},
                 {history, "many", 20}};
    for (const auto& c : cases) {
        const WithVariable variable(UT_EnvControl::getVariable(c.control), c.text);
        EXPECT_EQ(UT_EnvControl::getInt(c.control), c.value) << (c.text ? c.text : "null");
    }
    EXPECT_EQ(UT_EnvControl::getInt(static_cast<UT_IntControl>(0)), 0);
}

TEST(Date, IsLocalTimeInEnglish) {
    const WithVariable zone("TZ", "XST-2");
    char text[64];
    EXPECT_EQ(UT_Date::dprintf(text, "%b %e %Y|%T|%%", 951782399), 22);
    EXPECT_STREQ(text, "Feb 29 2000|01:59:59|%");
}

// Processes.

TEST(Process, AnEndedChildIsGoneButStaysForItsParent) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte;
        ::_exit(::read(ends[0], &byte, 1) == 1 ? 7 : 1);
    }
    int status = -1;
    EXPECT_EQ(UTisRunning(child, &status), 1);
    EXPECT_EQ(status, -1);
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    siginfo_t info;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(UTisRunning(child, &status), 0);
    EXPECT_EQ(status, 7);
    EXPECT_EQ(::waitpid(child, &status, 0), child) << "nobody reaped it";
    EXPECT_EQ(UTisRunning(child, nullptr), 0);
    ::close(ends[0]);
    ::close(ends[1]);

    EXPECT_EQ(UTisRunning(::getppid(), nullptr), 1) << "no child of ours";
    for (const int none : {0, -1}) EXPECT_EQ(UTisRunning(none, nullptr), 0);
}

void say(void* text) {
    std::fputs(static_cast<const char*>(text), stderr);
}
char kOne[] = "one ", kTwo[] = "two ", kChild[] = "child ";

void endWithCallbacks() {
    UT_Exit::addExitCallback(nullptr, nullptr);
    UT_Exit::addExitCallback(say, kOne);
    UT_Exit::addExitCallback([](void*) { UT_Exit::addExitCallback(say, kTwo); }, nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        UT_Exit::addExitCallback(say, kChild);
        std::exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    std::exit(status);
}

TEST(Exit, CallbacksRunOnceAndNotInAForkedChild) {
    EXPECT_EXIT(endWithCallbacks(), testing::ExitedWithCode(0), "^child two one $");
}

}  // namespace
