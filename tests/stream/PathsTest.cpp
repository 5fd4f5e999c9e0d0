// What paths lead to: files, and sections in them.
#include <stream/FS_Info.h>

#include "Streams.h"

namespace {

// geo; inner: deep, a container of its own; an empty section; two of one name.
std::string sample() {
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}, {"none", "", 34}});
    return packedContainer(
        {{"geo", "geometry", 11}, {"inner", inner, 22}, {"", "nameless", 1}, {"two", "first", 1}, {"two", "last", 2}},
        "a scene");
}

class FileAndSectionPaths : public testing::Test {
protected:
    const ScratchDir scratch;
    const std::string container = scratch.write("x.idx", sample());
    const InDirectory here{scratch.path()};
};

// Length and time are known also of what can't be opened. A "file:" in front goes once, and only for the file system.
TEST_F(FileAndSectionPaths, LeadToFilesAndSectionsWithTheirTimeAndSize) {
    constexpr const char *kClosed = "(closed)", *kUnread = "(unread)";
    for (const auto& [name, bytes] : Sections{{"x", "content"}, {"secret", "content"}, {"empty", ""}, {"sparse", ""}})
        scratch.setTime((scratch.write(name, bytes), name), 99);
    scratch.cutAt("sparse", 3LL << 30);
    scratch.setTime("sparse", 99);
    for (const auto& [name, mode] : {std::pair("secret", 0u), {"", 0755u}})
        std::filesystem::permissions(scratch.path(name), std::filesystem::perms(mode));
    const std::string keyedInner = keyed(packedContainer({{"deep", "deep bytes", 33}}));
    scratch.write("filtered", packedContainer({{"geo", keyed("geometry"), 11}, {"inner", keyedInner, 22}}));
    scratch.write("behind", std::string(100, '-') + sample());
    // What a helper serves is a container from where the stream stands, and may carry filters.
    const ServesFile later("/later", scratch.path("behind"), false, false, 100);
    const ServesFile filters("/f.idx", scratch.path("filtered"), true, true);
    const TestHelper newest;
    const struct {
        std::string path, bytes;
        int time;
        std::int64_t size;
    } cases[] = {
        {"x", "content", 99, 7},
        {"file:x", "content", 99, 7},
        {"File:" + scratch.path("x"), "content", 99, 7},
        {"file:file:x", kClosed, 0, 0},
        {"files:x", kClosed, 0, 0},
        {"file:", kClosed, 0, 0},
        {"", kClosed, 0, 0},
        {"none/x", kClosed, 0, 0},
        {"secret", kClosed, 99, 7},
        {"empty", "", 99, 0},  // nobody has met its end yet
        {"sparse", kUnread, 99, 3LL << 30},
        {"x.idx?geo", "geometry", 11, 8},
        {"file:x.idx?geo", "geometry", 11, 8},
        {container + "?geo", "geometry", 11, 8},
        {"FILE:" + container + "?inner?deep", "deep bytes", 33, 10},
        {"x.idx?inner?none", "", 34, 0},
        {"x.idx?two", "last", 2, 4},
        {"x.idx?none", kClosed, 0, 0},
        {"x?geo", kClosed, 0, 0},
        {"later?inner?deep", "deep bytes", 33, 10},
        {"f.idx?geo", "geometry", 11, 8},
        {"f.idx?inner?deep", "deep bytes", 33, 10},
        {"f.idx?none", kClosed, 0, 0},
    };
    checkInChild(true, [&] {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.path);
            FS_Reader reader(c.path.c_str());
            EXPECT_TRUE(c.path.find('?') != c.path.npos || newest.asked.back() == c.path);
            EXPECT_EQ(reader.isGood(), c.bytes != kClosed);
            EXPECT_EQ(reader.getModTime(), c.time);
            EXPECT_EQ(reader.getLength(), static_cast<int>(std::min<std::int64_t>(c.size, INT32_MAX)));
            EXPECT_EQ(FS_Info(c.path.c_str()).hasAccess(0), c.bytes != kClosed || c.size > 0);
            EXPECT_EQ(FS_Info(c.path.c_str()).getModTime(), c.time);
            EXPECT_EQ(FS_Info(c.path.c_str()).getFileDataSize(), c.size);
            if (c.bytes == kUnread || c.bytes == kClosed) continue;
            EXPECT_EQ(bytesOf(reader.getStream()), c.bytes);
            EXPECT_FALSE(reader.isGood()) << "read to its end";
        }
    });
    for (const auto& [path, file] : {std::pair("file:x", "x"), {"none/x", "none/x"}, {"x.idx?inner?deep", "x.idx"}})
        EXPECT_EQ(fileNameOf(FS_Reader(path)), scratch.path(file));
    EXPECT_FALSE(FS_Reader(".").isGood()) << "a directory";
}

TEST_F(FileAndSectionPaths, NeverFallBackToAHelperOrAFile) {
    for (const char* name : {"x.idx?unknown", "y?z"}) scratch.write(name, "a plain file");
    const std::size_t tableEnd = sample().find("geometry");
    scratch.write("cut.idx", sample().substr(0, tableEnd - 1));
    const TestHelper helper([](const std::string& source) {
        return source.find('?') != std::string::npos ? memoryStream("served") : nullptr;
    });
    const ServesFile half("/half.idx", scratch.write("half", packedContainer({{"geo", keyed("g"), 11}})), true, false);
    for (const char* path : {"x.idx?unknown", "y?z", "?", "??", "?geo", "x.idx?geo?x", "x.idx?inner?", "x.idx??geo",
                             "cut.idx?geo", "half.idx?geo"})
        EXPECT_EQ(FS_Reader(path).getStream(), nullptr) << path;
    EXPECT_EQ(bytesAt("x.idx?"), "nameless");
    for (const std::string& asked : helper.asked) EXPECT_EQ(asked.find('?'), std::string::npos) << asked;
    scratch.write("cut.idx", sample().substr(0, tableEnd));
    FS_Reader cut("cut.idx?geo");
    EXPECT_EQ(cut.getLength(), 8) << "the table is whole, the bytes are not";
    EXPECT_EQ(bytesOf(cut.getStream()), "");
}

TEST_F(FileAndSectionPaths, OpenTheOutermostContainerOnceWhateverTheDepth) {
    std::string bytes = "core", path = scratch.path("deep.idx");
    for (int level = 0; level < 60; ++level) {
        bytes = packedContainer({{"other", "x", 1}, {"s", bytes, level}});
        path += "?s";
    }
    scratch.write("deep.idx", bytes);
    const TestHelper helper;
    FS_Reader reader(path.c_str());
    EXPECT_THAT(helper.asked, ElementsAre(scratch.path("deep.idx")));
    EXPECT_EQ(reader.getModTime(), 0);
    std::filesystem::remove(scratch.path("deep.idx"));
    EXPECT_EQ(bytesOf(reader.getStream()), "core") << "stays readable when all else has gone";
}

// A stream without a file name gives none for its sections, but tells their time and length.
TEST_F(FileAndSectionPaths, OfAContainerInMemoryAreOnlyKnown) {
    const TestHelper memory(
        [](const std::string& source) { return source.ends_with("/memory") ? memoryStream(sample(), 5) : nullptr; });
    FS_Reader section("memory?geo");
    EXPECT_FALSE(section.isGood());
    EXPECT_EQ(section.getLength(), 8);
    EXPECT_EQ(section.getModTime(), 11);
    for (const char* path : {"memory?nothing", "memory?inner?deep"}) EXPECT_EQ(FS_Reader(path).getModTime(), 0);
}

}  // namespace
