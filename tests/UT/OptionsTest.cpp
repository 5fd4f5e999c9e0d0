// Options, controls, dates, processes and the end of the process.
#include "../support/Child.h"
#include "../support/Environment.h"

#include <UT/OptionScan.h>
#include <UT/UT_Date.h>
#include <UT/UT_EnvControl.h>
#include <UT/UT_Exit.h>
#include <UT/UT_Options.h>
#include <UT/UT_Process.h>
#include <UT/UT_String.h>
#include <gtest/gtest.h>

#include <csignal>
#include <iterator>
#include <sstream>

#include "Streams.h"
#include "Table.h"

namespace {

// All options with their values, sorted by name: "a=1 b=text".
std::string shown(const UT_OptionFile& options) {
    std::string all;
    for (int i = 0; i < options.entries(); ++i) {
        UT_String value;
        EXPECT_TRUE(options.hasOption(options.getName(i)) && options.getOption(options.getName(i), value, "none"));
        all += (i ? " " : "") + std::string(options.getName(i)) + "=" + std::string(value.view());
    }
    return all;
}

bool load(UT_Options& options, std::string_view text) {
    UT_IStream stream = over(text);
    return options.load("test", stream);
}

// Options.

TEST(OptionFile, KeepsTheTypeOfAValue) {
    UT_OptionFile options(nullptr);
    options.setOption("i", -7);
    options.setOption("f", 0.1f);
    options.setOption("b", false);
    options.setOption("s", UT_String("text"));
    options.setOption("literal", "no truth value");
    options.setOption("", 1);
    options.setOption(nullptr, 1);
    EXPECT_EQ(shown(options), "b=off f=0.1 i=-7 literal=no truth value s=text");
    EXPECT_EQ(options.getOptionType("literal"), UT_OptionFile::STRING);
    for (const int outside : {-1, 5}) EXPECT_EQ(options.getName(outside), nullptr);
    for (const char* unknown : {"I", static_cast<const char*>(nullptr)}) {
        UT_String value;
        EXPECT_FALSE(options.hasOption(unknown) || options.getOption(unknown, value, "missing"));
        EXPECT_EQ(value, "missing");
    }
}

TEST(OptionFile, MergingFillsInAndALaterValueHolds) {
    UT_OptionFile parent(nullptr), child(nullptr);
    parent.setOption("a", 1);
    parent.setOption("b", 1);
    child.setOption("b", 2);
    child.merge(parent);
    child.merge(child);
    parent.setOption("a", 3);
    EXPECT_EQ(shown(child), "a=1 b=2");
    child.setOption("a", "now text");
    EXPECT_EQ(shown(child), "a=now text b=2");
}

TEST(OptionFile, TextGetsTheFirstTypeThatFits) {
    const auto typed = [](const std::string& text) {
        constexpr const char* kTypes[] = {"none", "int", "float", "bool", "string"};
        UT_OptionFile options(nullptr);
        options.setOptionFromText("x", UT_String(text.c_str()));
        return kTypes[options.getOptionType("x")] + shown(options).substr(1);
    };
    static_assert(UT_OptionFile::INT == 1 && UT_OptionFile::FLOAT == 2 && UT_OptionFile::BOOL == 3);
    expectRows(typed, {"12 -> int=12", "+2147483647 -> int=2147483647", "4294967296 -> float=4294967296",
                       "-1.50 -> float=-1.5", "+.5e1 -> float=5", "1e999 -> string=1e999", "On -> bool=on",
                       "FALSE -> bool=off", "once -> string=once", "nan -> string=nan", " -> string="});
}

TEST(Options, ReadANameAndAValueALine) {
    UT_Options options;
    EXPECT_TRUE(
        load(options,
             "# \"comment\n\n  width 640\r\n\"a name\"\t\"two\\nlines \\\"here\\\"\"\n #width 1\nflag off\nwidth 800"));
    EXPECT_EQ(shown(options), "a name=two\nlines \"here\" flag=off width=800");
    EXPECT_EQ(options.getOptionType("flag"), UT_OptionFile::BOOL);
    EXPECT_STREQ(options.getSource(), "test");
    EXPECT_TRUE(load(options, "")) << "an empty text is a set without options";
    EXPECT_EQ(options.entries(), 3);
}

TEST(Options, AFaultyLineEndsTheReadingAndKeepsWhatCameBefore) {
    for (const std::string& fault : {std::string("alone"), std::string("three words here"), std::string("\"\" value"),
                                     std::string("alone \0value", 12)}) {
        UT_Options options;
        EXPECT_FALSE(load(options, "first 1\n" + fault + "\nlast 2\n")) << fault;
        EXPECT_EQ(options.getErrorLine(), 2);
        EXPECT_EQ(shown(options), "first=1");
    }
    UT_Options options;
    UT_IFStream nothing("/no/such/file", UT_ISTREAM_BINARY);
    EXPECT_FALSE(options.load(nullptr, nothing));
    EXPECT_STREQ(options.getSource(), "");
    const CFile directory = openFile("/");
    UT_IStream failing(directory.get(), UT_ISTREAM_BINARY);
    EXPECT_FALSE(options.load("/", failing)) << "what can't be read isn't an empty set";
}

TEST(OptionScan, FollowsThePosixRules) {
    // The letters of a line of words with their arguments, then the index.
    const auto seen = [](const std::string& line) {
        std::istringstream in(line);
        const std::vector<std::string> texts(std::istream_iterator<std::string>(in), {});
        std::vector<const char*> words;
        for (const std::string& text : texts)
            words.push_back(text == "NULL" ? nullptr : text == "\"\"" ? "" : text.c_str());
        OptionScan scan(static_cast<int>(words.size()), words.data(), "PCU:D:");
        std::string all;
        for (int letter = scan.next(); letter != OptionScan::kEnd; letter = scan.next()) {
            all += static_cast<char>(letter);
            all += scan.argument() ? "=" + std::string(scan.argument()) + " " : " ";
        }
        EXPECT_EQ(scan.next(), OptionScan::kEnd) << "the end stays the end";
        return all + std::to_string(scan.index());
    };
    expectRows(seen, {"x -PC -Da -U b file -P -> P C D=a U=b 5", "x -PDa -> P D=a 2", "x -D -- -P -> D=-- P 4",
                      "x -- -P -> 2", "x - -P -> 1", "x -P:z -P -> P ? ? P 3", "x -P -D -> P ? 3", "x -D \"\" -> D= 3",
                      "x -P NULL -C -> P 2", " -> 1"});
    EXPECT_EQ(OptionScan(3, nullptr, "P").next(), OptionScan::kEnd);
}

// The environment.

TEST(EnvControl, TakesWholeNumbersInTheirRange) {
    const auto valueOf = [](UT_IntControl control) {
        return [control](const std::string& text) {
            const WithVariable variable(UT_EnvControl::getVariable(control), text == "unset" ? nullptr : text.c_str());
            return std::to_string(UT_EnvControl::getInt(control));
        };
    };
    expectRows(valueOf(UT_CONTROL_DSO_ERROR), {"unset -> 1", "0 -> 0", " -> 1", "0x -> 1"});
    expectRows(valueOf(UT_CONTROL_FEATURES_VERBOSE), {"-3 -> -3"});
    expectRows(valueOf(UT_CONTROL_CPP_EXPAND_DIRECTIVES), {"unset -> 0"});
    expectRows(valueOf(UT_CONTROL_HISTORY_LENGTH),
               {"unset -> 20", "0 -> 1", "-99999999999 -> 1", "99999999999 -> 10000"});
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
    int ends[2], status = -1;
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte;
        ::_exit(::read(ends[0], &byte, 1) == 1 ? 7 : 1);
    }
    EXPECT_EQ(UTisRunning(child, &status), 1);
    EXPECT_EQ(status, -1);
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    siginfo_t info;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(UTisRunning(child, &status), 0);
    EXPECT_EQ(status, 7);
    EXPECT_EQ(::waitpid(child, &status, 0), child) << "nobody reaped it";
    EXPECT_EQ(UTisRunning(::getppid(), nullptr), 1) << "no child of ours";
    for (const int none : {child, 0, -1}) EXPECT_EQ(UTisRunning(none, nullptr), 0);
    for (const int end : ends) ::close(end);
}

void say(void* text) {
    std::fputs(static_cast<const char*>(text), stderr);
}

void endWithCallbacks() {
    static char one[] = "one ", two[] = "two ", inFork[] = "child ";
    UT_Exit::addExitCallback(nullptr, nullptr);
    UT_Exit::addExitCallback(say, one);
    UT_Exit::addExitCallback([](void*) { UT_Exit::addExitCallback(say, two); }, nullptr);
    const auto endToo = [] {
        UT_Exit::addExitCallback(say, inFork);
        std::exit(0);
        return false;
    };
    std::exit(inChild(endToo));
}

TEST(Exit, CallbacksRunOnceAndNotInAForkedChild) {
    EXPECT_EXIT(endWithCallbacks(), testing::ExitedWithCode(0), "^child two one $");
}

}  // namespace
