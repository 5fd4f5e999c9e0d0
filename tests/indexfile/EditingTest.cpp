#include <UT/UT_OStrStream.h>
#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>

#include "../support/ScratchDir.h"
#include "Index.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Section = FS_IndexFile::FS_Section;

Sections sectionsIn(FS_IndexFile& index) {
    return sectionsOf(written(index));
}

TEST(AddingASection, TakesTheCurrentTimeForMinusOneAlone) {
    FS_IndexFile index;
    const int before = FS_IndexFile::getCurrentTime();
    for (const int time : {-1, -2, 0}) add(index, std::to_string(time).c_str(), "x", time);
    EXPECT_GE(index.getSectionModTime("-1"), before);
    EXPECT_LE(index.getSectionModTime("-1"), FS_IndexFile::getCurrentTime());
    EXPECT_EQ(index.getSectionModTime("-2"), -2);
    EXPECT_EQ(index.getSectionModTime("0"), 0);
}

TEST(AddingASection, CopiesWhatItIsGiven) {
    FS_IndexFile index;
    char name[] = "name", bytes[] = "bytes";
    index.addSection(name, bytes, 5, 0);
    std::strcpy(name, "xxxx");
    std::strcpy(bytes, "xxxxx");
    EXPECT_EQ(contentOf(index, "name"), "bytes");
    index.addSection(index.getSectionName(0), "new", 3, 0);
    EXPECT_EQ(contentOf(index, "name"), "new");
    index.removeSection(index.getSectionName(0));
    EXPECT_EQ(index.getNumSections(), 0);
}

TEST(AddingASection, AddsNothingForImpossibleBytes) {
    const ScratchDir dir;
    const std::string huge = dir.write("huge", "");
    dir.cutAt("huge", std::uintmax_t{1} << 31);
    FS_IndexFile index;
    index.addSection("a", "x", -1, 0);
    index.addSection("a", nullptr, 1, 0);
    for (const char* file : {static_cast<const char*>(nullptr), "/no/such/file", "/", huge.c_str()})
        index.addSection("a", file);
    UT_String reason;
    EXPECT_FALSE(index.linkSection("a", huge.c_str(), &reason));
    EXPECT_THAT(reason.buffer(), testing::HasSubstr("2147483647"));
    EXPECT_EQ(index.getNumSections(), 0);
    index.addSection("a", nullptr, 0, 0);
    EXPECT_EQ(index.getNumSections(), 1);
}

TEST(AddingFromAMemoryStream, TakesWhatIsWrittenSoFar) {
    FS_IndexFile index;
    UT_OStrStream out;
    index.addSection("empty", out, 5);
    out << "first";
    index.addSection("a", out, 5);
    out << " and second";
    index.addSection("b", out, 5);
    EXPECT_EQ(sectionsIn(index), (Sections{{"empty", ""}, {"a", "first"}, {"b", "first and second"}}));
}

TEST(AddingFromAnotherContainer, TakesContentAndTime) {
    FS_IndexFile index, other;
    add(other, "a", "theirs", 5);
    add(index, "a", "ours", 9);
    index.addSection("a", other);
    EXPECT_EQ(contentOf(index, "a"), "theirs");
    EXPECT_EQ(index.getSectionModTime("a"), 5);
    index.addSection("a", index);
    EXPECT_EQ(contentOf(index, "a"), "theirs");
    index.addSection("lacking", other);
    EXPECT_TRUE(index.hasSection("lacking"));
    EXPECT_EQ(index.getSectionModTime("lacking"), 0);
    // What the other can't deliver must not arrive as something else.
    const FS_IndexFile damaged(memoryReader(containerHead(1) + tableEntry("a", 0, 1 << 30) + "x"));
    index.addSection("a", damaged);
    EXPECT_EQ(contentOf(index, "a"), "theirs");
}

TEST(MovingSections, ChangesNothingForAnImpossibleRange) {
    FS_IndexFile index;
    for (const char* name : {"a", "b", "c"}) add(index, name, "");
    const int ranges[][3] = {{-1, 1, 1}, {2, 1, 0}, {2, 1, -1}, {2, 2, INT32_MAX}, {INT32_MIN, INT32_MAX, 0}};
    for (const auto& [first, last, offset] : ranges) {
        index.moveSections(first, last, offset);
        EXPECT_THAT(namesOf(index), ElementsAre("a", "b", "c")) << first << ' ' << last << ' ' << offset;
    }
}

