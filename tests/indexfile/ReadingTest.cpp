#include <UT/TextHash.h>
#include <UT/UT_Options.h>
#include <indexfile/SectionTable.h>

#include <set>

#include "../support/Network.h"
#include "Index.h"

namespace {

const Sections kThree = {{"geo", "points"}, {"", "the unnamed"}, {"empty", ""}};

UT_IStream streamOver(std::string_view bytes) {
    return UT_IStream(bytes.data(), static_cast<int>(bytes.size()), UT_ISTREAM_BINARY);
}

class ReadingAContainer : public testing::Test {
protected:
    const ScratchDir dir;
    const std::string path = dir.write("x.idx", containerBytes(kThree));
};

TEST_F(ReadingAContainer, GivesItsPathAndTimeAndHoldsItOpenOnlyOverAReader) {
    const std::string bytes = packedContainer({{"geo", "points", 5}, {"mat", "", -7}}, "a scene");
    dir.setTime((dir.write("x.idx", bytes), "x.idx"), 123456);
    const std::size_t before = descriptors().size();
    const auto index = (InDirectory(dir.path()), std::make_unique<FS_IndexFile>("x.idx"));
    EXPECT_EQ(written(*index), bytes);
    EXPECT_EQ(index->getModTime(), 123456);
    EXPECT_EQ(index->getSourceFile(), path.c_str());
    EXPECT_EQ(index->getSectionModTimeAt(1), -7);
    EXPECT_EQ(contentOf(*index, "geo"), "points");
    EXPECT_EQ(descriptors().size(), before);
    const FS_IndexFile byReader(new FS_Reader(path.c_str()));
    EXPECT_EQ(descriptors().size(), before + 1);
}

TEST_F(ReadingAContainer, AnswersUnknownNamesAndIndexesWithNothing) {
    const FS_IndexFile index(path.c_str());
    for (const char* name : {static_cast<const char*>(nullptr), "ge", "geos", "GEO"}) {
        EXPECT_FALSE(index.hasSection(name) || index.getSectionStream(name) || index.getSectionReader(name));
        EXPECT_EQ(index.getSectionDataSize(name) + index.getSectionModTime(name), 0);
    }
    for (const int i : {-1, 3, 1 << 30}) {
        EXPECT_EQ(index.getSectionName(i), nullptr);
        EXPECT_EQ(index.getSectionDataSizeAt(i) + index.getSectionModTimeAt(i), 0);
    }
    EXPECT_TRUE(index.hasSection(""));
}

TEST_F(ReadingAContainer, RefusesEachLieAsAWholeAndTakesWhatIsOnlyUnusual) {
    const auto opened = [](const Columns& c) -> std::string {
        const std::string bytes = spelledBytes(c[0]);
        FS_IndexFile index(memoryReader(bytes));
        const int sections = index.getNumSections();
        UT_IStream stream = streamOver(bytes), again = streamOver(bytes);
        EXPECT_EQ(findSection(stream, "a").has_value(), sections > 0);
        add(index, "new", "bytes");
        EXPECT_TRUE(sections > 0 || sectionsIn(index) == (Sections{{"new", "bytes"}}));
        return holdsContainer(again) ? std::to_string(sections) : sections == 0 ? "refused" : "in doubt";
    };
    expectRules(TARVANI_RULES "/tables.rules", {{"opened", opened}});
}

TEST_F(ReadingAContainer, IsAllOrNothingWhereverTheBytesEnd) {
    const std::string bytes = containerBytes(kThree, "a scene");
    const std::size_t tableEnd = bytes.size() - std::string("pointsthe unnamed").size();
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        FS_IndexFile index(memoryReader(std::string_view(bytes).substr(0, length)));
        ASSERT_EQ(index.getNumSections(), length < tableEnd ? 0 : 3) << length;
        // Of a damaged container the description stays.
        ASSERT_EQ(index.getDescription().view(), length < bytes.find("scene") + 5 ? "" : "a scene") << length;
        ASSERT_EQ(index.getFileDataSize(), static_cast<int>(length));
        ASSERT_EQ(index.getModTime(), 77);
        // A section that is cut short must not get into a new container as if it were whole.
        ASSERT_EQ(!written(index).empty(), length < tableEnd || length == bytes.size()) << length;
    }
}

