// CPP_File and CPP_Stream by themselves: names, what cases/conditionals.cases can't say, standard input.
#include <gtest/gtest.h>
#include <preprocessor/CPP_File.h>

#include <memory>

#include "../support/ScratchDir.h"
#include "Sources.h"

namespace {

TEST(File, KnowsTheDirectoryOfItsName) {
    const struct {
        const char *name, *path;
    } cases[] = {{"a/b/c", "a/b"}, {"c", nullptr}, {"/c", ""}, {"a\\b", nullptr}, {"a/", "a"}};
    for (const auto& c : cases) {
        CPP_File file;
        EXPECT_EQ(file.open(c.name, new MadeLines(listed({}))), 1);
        EXPECT_STREQ(file.getName(), c.name);
        EXPECT_STREQ(file.getLastPath(), c.path);
        file.lineDirective("7 \"q/r s\" more");
        EXPECT_EQ(file.getLineNumber(), 7);
        EXPECT_STREQ(file.getName(), "q/r s");
        EXPECT_STREQ(file.getLastPath(), c.path);
        file.lineDirective(" 99999999999 ");
        file.lineDirective("");
        file.lineDirective(nullptr);
        EXPECT_EQ(file.getLineNumber(), 2147483647);
        EXPECT_STREQ(file.getName(), "q/r s");
    }
}

TEST(File, OpensOnce) {
    CPP_File file;
    UT_WorkBuffer line;
    EXPECT_STREQ(file.getName(), "");
    EXPECT_EQ(file.getLine(line), 0);
    EXPECT_EQ(file.open("x", nullptr), 0);
    EXPECT_EQ(file.open("x", new MadeLines(listed({"1"}), true)), 1);
    MadeLines second(listed({"2"}));
    EXPECT_EQ(file.open("y", &second), 0);
    EXPECT_STREQ(file.getName(), "x");
    EXPECT_EQ(file.isCrypted(), 0);
    EXPECT_EQ(file.getLine(line), 1);
    EXPECT_EQ(line.view(), "1\n");
    EXPECT_EQ(file.isCrypted(), 1);
    CPP_File copy(file);
    EXPECT_EQ(copy.getLineNumber(), 1);
    copy.lineDirective("5 z");
    EXPECT_STREQ(file.getName(), "x");
    EXPECT_EQ(file.close(), 1);
    EXPECT_EQ(file.getLineNumber(), 1);
    EXPECT_EQ(file.getLine(line), 0);
    EXPECT_EQ(file.open(file.getName(), new MadeLines(listed({"2"}))), 1) << "under its own name";
    EXPECT_STREQ(file.getName(), "x");
    EXPECT_EQ(file.getLine(line), 1);
    EXPECT_EQ(file.getLineNumber(), 2);
}

TEST(File, NestsConditionals) {
    CPP_File file;
    EXPECT_EQ(file.elifDef(1) + file.elseDef(1) + file.endIf(), 0);
    EXPECT_EQ(file.getIfState() + file.isIfMatched(), 2);
    file.ifDef(0);
    file.ifDef(1);  // dead from the start
    const CPP_File copy(file);
    EXPECT_EQ(file.endIf(), 1);
    EXPECT_EQ(file.elseDef(0), 1);  // nothing
    EXPECT_EQ(file.getIfState(), 0);
    EXPECT_EQ(file.elseDef(1), 1);
    EXPECT_EQ(file.getIfState(), 1);
    EXPECT_EQ(file.isIfMatched(), 0);
    EXPECT_EQ(file.endIf(), 1);
    EXPECT_EQ(file.isIfMatched(), 1);
    EXPECT_EQ(copy.getIfState(), 0);
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

    UT_IStream source("a\nb", 3, UT_ISTREAM_BINARY);
    CPP_Stream::setStdin(source);
    CPP_Manager manager;
    EXPECT_EQ(manager.open("stdin.zul", 1), 1);
    EXPECT_STREQ(manager.getFileName(), "stdin.zul");
    EXPECT_EQ(restOf(manager), "# 1 \"stdin.zul\"\na\nb\n");
    CPP_Stream::clearStdin();
    EXPECT_NE(CPP_Stream::isStdin("stdin"), 0);
    for (const char* name : {"Stdin", "stdin ", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(CPP_Stream::isStdin(name), 0);
    }
}

TEST(Stream, OpensFilesAndNothingElse) {
    const ScratchDir dir;
    dir.write("empty", "");
    CPP_Manager manager;
    EXPECT_EQ(manager.open(dir.path("empty").c_str(), 0), 1);
    EXPECT_EQ(manager.open(dir.path().c_str(), 0), 0);
    EXPECT_EQ(manager.open(dir.path("none").c_str(), 0), 0);
    EXPECT_EQ(manager.open(static_cast<const char*>(nullptr), 0), 0);
    EXPECT_EQ(manager.open("", 0) + manager.open("", 1), 0);
    std::FILE* const file = std::fopen(dir.write("text", "one\ntwo").c_str(), "rb");
    EXPECT_EQ(manager.open(file, "text"), 1);
    EXPECT_NE(restOf(manager).find("one\ntwo\n"), std::string::npos);
    std::fclose(file);  // it stayed ours
}

}  // namespace
