// Options, controls, dates, processes and the end of the process.
#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/Rules.h"

#include <UT/UT_Date.h>
#include <UT/UT_EnvControl.h>
#include <UT/UT_Exit.h>
#include <UT/UT_Options.h>
#include <UT/UT_Process.h>
#include <UT/UT_String.h>
#include <gtest/gtest.h>

#include <csignal>

#include "Streams.h"

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

std::string typed(const Columns& row) {
    constexpr const char* kTypes[] = {"none", "int", "float", "bool", "string"};
    UT_OptionFile options(nullptr);
    options.setOptionFromText("x", UT_String(row[0].c_str()));
    return kTypes[options.getOptionType("x")] + shown(options).substr(1);
}

std::string loaded(const Columns& row) {
    UT_Options options;
    UT_IStream stream = over(row[0]);
    const bool done = options.load("test", stream);
    EXPECT_STREQ(options.getSource(), "test");
    EXPECT_EQ(done, options.getErrorLine() == 0);
    return shown(options) + (done ? "" : ", a fault in line " + std::to_string(options.getErrorLine()));
}

std::string controlled(const Columns& row) {
    const WithVariable variable(row[0].c_str(), row.size() > 1 ? row[1].c_str() : nullptr);
    for (const int number : {24, 25, 67, 91}) {
        const auto control = static_cast<UT_IntControl>(number);
        if (row[0] == UT_EnvControl::getVariable(control)) return std::to_string(UT_EnvControl::getInt(control));
    }
    return "unknown";
}

TEST(OptionRules, HoldForEachRow) {
    expectRules(TARVANI_RULES "/options.rules", {{"typed", typed}, {"loaded", loaded}, {"control", controlled}});
    EXPECT_EQ(UT_EnvControl::getInt(static_cast<UT_IntControl>(0)), 0);
}

// Options.

TEST(OptionFile, KeepsTypesAndMergingFillsIn) {
    UT_OptionFile options(nullptr), others(nullptr);
    options.setOption("i", -7);
    options.setOption("f", 0.1f);
    options.setOption("b", false);
    options.setOption("s", UT_String("text"));
    options.setOption("literal", "no truth value");
    for (const char* nameless : {"", static_cast<const char*>(nullptr)}) options.setOption(nameless, 1);
    for (const char* name : {"i", "x"}) others.setOption(name, 2);
    options.merge(others);
    options.merge(options);
    others.setOption("x", 3);
    EXPECT_EQ(shown(options), "b=off f=0.1 i=-7 literal=no truth value s=text x=2");
    EXPECT_EQ(options.getOptionType("literal"), UT_OptionFile::STRING);
    options.setOption("i", "now text");
    EXPECT_EQ(options.getOptionType("i"), UT_OptionFile::STRING);
    for (const int outside : {-1, 6}) EXPECT_EQ(options.getName(outside), nullptr);
    for (const char* unknown : {"I", static_cast<const char*>(nullptr)}) {
        UT_String value;
        EXPECT_FALSE(options.hasOption(unknown) || options.getOption(unknown, value, "missing"));
        EXPECT_EQ(value, "missing");
    }
}

TEST(Options, WhatCannotBeReadIsNoEmptySet) {
    UT_Options options;
    UT_IFStream nothing("/no/such/file", UT_ISTREAM_BINARY);
    EXPECT_FALSE(options.load(nullptr, nothing));
    EXPECT_STREQ(options.getSource(), "");
    const CFile directory = openFile("/");
    UT_IStream failing(directory.get(), UT_ISTREAM_BINARY);
    EXPECT_FALSE(options.load("/", failing));
}

TEST(Date, IsLocalTimeInEnglish) {
    const WithVariable zone("TZ", "XST-2");
    char text[64];
    EXPECT_EQ(UT_Date::dprintf(text, "%b %e %Y|%T|%%", 951782399), 22);
    EXPECT_STREQ(text, "Feb 29 2000|01:59:59|%");
}

// Processes.

TEST(Process, AnEndedChildTellsItsStatusAndStaysForItsParent) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(7);
    siginfo_t info;
    int status = -1;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(UTisRunning(child, &status), 0);
    EXPECT_EQ(status, 7);
    EXPECT_EQ(::waitpid(child, &status, 0), child) << "nobody reaped it";
    EXPECT_EQ(UTisRunning(::getppid(), nullptr), 1) << "no child of ours";
    for (const int none : {child, 0, -1}) EXPECT_EQ(UTisRunning(none, nullptr), 0);
}

void say(void* text) {
    std::fputs(static_cast<const char*>(text), stderr);
}

void endWithCallbacks() {
    static char one[] = "one ", two[] = "two ";
    UT_Exit::addExitCallback(nullptr, nullptr);
    UT_Exit::addExitCallback(say, one);
    UT_Exit::addExitCallback([](void*) { UT_Exit::addExitCallback(say, two); }, nullptr);
    // A child has callbacks of its own alone, which tests of fetched pages show as well.
    std::exit(inChild([] { return std::exit(0), false; }));
}

TEST(Exit, CallbacksRunOnceAndNotInAForkedChild) {
    EXPECT_EXIT(endWithCallbacks(), testing::ExitedWithCode(0), "^two one $");
}

}  // namespace
