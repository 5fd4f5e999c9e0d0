// CPP_File, CPP_Stream and CPP_Manager: what the cases can't say.
#include <UT/UT_IStream.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_File.h>

#include <ctime>
#include <memory>

#include "../support/Child.h"
#include "../support/ScratchDir.h"
#include "Sources.h"

namespace {

TEST(File, OpensOneSource) {
    CPP_File file;
    UT_WorkBuffer line;
    EXPECT_STREQ(file.getName(), "");
    EXPECT_EQ(file.getLine(line) + file.open("x", nullptr) + file.open(stdin, nullptr, "x"), 0);
    EXPECT_EQ(file.open("x", new MadeLines(listed({"1"}))), 1);
    MadeLines second(listed({"2"}));
    EXPECT_EQ(file.open("y", &second), 0);
    EXPECT_STREQ(file.getName(), "x");
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
