// What edits do that a model of random ones doesn't meet.
#include <cstring>

#include "Index.h"

namespace {

TEST(AContainer, MayBeGivenAnyPointer) {
    FS_IndexFile index;
    index.addSection(nullptr, "x", 1, 0);
    index.addSection("a", "x", -1, 0);
    index.addSection("a", nullptr, 1, 0);
    index.addSection("a", static_cast<const char*>(nullptr));
    index.addSection(nullptr, "/dev/null");
    index.removeSection(nullptr);
    EXPECT_FALSE(index.linkSection(nullptr, "/dev/null") || index.linkSection("a", FS_Reader("")));
    EXPECT_FALSE(index.save(nullptr) || index.save(""));
    EXPECT_FALSE(index.collapseFromDirectory(nullptr) || index.expandToDirectory(nullptr));
    EXPECT_EQ(index.getNumSections(), 0);
    for (const char* name : {"a", "b"}) index.addSection(name, nullptr, 0, 0);
    index.addSection(index.getSectionName(0), "new", 3, 0);
    EXPECT_EQ(contentOf(index, "a"), "new") << "of the name that it replaces";
    index.removeSection(index.getSectionName(0));
    EXPECT_THAT(namesOf(index), ElementsAre("b"));
}

// Read one by one, these would be a hundred gigabytes, and two thousand of one name.
TEST(AMerge, ReadsNoByteAgainForEachSection) {
    constexpr int kCount = 100'000, kSize = 1'000'000;
    std::string bytes = containerHead(kCount), content;
    for (int i = 0; i < kCount; ++i) bytes += tableEntry(std::to_string(i), i, kSize);
    for (int i = 0; i < kCount + kSize - 2; ++i) content += static_cast<char>('a' + i % 26);
    const ScratchDir dir;
    FS_IndexFile index;
    index.mergeIndexFile(FS_IndexFile(dir.write("x.idx", bytes + content).c_str()), true);
    EXPECT_EQ(index.getNumSections(), kCount - 1) << "the last one isn't whole";
    for (const int i : {0, 7, kCount - 2})
        EXPECT_TRUE(contentOf(index, std::to_string(i).c_str()) == content.substr(static_cast<std::size_t>(i), kSize));

    bytes = containerHead(kCount + 2) + tableEntry("a", 0, 1) + tableEntry("b", 0, 0);
    for (int i = 0; i < kCount; ++i) bytes += tableEntry("a", 0, i + 1 < kCount ? 0 : 20 * kSize);
    FS_IndexFile again;
    again.mergeIndexFile(FS_IndexFile(dir.write("x.idx", bytes + std::string(20 * kSize, 'x')).c_str()), true);
    EXPECT_THAT(namesOf(again), ElementsAre("a", "b"));
    EXPECT_EQ(again.getSectionDataSize("a"), 20 * kSize);
}

TEST(ALinkedSection, OfWhatAHelperServesIsTakenAtOnce) {
    class Helper : public FS_ReaderHelper {
        FS_ReaderStream* createStream(const char*) override { return new FS_ReaderStream("served", 6, 42); }
    };
    FS_IndexFile index;
    EXPECT_TRUE((Helper(), index.linkSection("a", "mine:x")));
    EXPECT_EQ(index.getSectionModTime("a"), 42);
    EXPECT_EQ(sectionsIn(index), (Sections{{"a", "served"}}));
}

TEST(ACopiedSection, IsAnIndependentValue) {
    FS_IndexFile::FS_Section section;
    section.setName("geo");
    section.setSectionSize(3);
    section.setSectionBytes("abc");
    FS_IndexFile::FS_Section copy(section);
    section.getSectionBytes()[0] = 'X';
    section.setName("other");
    EXPECT_EQ(copy.getName() + std::string(copy.getSectionBytes(), 3), "geoabc");
    section.stealData(new char[3]{'d', 'e', 'f'});
    section.stealData(section.getSectionBytes());
    copy = section;
    copy = *&copy;
    section.setSectionBytes(nullptr);
    EXPECT_EQ(copy.getName() + std::string(copy.getSectionBytes(), 3), "otherdef");
    section.adoptName(::strdup("owned"));
    UT_String given("given", 1, -1);
    section.adoptName(given);
    EXPECT_STREQ(section.getName(), given.buffer());
}

}  // namespace
