// Sections that pass through a filter pair: the one that the examples show, and pairs that break their promises.
#include <UT/UT_IStream.h>
#include <gmock/gmock.h>

#include "../support/Keyed.h"
#include "../support/ScratchDir.h"
#include "Index.h"

namespace {

// The keyed writer, which says of the size what it is told to say.
class SayingSize : public KeyedWriteFactory {
public:
    explicit SayingSize(int size) : KeyedWriteFactory("key"), size_(size) {}
    FS_WriteFilterFactory* clone() override { return new SayingSize(*this); }
    int getFilteredSize(int) override { return size_; }

private:
    int size_;
};

class Filtered : public testing::Test {
protected:
    KeyedWriteFactory writer{"key"};
    KeyedReadFactory reader{"key"};
    ScratchDir dir;

    std::string write(const char* name, FS_IndexFile& index) { return dir.write(name, written(index)); }
    // A container that holds these bytes as "a", looked at through the pair.
    std::unique_ptr<FS_IndexFile> stored(std::string_view bytes) {
        const std::string path = dir.write("x.idx", containerBytes({{"a", std::string(bytes)}}));
        auto index = std::make_unique<FS_IndexFile>(path.c_str());
        index->setFilters(&writer, &reader);
        return index;
    }
};

TEST_F(Filtered, SectionsAreStoredThroughTheWriterAndReadThroughTheReader) {
    FS_IndexFile index;
    index.setFilters(&writer, &reader);
    const std::string large(200'000, 'x');
    add(index, "a", "plain");
    add(index, "empty", "");
    add(index, "large", large);
    const std::string bytes = written(index);
    EXPECT_EQ(sectionsOf(bytes), (Sections{{"a", keyed("plain")}, {"empty", keyed("")}, {"large", keyed(large)}}));

    FS_IndexFile opened(dir.write("x.idx", bytes).c_str());
    EXPECT_EQ(opened.getSectionDataSize("a"), 9);
    opened.setFilters(&writer, &reader);
    EXPECT_EQ(opened.getSectionDataSize("a"), 5);
    EXPECT_EQ(opened.getSectionDataSize("empty"), 0);
    EXPECT_EQ(contentOf(opened, "a"), "plain");
    EXPECT_EQ(contentOf(opened, "empty"), "");
    EXPECT_EQ(contentOf(opened, "large"), large);
    char buffer[] = ".....";
    opened.readSection("a", buffer);
    EXPECT_STREQ(buffer, "plain");
    // Decoded and encoded again, beside a section that is new.
    add(opened, "b", "more");
    EXPECT_EQ(sectionsOf(written(opened)),
              (Sections{{"a", keyed("plain")}, {"empty", keyed("")}, {"large", keyed(large)}, {"b", keyed("more")}}));
}

TEST_F(Filtered, AStreamCopyCarriesThePairIntoTheNextContainer) {
    const auto index = stored(keyed("content"));
    FS_IndexFile next(new FS_Reader(index->getStreamCopy()));
    ASSERT_NE(next.getEncryptionFilter(), nullptr);
    ASSERT_NE(next.getDecryptionFilter(), nullptr);
    EXPECT_NE(next.getEncryptionFilter(), index->getEncryptionFilter());
    EXPECT_EQ(next.getSectionDataSize("a"), 7);
    EXPECT_EQ(contentOf(next, "a"), "content");
    EXPECT_EQ(sectionsOf(written(next)), (Sections{{"a", keyed("content")}}));
}

TEST_F(Filtered, ANestedContainerIsReadThroughThePairOfTheOuterOne) {
    const auto opened = stored(keyed(containerBytes({{"x", "deep"}, {"y", "deeper"}})));
    FS_IndexFile inner(opened->getSectionReader("a"));
    EXPECT_EQ(inner.getDecryptionFilter(), nullptr);
    EXPECT_EQ(contentOf(inner, "y"), "deeper");
    EXPECT_EQ(sectionsOf(written(inner)), (Sections{{"x", "deep"}, {"y", "deeper"}}));
}

TEST_F(Filtered, MergedAndLinkedSectionsArriveAsPlainContent) {
    for (const bool link : {false, true}) {
        FS_IndexFile plain;
        auto other = stored(keyed("content"));
        link ? plain.linkIndexFile(*other, true) : plain.mergeIndexFile(*other, true);
        other.reset();
        EXPECT_EQ(plain.getSectionDataSize("a"), 7);
        EXPECT_EQ(contentOf(plain, "a"), "content");
        EXPECT_EQ(sectionsOf(written(plain)), (Sections{{"a", "content"}}));
    }
}

TEST_F(Filtered, TheSizesFollowTheFactories) {
    FS_IndexFile plain;
    add(plain, "keyed", keyed("abc"));
    add(plain, "other", "not by this pair");
    FS_IndexFile index(write("x.idx", plain).c_str());
    index.setFilters(&writer, &reader);
    add(index, "memory", "12345");
    EXPECT_EQ(index.getSectionDataSize("keyed"), 3);
    EXPECT_EQ(index.getSectionDataSize("other"), 0) << "a negative size is 0";
    EXPECT_EQ(FS_IndexFile().guessStreamSize(), 8192);
    EXPECT_EQ(index.guessStreamSize(), 8192 + (3 + 4) + (0 + 4) + (5 + 4));
    index.setFilters(&writer, &reader);
    EXPECT_EQ(index.getSectionDataSize("memory"), 5) << "a section in memory is plain";
    index.setFilters(nullptr, &reader);
    EXPECT_EQ(index.getEncryptionFilter(), nullptr);
    EXPECT_EQ(index.getSectionDataSize("keyed"), 3) << "without a pair the sizes stay";
}

TEST_F(Filtered, APairThatDoesNotBelongTogetherLeavesNoFilters) {
    KeyedReadFactory otherKey("another");
    FS_IndexFile index;
    index.setFilters(&writer, &reader);
    index.setFilters(&writer, &otherKey);
    EXPECT_EQ(index.getEncryptionFilter(), nullptr);
    EXPECT_EQ(index.getDecryptionFilter(), nullptr);
    index.setFilters(&writer, &reader);
    index.setFilters(index.getEncryptionFilter(), index.getDecryptionFilter());
    EXPECT_NE(index.getEncryptionFilter(), nullptr) << "its own clones are as good as any pair";
}

// The table stands before the sections, so a size that isn't kept makes a container that nobody can read.
TEST_F(Filtered, ASizeThatIsNotKeptFailsTheWriting) {
    const struct {
        int said;
        bool fails;
    } cases[] = {{9, false}, {8, true}, {10, true}, {0, true}, {-1, true}};  // -1: the present size, which is 5
    for (const auto& c : cases) {
        SayingSize saying(c.said);
        FS_IndexFile index;
        index.setFilters(&saying, &reader);
        add(index, "a", "plain");
        EXPECT_EQ(written(index).empty(), c.fails) << c.said;
    }
    const auto index = stored(keyed("plain"));
    SayingSize unknown(-1);
    index->setFilters(&unknown, &reader);
    EXPECT_EQ(sectionsOf(written(*index)), (Sections{{"a", keyed("plain")}})) << "the present size is the stored one";
}

// A stream may carry one factory alone.
TEST_F(Filtered, HalfAPairReadsAsItCan) {
    const std::string path = dir.write("x.idx", containerBytes({{"a", keyed("plain")}}));
    auto* const stream = new FS_ReaderStream(path.c_str());
    stream->setSubStreamReadFilterFactory(&reader);
    FS_IndexFile half(new FS_Reader(stream));
    EXPECT_EQ(half.getEncryptionFilter(), nullptr);
    EXPECT_EQ(contentOf(half, "a"), "plain");
    // Copied as it is stored, as long as the content is: 5 of the 9 bytes, which aren't the section.
    std::ostringstream out;
    half.writeFile(out);
    EXPECT_TRUE(out.fail());
    EXPECT_EQ(sectionsOf(out.str()), (Sections{{"a", keyed("plain").substr(0, 5)}}));
}

// Nobody could read what came out of it, and it might stand in the place of what can be read.
TEST_F(Filtered, NothingIsSavedThatCannotComeBack) {
    KeyedReadFactory otherKey("another");
    const struct {
        FS_WriteFilterFactory* writer;
        FS_IStreamFilterFactory* reader;
        bool saved;
    } cases[] = {
        {&writer, nullptr, false}, {nullptr, &reader, false}, {&writer, &otherKey, false}, {&writer, &reader, true}};
    const std::string bytes = containerBytes({{"a", keyed("plain")}, {"b", keyed("other")}});
    const std::string path = dir.write("x.idx", bytes), copy = dir.path("y.idx");
    for (const auto& c : cases) {
        auto* const stream = new FS_ReaderStream(path.c_str());
        stream->setSubStreamReadFilterFactory(c.reader);
        stream->setSubStreamWriteFilterFactory(c.writer);
        FS_IndexFile index(new FS_Reader(stream));
        for (const std::string& target : {path, path + "?in", copy})
            EXPECT_EQ(index.save(target.c_str()), c.saved && target != path + "?in");
        EXPECT_EQ(sectionsOf(dir.read("x.idx")), sectionsOf(bytes));
        EXPECT_EQ(dir.exists("y.idx"), c.saved);
    }
    // The pair has gone, and left sizes behind that only it could deliver.
    FS_IndexFile index(path.c_str());
    index.setFilters(&writer, &reader);
    index.setFilters(nullptr, nullptr);
    EXPECT_FALSE(index.save(path.c_str()));
    EXPECT_EQ(sectionsOf(dir.read("x.idx")), sectionsOf(bytes));
}

TEST_F(Filtered, ACutSectionFailsTheWriting) {
    const auto index = stored(keyed("a content of some length"));
    dir.cutAt("x.idx", dir.read("x.idx").size() - 1);
    EXPECT_EQ(written(*index), "");
}

}  // namespace
