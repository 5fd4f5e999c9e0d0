// Containers made in one pass: the same bytes as the model writes, and nothing in the target unless all went well.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <indexfile/FS_IndexWriter.h>
#include <sys/stat.h>

#include "../support/Container.h"
#include "../support/ScratchDir.h"
#include "Index.h"

namespace {

class WriterTest : public testing::Test {
protected:
    void SetUp() override {
        dir_.write("a", "aaa");
        dir_.write("empty", "");
        dir_.write("large", std::string(700'000, 'x'));
        dir_.write("inner.idx", packedContainer({{"geo", "in", 77}}));
        for (const char* name : {"a", "empty", "large"}) dir_.setTime(name, 1234);
    }
    std::string at(const char* name) const { return dir_.path(name); }

    ScratchDir dir_;
    UT_String reason_;
};

TEST_F(WriterTest, WritesTheBytesOfTheModel) {
    FS_IndexFile model;
    FS_IndexWriter writer(at("x.idx").c_str());
    model.setDescription("d");
    writer.setDescription("d");
    const std::pair<const char*, std::string> sections[] = {
        {"1", at("a")}, {"2", "file:" + at("empty")}, {"three", at("large")}, {"", at("inner.idx") + "?geo"}};
    for (const auto& [name, file] : sections) EXPECT_TRUE(writer.addName(name));
    EXPECT_FALSE(writer.addName("1"));
    EXPECT_FALSE(writer.addName(nullptr));
    for (const auto& [name, file] : sections) {
        EXPECT_TRUE(writer.addFile(file.c_str(), &reason_)) << reason_.view();
        EXPECT_FALSE(writer.addName("late"));
        model.addSection(name, file.c_str());
    }
    EXPECT_FALSE(dir_.exists("x.idx"));
    EXPECT_TRUE(writer.finish(&reason_)) << reason_.view();
    EXPECT_EQ(dir_.read("x.idx"), written(model));
    EXPECT_FALSE(writer.finish());
}

TEST_F(WriterTest, AContainerThatIsThereStaysTheSameFile) {
    const std::string path = dir_.write("x.idx", packedContainer({{"old", std::string(1000, 'o')}}));
    std::filesystem::create_hard_link(path, at("link"));
    FS_IndexWriter writer(path.c_str());
    writer.addName("new");
    EXPECT_TRUE(writer.addFile((path + "?old").c_str()));
    EXPECT_TRUE(writer.finish());
    EXPECT_EQ(sectionsOf(dir_.read("link")), (Sections{{"new", std::string(1000, 'o')}}));
}

TEST_F(WriterTest, AFailureLeavesEverythingAsItWas) {
    const std::string old = packedContainer({{"old", "o"}});
    dir_.write("x.idx", old);
    dir_.write("text", "not a container");
    dir_.write("huge", "");
    dir_.cutAt("huge", 3'000'000'000);
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    const auto names = dir_.names();
    const struct {
        const char* target;
        std::vector<std::string> files;
        const char* reason;
    } cases[] = {
        {"x.idx", {"a"}, nullptr},  // given up before the end
        {"x.idx", {"a"}, "a named section has got no file"},
        {"x.idx", {"a", "nope"}, "can't be opened for reading"},
        {"x.idx", {"a", "inner.idx?nope"}, "can't be opened for reading"},
        {"x.idx", {"a", "a", "a"}, "has no name among the sections"},
        {"x.idx", {"huge"}, "is larger than a section can be (2147483647 bytes)"},
        {"new.idx", {"a", "nope"}, "can't be opened for reading"},
        {"text", {"a", "a"}, "is not a container, and is left as it is"},
        {"no/x.idx", {"a", "a"}, "No such file or directory"},
        {"", {"a", "a"}, "is not a regular file"},
        {"pipe", {"a", "a"}, "is not a regular file"},
    };
    for (const auto& c : cases) {
        {
            FS_IndexWriter writer(at(c.target).c_str());
            writer.addName("1");
            writer.addName("2");
            bool good = true;
            for (const std::string& file : c.files) good = good && writer.addFile(at(file.c_str()).c_str(), &reason_);
            EXPECT_TRUE(!c.reason || !writer.finish(&reason_)) << c.target;
        }
        EXPECT_THAT(std::string(reason_.view()), testing::HasSubstr(c.reason ? c.reason : "")) << c.target;
        EXPECT_EQ(dir_.names(), names);
        EXPECT_EQ(dir_.read("x.idx"), old);
        EXPECT_EQ(dir_.read("text"), "not a container");
    }
}

}  // namespace
