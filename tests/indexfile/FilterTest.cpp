// Sections that pass through a filter pair: the pair of the examples on odd ways, and pairs that break their promises.
#include "../support/Keyed.h"
#include "Index.h"

namespace {

// The keyed writer, which says of the size what it is told to say.
class SayingSize : public KeyedWriteFactory {
public:
    explicit SayingSize(int size) : KeyedWriteFactory("key"), size_(size) {}
    FS_WriteFilterFactory* clone() override { return new SayingSize(*this); }
    int getFilteredSize(int) override { return size_; }

private:
    const int size_;
};

class Filtered : public testing::Test {
protected:
    // A container that holds these sections, looked at through the pair.
    std::unique_ptr<FS_IndexFile> stored(const Sections& sections) {
        auto index = std::make_unique<FS_IndexFile>(dir.write("x.idx", containerBytes(sections)).c_str());
        index->setFilters(&writer, &reader);
        return index;
    }
    // The same file, opened by a reader that carries these two factories.
    FS_Reader* carrying(FS_WriteFilterFactory* out, FS_IStreamFilterFactory* in) const {
        auto* const stream = new FS_ReaderStream(dir.path("x.idx").c_str());
        stream->setSubStreamWriteFilterFactory(out);
        stream->setSubStreamReadFilterFactory(in);
        return new FS_Reader(stream);
    }

    KeyedWriteFactory writer{"key"};
    KeyedReadFactory reader{"key"}, otherKey{"another"};
    ScratchDir dir;
};

TEST_F(Filtered, AStreamCopyCarriesThePairIntoTheNextContainerAndNoFurther) {
    const Sections inner = {{"x", "deep"}, {"y", "deeper"}};
    const auto index = stored({{"a", keyed(containerBytes(inner))}});
    FS_IndexFile next(new FS_Reader(index->getStreamCopy()));
    ASSERT_NE(next.getEncryptionFilter(), nullptr);
    EXPECT_NE(next.getEncryptionFilter(), index->getEncryptionFilter());
    EXPECT_EQ(sectionsIn(next), (Sections{{"a", keyed(containerBytes(inner))}}));
    FS_IndexFile nested(next.getSectionReader("a"));
    EXPECT_EQ(nested.getDecryptionFilter(), nullptr);
    EXPECT_EQ(sectionsIn(nested), inner);
}

TEST_F(Filtered, TheSizesFollowThePair) {
    const auto index = stored({{"keyed", keyed("abc")}, {"other", "not by this pair"}});
    add(*index, "memory", "12345");
    EXPECT_EQ(index->getSectionDataSize("keyed"), 3);
    EXPECT_EQ(index->getSectionDataSize("other"), 0) << "a negative size is 0";
    EXPECT_EQ(writer.FS_WriteFilterFactory::getFilteredSize(5), -1) << "unknown, unless a factory knows better";
    EXPECT_EQ(index->guessStreamSize(), 8192 + (3 + 4) + (0 + 4) + (5 + 4));
    index->setFilters(index->getEncryptionFilter(), index->getDecryptionFilter());
    EXPECT_NE(index->getEncryptionFilter(), nullptr) << "its own clones are as good as any pair";
    EXPECT_EQ(index->getSectionDataSize("memory"), 5) << "a section in memory is plain";
    for (KeyedReadFactory* half : {static_cast<KeyedReadFactory*>(nullptr), &otherKey}) {
        index->setFilters(&writer, &reader);
        index->setFilters(&writer, half);
        EXPECT_TRUE(!index->getEncryptionFilter() && !index->getDecryptionFilter());
    }
    EXPECT_EQ(index->getSectionDataSize("keyed"), 3) << "without a pair the sizes stay";
}

// The table stands before the sections, so a size that isn't kept makes a container that nobody can read.
TEST_F(Filtered, ASizeThatIsNotKeptFailsTheWriting) {
    const std::pair<int, bool> sizes[] = {{9, true}, {8, false}, {10, false}, {0, false}, {-1, false}};
    for (const auto& [said, kept] : sizes) {  // -1: the present size, which is 5
        SayingSize saying(said);
        FS_IndexFile index;
        index.setFilters(&saying, &reader);
        add(index, "a", "plain");
        EXPECT_EQ(index.guessStreamSize(), 8192 + (said < 0 ? 5 : said));
        EXPECT_EQ(!written(index).empty(), kept) << said;
    }
    const auto index = stored({{"a", keyed("plain")}});
    SayingSize unknown(-1);
    index->setFilters(&unknown, &reader);
    EXPECT_EQ(sectionsIn(*index), (Sections{{"a", keyed("plain")}})) << "the present size is the stored one";
    dir.cutAt("x.idx", dir.read("x.idx").size() - 1);
    EXPECT_EQ(written(*index), "") << "the source is cut short";
}

// What is a container is seen through the pair; what isn't goes into a file as it would be stored.
TEST_F(Filtered, ADirectoryHoldsStoredFormsAndPlainContainers) {
    const auto index =
        stored({{"a", keyed("plain")}, {"in", keyed(containerBytes({{"x", "deep"}}))}, {"none", keyed("")}});
    ASSERT_TRUE(index->expandToDirectory(dir.path("form").c_str())) << index->getWriteFailure().buffer();
    for (const auto& [file, bytes] : Sections{{"a", keyed("plain")}, {"in/x", "deep"}, {"none", ""}})
        EXPECT_EQ(dir.read("form/" + file), bytes);
}

// Nobody could read what came out of it, and it might stand in the place of what can be read.
TEST_F(Filtered, NothingIsSavedThatCannotComeBack) {
    using Pair = std::pair<FS_WriteFilterFactory*, FS_IStreamFilterFactory*>;
    const Sections sections = {{"a", keyed("plain")}, {"b", keyed("other")}};
    const auto left = stored(sections);
    for (const auto& [out, in] : {Pair{&writer, nullptr}, {nullptr, &reader}, {&writer, &otherKey}}) {
        FS_IndexFile index(carrying(out, in));
        for (const char* target : {"x.idx", "x.idx?in", "y.idx"}) EXPECT_NE(save(index, dir.path(target)), "done");
        EXPECT_EQ(sectionsOf(dir.read("x.idx")), sections);
        EXPECT_FALSE(dir.exists("y.idx"));
    }
    // The pair has gone, and left sizes behind that only it could deliver.
    left->setFilters(nullptr, nullptr);
    EXPECT_NE(save(*left, dir.path("x.idx")), "done");
    EXPECT_EQ(sectionsOf(dir.read("x.idx")), sections);
    // Half a pair reads as it can. What it copies is 5 of the 9 stored bytes, which aren't the section.
    FS_IndexFile half(carrying(nullptr, &reader));
    EXPECT_EQ(contentOf(half, "a"), "plain");
    EXPECT_EQ(written(half), "");
    FS_IndexFile odd(carrying(&writer, &otherKey)), outward(carrying(&writer, nullptr));
    EXPECT_EQ(written(odd), "") << "halves of two pairs decode nothing";
    EXPECT_EQ(sectionsIn(outward), (Sections{{"a", keyed(keyed("plain"))}, {"b", keyed(keyed("other"))}}));
}

}  // namespace
