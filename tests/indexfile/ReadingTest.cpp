#include <UT/TextHash.h>
#include <UT/UT_Options.h>
#include <indexfile/SectionTable.h>

#include <set>

#include "Index.h"

namespace {

const Sections kThree = {{"geo", "points"}, {"", "the unnamed"}, {"empty", ""}};

UT_IStream streamOver(std::string_view bytes) {
    return UT_IStream(bytes.data(), static_cast<int>(bytes.size()), UT_ISTREAM_BINARY);
}

std::ptrdiff_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

class ReadingAContainer : public testing::Test {
protected:
    const ScratchDir dir;
    const std::string path = dir.write("x.idx", containerBytes(kThree));
};

TEST_F(ReadingAContainer, GivesNamesSizesTimesAndContent) {
    dir.write("x.idx", packedContainer({{"geo", "points", 5}, {"mat", "", -7}}, "a scene"));
    dir.setTime("x.idx", 123456);
    const auto before = openFiles();
    const auto opened = (InDirectory(dir.path()), std::make_unique<FS_IndexFile>("x.idx"));
    FS_IndexFile& index = *opened;
    EXPECT_THAT(namesOf(index), ElementsAre("geo", "mat"));
    EXPECT_EQ(written(index), dir.read("x.idx"));
    EXPECT_EQ(index.getModTime(), 123456);
    EXPECT_EQ(index.getSourceFile(), path.c_str());
    EXPECT_EQ(index.getSectionDataSizeAt(0), 6);
    EXPECT_EQ(index.getSectionModTimeAt(1), -7);
    EXPECT_EQ(index.getSectionModTime("geo"), 5);
    EXPECT_EQ(contentOf(index, "geo"), "points");
    EXPECT_EQ(openFiles(), before) << "held open only over a reader";
    const FS_IndexFile byReader(new FS_Reader(path.c_str()));
    EXPECT_EQ(openFiles(), before + 1);
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
    constexpr int kLie = -1;
    const std::string good = tableEntry("a", 0, 1);
    const struct {
        const char* what;
        int sections;
        std::string bytes;
    } cases[] = {
        {"nothing at all", kLie, ""},
        {"another magic", kLie, "INDY" + containerHead(0).substr(4)},
        {"a newer version", kLie, "INDX" + packed(1) + packed("a text") + packed(1) + good + "x"},
        {"a description that isn't there", kLie, "INDX" + packed(0) + packed(INT32_MAX)},
        {"a description of negative length", kLie, "INDX" + packed(0) + packed(-1) + packed(0)},
        {"a count without entries", kLie, containerHead(INT32_MAX)},
        {"one entry too many", kLie, containerHead(2) + good},
        {"a name that isn't there", kLie, containerHead(1) + packed(INT32_MAX) + "abcdefghijklmnop"},
        {"a name of negative length", kLie, containerHead(1) + packed(-5) + std::string(40, 'x')},
        {"a name that takes the fields", kLie, containerHead(1) + packed(13) + std::string(12, 'x')},
        {"a negative size in the third entry", kLie, containerHead(3) + good + good + tableEntry("c", 0, -1)},
        {"a negative offset", kLie, containerHead(2) + good + tableEntry("b", -1, 0)},
        {"an offset behind the largest position", kLie, containerHead(1) + tableEntry("a", INT32_MAX, 0)},
        {"the largest offset", 1, containerHead(1) + tableEntry("a", INT32_MAX - 33, 5)},
        {"an older version", 1, containerHead(1, -1) + good + "x"},
        {"a negative count", 0, containerHead(-3) + "rest"},
        {"bytes beyond the end", 1, containerHead(1) + tableEntry("a", 1000, 1000)},
        {"two sections in one place", 2, containerHead(2) + good + tableEntry("b", 0, 1) + "x"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        FS_IndexFile index(memoryReader(c.bytes));
        EXPECT_EQ(index.getNumSections(), std::max(c.sections, 0));
        EXPECT_TRUE(index.getDescription().isEmpty());
        UT_IStream stream = streamOver(c.bytes), again = streamOver(c.bytes);
        EXPECT_EQ(findSection(stream, "a").has_value(), c.sections > 0);
        EXPECT_EQ(holdsContainer(again), c.sections != kLie);
        if (c.sections > 0) continue;
        add(index, "new", "bytes");
        EXPECT_EQ(sectionsIn(index), (Sections{{"new", "bytes"}}));
    }
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
    UT_IFStream file(path.c_str(), UT_ISTREAM_BINARY);
    for (const auto& [name, bytes] : sections) {
        ASSERT_EQ(contentOf(index, name.c_str()), bytes);
        if (name.size() < 1000 && bytes.size() > 4) continue;
        file.seekg(0, 0);
        const auto place = findSection(file, name);
        ASSERT_TRUE(place) << name;
        file.seekg(place->offset, 0);
        std::string found(static_cast<std::size_t>(place->size), '.');
        file.bread(found.data(), place->size);
        ASSERT_EQ(found, bytes);
    }
    EXPECT_FALSE(index.hasSection(std::string(199'999, 'L').c_str()));
}

TEST_F(ReadingAContainer, GivesAStreamOfAllFromWhereItBegins) {
    auto* const reader = new FS_Reader(dir.write("x", "####" + containerBytes(kThree) + "behind").c_str());
    reader->getStream()->seekg(4, 0);
    FS_IndexFile index(reader);
    index.modifySection("geo", "edited", 6, 1);
    const std::unique_ptr<FS_ReaderStream> copy(index.getStreamCopy());
    EXPECT_EQ(restOf(*copy->getStream()), containerBytes(kThree) + "behind") << "without the edits";
    const std::unique_ptr<FS_ReaderStream> ofMemory(FS_IndexFile().getStreamCopy());
    EXPECT_TRUE(ofMemory && !ofMemory->isGood());
}

TEST_F(ReadingAContainer, FindsTheLastOfTwoSectionsWithOneNameWhichEndsAtANul) {
    const std::string bytes = containerBytes({{"a", "first"}, {"b", "other"}, {{"a\0cd", 4}, "second"}});
    UT_IStream stream = streamOver(bytes);
    EXPECT_EQ(findSection(stream, "a")->size, 6);
    FS_IndexFile index(dir.write("x.idx", bytes).c_str());
    EXPECT_THAT(namesOf(index), ElementsAre("a", "b", "a"));
    for (const char* expected : {"second", "first"}) {
        EXPECT_EQ(contentOf(index, "a"), expected);
        index.removeSection("a");
    }
    EXPECT_THAT(namesOf(index), ElementsAre("b"));
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
    add(*index, "memory", "in memory", 9);
    const std::unique_ptr<FS_ReaderStream> stored(index->getSectionStream("geo")),
        memory(index->getSectionStream("memory"));
    std::filesystem::remove(path);
    char buffer[] = "......";
    index->readSection("geo", buffer);
    EXPECT_STREQ(buffer, "......");
    EXPECT_EQ(contentOf(*index, "geo"), "");
    EXPECT_EQ(written(*index), "");
    index->modifySection("empty", "new", 3, 5);
    EXPECT_EQ(contentOf(*index, "empty"), "new") << "what was replaced doesn't need the source";
    index->removeSection("memory");
    index.reset();
    EXPECT_EQ(restOf(*stored->getStream()), "points") << "a stream outlives its section and the container";
    EXPECT_EQ(restOf(*memory->getStream()), "in memory");
    EXPECT_EQ(stored->getModTime(), 1000);
    EXPECT_EQ(memory->getModTime(), 9);

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
