// Sections read by their paths.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "../support/Container.h"
#include "../support/ScratchDir.h"
#include "Reading.h"

namespace {

// x.idx: geo; inner: deep, a container of its own; an empty section; two of one name.
std::string sample() {
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}, {"none", "", 34}});
    return packedContainer(
        {{"geo", "geometry", 11}, {"inner", inner, 22}, {"", "nameless", 1}, {"two", "first", 1}, {"two", "last", 2}},
        "a scene");
}

class SectionPaths : public testing::Test {
protected:
    const ScratchDir scratch;
    const std::string container = scratch.write("x.idx", sample());
    const InDirectory here{scratch.path()};
};

TEST_F(SectionPaths, ReadAsFilesWithTheirOwnTimeAndLength) {
    const struct {
        std::string path, bytes;
        int time;
    } cases[] = {
        {"x.idx?geo", "geometry", 11},
        {"file:x.idx?geo", "geometry", 11},
        {container + "?geo", "geometry", 11},
        {"FILE:" + container + "?inner?deep", "deep bytes", 33},
        {"x.idx?inner?deep", "deep bytes", 33},
        {"x.idx?inner?none", "", 34},
        {"x.idx?two", "last", 2},
    };
    for (const auto& c : cases) {
        FS_Reader reader(c.path.c_str());
        ASSERT_TRUE(reader.isGood()) << c.path;
        EXPECT_EQ(reader.getModTime(), c.time) << c.path;
        EXPECT_EQ(reader.getLength(), static_cast<int>(c.bytes.size())) << c.path;
        EXPECT_EQ(bytesOf(reader.getStream()), c.bytes) << c.path;
        EXPECT_TRUE(fileNameOf(reader).ends_with(container)) << fileNameOf(reader);
    }
}

TEST_F(SectionPaths, NeverFallBackToAHelperOrAFile) {
    scratch.write("x.idx?unknown", "a plain file");
    scratch.write("y?z", "a plain file");
    TestHelper helper([](const std::string& source) {
        return source.find('?') != std::string::npos ? memoryStream("served") : nullptr;
    });
    for (const char* path :
         {"x.idx?unknown", "y?z", "x.idx?", "?", "??", "?geo", "x.idx?geo?x", "x.idx?inner?", "x.idx??geo"}) {
        FS_Reader reader(path);
        const bool nameless = std::string_view(path) == "x.idx?";  // the table has a section without a name
        EXPECT_EQ(reader.getStream() == nullptr, !nameless) << path;
    }
    for (const std::string& asked : helper.asked) EXPECT_EQ(asked.find('?'), std::string::npos) << asked;
}

TEST_F(SectionPaths, OpenTheOutermostContainerOnceWhateverTheDepth) {
    std::string bytes = "core", path = scratch.path("deep.idx");
    for (int level = 0; level < 60; ++level) {
        bytes = packedContainer({{"other", "x", 1}, {"s", bytes, level}});
        path += "?s";
    }
    scratch.write("deep.idx", bytes);
    TestHelper helper;
    FS_Reader reader(path.c_str());
    EXPECT_EQ(helper.asked, std::vector<std::string>{scratch.path("deep.idx")});
    EXPECT_EQ(reader.getModTime(), 0);
    std::filesystem::remove(scratch.path("deep.idx"));
    EXPECT_EQ(bytesOf(reader.getStream()), "core") << "stays readable when all else has gone";
}

TEST_F(SectionPaths, ReachIntoWhatAHelperServes) {
    const ServesFile files("/served", scratch.write("later.idx", std::string(100, '-') + sample()), false, false, 100);
    const TestHelper memory(
        [](const std::string& source) { return source.ends_with("/memory") ? memoryStream(sample(), 5) : nullptr; });
    EXPECT_EQ(bytesAt("served?geo"), "geometry") << "from where the stream stands";
    EXPECT_EQ(bytesAt("served?inner?deep"), "deep bytes");

    // A stream without a file name gives none for its sections, but tells their time and length.
    FS_Reader section("memory?geo");
    EXPECT_FALSE(section.isGood());
    EXPECT_EQ(section.getLength(), 8);
    EXPECT_EQ(section.getModTime(), 11);
    for (const char* path : {"memory?nothing", "memory?inner?deep"}) EXPECT_EQ(FS_Reader(path).getModTime(), 0);
}

TEST_F(SectionPaths, PassThroughTheFiltersThatTheContainerCarries) {
    const std::string inner = keyed(packedContainer({{"deep", "deep bytes", 33}}));
    const std::string path =
        scratch.write("filtered", packedContainer({{"geo", keyed("geometry"), 11}, {"inner", inner, 22}}));
    const ServesFile whole("/f.idx", path, true, true), half("/half.idx", path, true, false);
    FS_Reader section("f.idx?geo");
    EXPECT_EQ(section.getLength(), 8) << "the plain size";
    EXPECT_EQ(section.getModTime(), 11);
    EXPECT_EQ(bytesOf(section.getStream()), "geometry");
    EXPECT_EQ(bytesAt("f.idx?inner?deep"), "deep bytes");
    EXPECT_EQ(FS_Reader("half.idx?geo").getStream(), nullptr) << "half a pair opens nothing";
}

TEST_F(SectionPaths, SeeNoSectionInADamagedContainer) {
    const std::string whole = sample();
    const std::size_t tableEnd = whole.find("geometry");
    scratch.write("cut.idx", whole.substr(0, tableEnd - 1));
    EXPECT_EQ(FS_Reader("cut.idx?geo").getStream(), nullptr);
    scratch.write("cut.idx", whole.substr(0, tableEnd));
    FS_Reader cut("cut.idx?geo");
    EXPECT_EQ(cut.getLength(), 8) << "the table is whole, the bytes are not";
    EXPECT_EQ(bytesOf(cut.getStream()), "");
}

}  // namespace