TEST(ALinkedSection, IsReadWhenItIsNeeded) {
    const ScratchDir dir;
    const InDirectory there(dir.path());
    dir.write("plain", "some content");
    dir.setTime("plain", 99);
    dir.write("x.idx", containerBytes({{"geo", "a section"}}));
    FS_IndexFile index;
    EXPECT_TRUE(index.linkSection("plain", "plain"));
    EXPECT_TRUE(index.linkSection("prefixed", "file:plain"));
    EXPECT_TRUE(index.linkSection("inner", "x.idx?geo"));
    EXPECT_FALSE(index.linkSection("missing", "missing"));
    EXPECT_FALSE(index.linkSection("missing", "x.idx?missing"));
    EXPECT_FALSE(index.linkSection(nullptr, "plain"));
    EXPECT_EQ(index.getSectionModTime("plain"), 99);
    FS_IndexFile second, third;
    third.linkIndexFile(FS_IndexFile("x.idx"), false);
    const InDirectory elsewhere("/");
    EXPECT_EQ(contentOf(index, "plain"), "some content");
    const Sections all = {{"plain", "some content"}, {"prefixed", "some content"}, {"inner", "a section"}};
    EXPECT_EQ(sectionsIn(index), all);
    second.linkIndexFile(index, true);
    EXPECT_EQ(sectionsIn(second), all) << "through a link to the links";
    dir.write("plain", "some other content");
    EXPECT_EQ(written(index), "") << "a file of another size is another file";
    std::filesystem::remove(dir.path("plain"));
    EXPECT_EQ(written(index), "");
    std::filesystem::remove(dir.path("x.idx"));
    EXPECT_EQ(contentOf(third, "geo"), "a section") << "a container's sections are read from its open source";
    EXPECT_EQ(sectionsIn(third), (Sections{{"geo", "a section"}}));
}

TEST(ALinkedSection, OfWhatAHelperServesIsTakenAtOnce) {
    class Helper : public FS_ReaderHelper {
        FS_ReaderStream* createStream(const char* source) override {
            return std::string_view(source) == "mine:x" ? new FS_ReaderStream("served", 6, 42) : nullptr;
        }
    };
    FS_IndexFile index;
    {
        const Helper helper;
        EXPECT_TRUE(index.linkSection("a", "mine:x"));
    }
    EXPECT_FALSE(index.linkSection("b", "mine:x"));
    EXPECT_EQ(index.getSectionModTime("a"), 42);
    EXPECT_EQ(sectionsIn(index), (Sections{{"a", "served"}}));
}

TEST(WritingAContainer, WritesNothingThatNobodyCouldRead) {
    const ScratchDir dir;
    dir.write("half", "");
    dir.cutAt("half", std::uintmax_t{1} << 30);
    FS_IndexFile index;
    ASSERT_TRUE(index.linkSection("a", dir.path("half").c_str()));
    ASSERT_TRUE(index.linkSection("b", dir.path("half").c_str()));
    std::ostringstream out;
    index.writeFile(out);
    EXPECT_TRUE(out.fail());
    EXPECT_THAT(out.str(), IsEmpty());
}

TEST(ACopiedSection, IsAnIndependentValue) {
    Section section;
    EXPECT_EQ(section.getName(), nullptr);
    EXPECT_EQ(section.getOffset(), 0);
    section.setName("geo");
    section.setSectionSize(3);
    section.setSectionBytes("abc");
    Section copy(section);
    section.getSectionBytes()[0] = 'X';
    section.setName("other");
    EXPECT_STREQ(copy.getName(), "geo");
    EXPECT_EQ(std::string(copy.getSectionBytes(), 3), "abc");
    section.stealData(new char[3]{'d', 'e', 'f'});
    section.stealData(section.getSectionBytes());
    copy = section;
    copy = *&copy;
    section.setSectionBytes(nullptr);
    EXPECT_EQ(std::string(copy.getSectionBytes(), 3), "def");
    EXPECT_EQ(section.getSectionBytes(), nullptr);
    section.adoptName(::strdup("owned"));
    UT_String given("given", 1, -1);
    section.adoptName(given);
    EXPECT_STREQ(section.getName(), given.buffer());
}

}  // namespace