// The table is longer than a block of the source, and entries lie across the borders of blocks.
TEST_F(ReadingAContainer, ReadsATableOfManyBlocks) {
    Sections sections;
    for (std::size_t i = 0; i < 9000; ++i)
        sections.emplace_back("section/" + std::string(i % 23, 'x') + std::to_string(i), std::to_string(i * 7));
    sections[4000].first = std::string(200'000, 'L');
    sections[4001].first = std::string(65'520, 'M');
    dir.write("x.idx", containerBytes(sections));
    FS_IndexFile index(new FS_Reader(path.c_str()));
    EXPECT_EQ(sectionsIn(index), sections);
    for (const auto& [name, bytes] : sections) ASSERT_EQ(contentOf(index, name.c_str()), bytes);
    for (const int i : {3999, 4000, 4001, 4002}) {
        const FS_Reader found((path + "?" + sections[i].first).c_str());
        EXPECT_EQ(readAll(*found.getStream()), sections[i].second);
    }
    EXPECT_FALSE(index.hasSection(std::string(199'999, 'L').c_str()));
}

TEST_F(ReadingAContainer, GivesAStreamOfAllFromWhereItBegins) {
    auto* const reader = new FS_Reader(dir.write("x", "####" + containerBytes(kThree) + "behind").c_str());
    reader->getStream()->seekg(4, 0);
    FS_IndexFile index(reader);
    index.modifySection("geo", "edited", 6, 1);
    const std::unique_ptr<FS_ReaderStream> copy(index.getStreamCopy());
    EXPECT_EQ(readAll(*copy->getStream()), containerBytes(kThree) + "behind") << "without the edits";
    EXPECT_FALSE(FS_Reader(FS_IndexFile().getStreamCopy()).isGood());
}

// The eight bytes behind each number stand for a factor that makes zero of a product with a known constant, so that
// nothing in front of them counts any more.
TEST_F(ReadingAContainer, SpreadsNamesThatWereMadeToFallIntoOneSlot) {
    for (const char* block : {"\x15\x7c\x4a\x7f\xb9\x79\x37\x9e", "\x93\xfd\x59\x86\xb6\xfe\xe8\xd6"}) {
        std::set<std::uint64_t> slots;
        for (int i = 0; i < 1000; ++i) slots.insert(hashText(std::to_string(10'000'000 + i) + block) % 65536);
        EXPECT_GT(slots.size(), 900u);
    }
}

TEST_F(ReadingAContainer, GivesNothingWhereTheSourceHasGone) {
    auto index = std::make_unique<FS_IndexFile>(path.c_str());
    add(*index, "memory", "in memory");
    const std::unique_ptr<FS_Reader> stored(index->getSectionReader("geo")), memory(index->getSectionReader("memory"));
    std::filesystem::remove(path);
    char buffer[] = "......";
    index->readSection("geo", buffer);
    EXPECT_STREQ(buffer, "......");
    EXPECT_EQ(contentOf(*index, "geo") + written(*index), "");
    index->modifySection("empty", "new", 3, 5);
    EXPECT_EQ(contentOf(*index, "empty"), "new") << "what was replaced doesn't need the source";
    index->removeSection("memory");
    index.reset();
    EXPECT_EQ(readAll(*stored->getStream()), "points") << "a stream outlives its section and the container";
    EXPECT_EQ(readAll(*memory->getStream()), "in memory");
    for (const auto& section : {&stored, &memory}) EXPECT_EQ((*section)->getModTime(), 1000);
    for (const char* missing : {static_cast<const char*>(nullptr), "", "/no/such/file", "/no/such/file?section", "/"})
        EXPECT_EQ(FS_IndexFile(missing).getNumSections(), 0);
    EXPECT_EQ(FS_IndexFile(static_cast<FS_Reader*>(nullptr)).getNumSections(), 0);
}

TEST_F(ReadingAContainer, LoadsSectionsAsOptions) {
    FS_IndexFile index(memoryReader(containerBytes({{"opt", "width 640\n"}, {"empty", ""}})));
    add(index, "more", "height 480\n");
    UT_Options options;
    for (const char* name : {"opt", "more"}) EXPECT_TRUE(index.readOptionsSection(name, options));
    EXPECT_EQ(options.entries(), 2);
    for (const char* name : {"empty", "unknown"}) EXPECT_FALSE(index.readOptionsSection(name, options));
}

}  // namespace
