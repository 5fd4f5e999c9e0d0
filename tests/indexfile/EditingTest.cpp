// What edits do that a model of random ones doesn't meet.
#include <cstring>

#include "Index.h"

namespace {

TEST(AddingASection, TakesTheTimeOfNowForMinusOneAloneAndANameOfItsOwn) {
    FS_IndexFile index;
    const int before = FS_IndexFile::getCurrentTime();
    for (const int time : {-1, -2, 0}) add(index, std::to_string(time).c_str(), "x", time);
    EXPECT_GE(index.getSectionModTime("-1"), before);
    EXPECT_GE(FS_IndexFile().getModTime(), before);
    EXPECT_EQ(index.getSectionModTime("-2"), -2);
    EXPECT_EQ(index.getSectionModTime("0"), 0);
    index.addSection(index.getSectionName(0), "new", 3, 0);
    EXPECT_EQ(contentOf(index, "-1"), "new");
    index.removeSection(index.getSectionName(0));
    EXPECT_THAT(namesOf(index), ElementsAre("-2", "0"));
}

TEST(AddingASection, DoesNothingWhereItCannot) {
    const ScratchDir dir;
    const std::string huge = dir.write("huge", "");
    dir.cutAt("huge", std::uintmax_t{1} << 31);
    const std::string cut = dir.write("cut.idx", containerHead(1) + tableEntry("a", 0, 3) + "ab") + "?a";
    FS_IndexFile index;
    index.addSection(nullptr, "x", 1, 0);
    index.addSection("a", "x", -1, 0);
    index.addSection("a", nullptr, 1, 0);
    index.removeSection(nullptr);
    index.modifySection("a", "x", 1, 0);
    for (const char* file : {static_cast<const char*>(nullptr), "/no/such/file", "/", huge.c_str(), cut.c_str()})
        index.addSection("a", file);
    // What another container can't deliver must not arrive as something else.
    index.addSection("a", FS_IndexFile(memoryReader(containerHead(1) + tableEntry("a", 0, 1 << 30) + "x")));
    UT_String reason;
    EXPECT_FALSE(index.linkSection("a", huge.c_str(), &reason));
    EXPECT_THAT(reason.buffer(), HasSubstr("2147483647"));
    EXPECT_FALSE(index.linkSection("a", cut.c_str(), &reason));
    EXPECT_EQ(index.getNumSections(), 0);

    index.addSection("a", nullptr, 0, 0);
    add(index, "b", "");
    index.moveSections(1, 1, INT32_MAX);
    index.moveSections(INT32_MIN, INT32_MAX, 0);
    EXPECT_THAT(namesOf(index), ElementsAre("a", "b"));
    // More than a container can hold: then nothing is written at all.
    dir.cutAt("huge", std::uintmax_t{1} << 30);
    for (const char* name : {"a", "b"}) ASSERT_TRUE(index.linkSection(name, huge.c_str()));
    std::ostringstream out;
    index.writeFile(out);
    EXPECT_TRUE(out.fail() && out.str().empty());
}

// Copied one by one, these would take a hundred gigabytes.
TEST(AMerge, CopiesBytesThatSectionsShareOnce) {
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
}

TEST(ALinkedSection, IsReadWhenItIsNeeded) {
    const ScratchDir dir;
    const InDirectory there(dir.path());
    dir.write("plain", "some content");
    dir.setTime("plain", 99);
    dir.write("x.idx", containerBytes({{"geo", "a section"}}));
    FS_IndexFile index;
    const struct {
        const char *name, *file;
        bool linked;
    } cases[] = {{"plain", "plain", true},      {"prefixed", "file:plain", true}, {"inner", "x.idx?geo", true},
                 {"missing", "missing", false}, {"missing", "x.idx?none", false}, {nullptr, "plain", false}};
    for (const auto& c : cases) EXPECT_EQ(index.linkSection(c.name, c.file), c.linked) << c.file;
    EXPECT_EQ(index.getSectionModTime("plain"), 99);
    FS_IndexFile second, third;
    third.linkIndexFile(FS_IndexFile("x.idx"), false);
    const InDirectory elsewhere("/");
    const Sections all = {{"plain", "some content"}, {"prefixed", "some content"}, {"inner", "a section"}};
    second.linkIndexFile(index, true);
    for (FS_IndexFile* linked : {&index, &second}) EXPECT_EQ(sectionsIn(*linked), all) << "through links to links, too";
    dir.write("plain", "some other content");
    EXPECT_EQ(written(index), "") << "a file of another size is another file";
    std::filesystem::remove(dir.path("plain"));
    EXPECT_EQ(written(index), "");
    std::filesystem::remove(dir.path("x.idx"));
    EXPECT_EQ(sectionsIn(third), (Sections{{"geo", "a section"}})) << "what a container has open stays readable";
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
