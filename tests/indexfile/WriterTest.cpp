// Containers made in one pass: the same bytes as the model writes, and nothing in the target unless all went well.
#include <indexfile/FS_IndexWriter.h>
#include <sys/stat.h>

#include "Index.h"

namespace {

class WriterTest : public testing::Test {
protected:
    std::string at(const char* name) const { return dir_.path(name); }

    ScratchDir dir_;
    UT_String reason_;
};

TEST_F(WriterTest, WritesTheBytesOfTheModelIntoTheFileThatIsThere) {
    const Sections files = {
        {"x.idx", packedContainer({{"old", std::string(700'000, 'o')}})}, {"a", "aaa"}, {"empty", ""}};
    for (const auto& [name, bytes] : files) dir_.setTime((dir_.write(name, bytes), name), 1234);
    std::filesystem::create_hard_link(at("x.idx"), at("link"));
    FS_IndexFile model;
    FS_IndexWriter writer(at("x.idx").c_str());
    model.setDescription("d");
    writer.setDescription("d");
    const Sections sections = {{"1", at("a")}, {"2", "file:" + at("empty")}, {"", at("x.idx") + "?old"}};
    for (const auto& [name, file] : sections) EXPECT_TRUE(writer.addName(name.c_str()));
    EXPECT_FALSE(writer.addName("1"));
    EXPECT_FALSE(writer.addName(nullptr));
    for (const auto& [name, file] : sections) {
        EXPECT_TRUE(writer.addFile(file.c_str(), &reason_)) << reason_.view();
        EXPECT_FALSE(writer.addName("late"));
        model.addSection(name.c_str(), file.c_str());
    }
    EXPECT_EQ(dir_.read("x.idx"), files[0].second);
    EXPECT_TRUE(writer.finish(&reason_)) << reason_.view();
    EXPECT_EQ(dir_.read("link"), written(model));
    EXPECT_FALSE(writer.finish());
}

TEST_F(WriterTest, AFailureLeavesEverythingAsItWas) {
    const std::string old = packedContainer({{"old", "o"}});
    const Sections files = {{"a", "aaa"}, {"x.idx", old}, {"text", "not a container"}, {"huge", ""}};
    for (const auto& [name, bytes] : files) dir_.write(name, bytes);
    dir_.cutAt("huge", 3'000'000'000);
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    const auto names = dir_.names();
    const struct {
        const char* target;
        std::vector<const char*> files;
        const char* reason;
    } cases[] = {
        {"x.idx", {"a"}, nullptr},  // given up before the end
        {"x.idx", {"a"}, "a named section has got no file"},
        {"x.idx", {"a", "nope"}, "can't be opened for reading"},
        {"x.idx", {"a", "x.idx?nope"}, "can't be opened for reading"},
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
            for (const char* name : {"1", "2"}) writer.addName(name);
            bool good = true;
            for (const char* file : c.files) good = good && writer.addFile(at(file).c_str(), &reason_);
            EXPECT_TRUE(!c.reason || !writer.finish(&reason_)) << c.target;
        }
        EXPECT_THAT(std::string(reason_.view()), HasSubstr(c.reason ? c.reason : "")) << c.target;
        EXPECT_EQ(dir_.names(), names);
        EXPECT_EQ(dir_.read("x.idx"), old);
        EXPECT_EQ(dir_.read("text"), "not a container");
    }
}

}  // namespace
