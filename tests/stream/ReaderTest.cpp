// Readers, their streams and the helpers that serve paths.
#include <indexfile/FS_IndexFile.h>

#include "../support/Network.h"
#include "Streams.h"

namespace {

TEST(Reader, HasNothingForANullPathAndAsksNobody) {
    const TestHelper helper;
    for (FS_Reader reader : {FS_Reader(nullptr), FS_Reader(static_cast<const char*>(nullptr)),
                             FS_Reader(static_cast<FS_ReaderStream*>(nullptr))}) {
        EXPECT_FALSE(reader.isGood() || reader.getStream() || reader.getSubStreamReadFilterFactory());
        EXPECT_EQ(reader.getLength() + reader.getModTime(), 0);
        EXPECT_EQ(fileNameOf(reader), "");
        const std::unique_ptr<FS_ReaderStream> part(reader.shareDataAndGetSubstream(0, 1, 1, nullptr));
        ASSERT_TRUE(part && !part->isGood());
        EXPECT_GT(part->getModTime(), 0) << "the current time";
        reader.close();
    }
    EXPECT_THAT(helper.asked, IsEmpty());
}

TEST(Reader, CopiesShareOneStream) {
    FS_Reader first(memoryStream("content")), second(first), third;
    third = second;
    char c = 0;
    first.getStream()->bread(&c, 1);
    EXPECT_EQ(readAll(*third.getStream()), "ontent");
    second.close();
    EXPECT_EQ(first.getStream(), nullptr);
    EXPECT_EQ(third.getLength(), 0);
    third = FS_Reader(memoryStream("other"));
    EXPECT_EQ(readAll(*third.getStream()), "other") << "released by the last, not the first";
}

struct LacksMemory : KeyedReadFactory {
    LacksMemory() : KeyedReadFactory("key") {}
    UT_IStream* createFilteredStream(UT_IStream*) const override { throw std::bad_alloc(); }
    FS_IStreamFilterFactory* clone() override { return new LacksMemory; }
};

TEST(Reader, HasNoStreamWhereMemoryLacks) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.idx", packedContainer({{"a", keyed("a")}}));
    LacksMemory reads;
    KeyedWriteFactory writes("key");
    EXPECT_EQ(FS_Reader(path.c_str()).shareDataAndGetSubstream(0, 1, 1, &reads), nullptr);
    FS_IndexFile index(path.c_str());
    index.setFilters(&writes, &reads);
    EXPECT_THROW(index.getSectionStream("a"), std::bad_alloc) << "it is no unknown section";
    const TestHelper helper([](const std::string&) -> FS_ReaderStream* { throw std::bad_alloc(); });
    EXPECT_EQ(FS_Reader(path.c_str()).getStream(), nullptr);
}

// What has been deleted, in order.
std::vector<std::string> gone;

struct LoggedStream : UT_IStream {
    LoggedStream() : UT_IStream("", 0, UT_ISTREAM_BINARY) {}
    ~LoggedStream() override { gone.push_back("stream"); }
};
struct LoggedFactory : KeyedReadFactory {
    LoggedFactory() : KeyedReadFactory("key") {}
    ~LoggedFactory() override { gone.push_back("factory"); }
    UT_IStream* createFilteredStream(UT_IStream*) const override { return new LoggedStream; }
    FS_IStreamFilterFactory* clone() override { return new LoggedFactory; }
};

// The stream before the factory, at which it may look to the end.
TEST(ReaderStream, SharesStreamAndFactoryWithItsCopiesUntilTheLastOneGoes) {
    const ScratchDir scratch;
    FS_ReaderStream file(scratch.write("x.txt", "content").c_str());
    LoggedFactory factory;
    auto stream = std::make_unique<FS_ReaderStream>(file, 0, 7, 7, &factory);
    stream->setSubStreamReadFilterFactory(&factory);
    EXPECT_NE(stream->getSubStreamReadFilterFactory(), &factory);
    stream->setSubStreamReadFilterFactory(stream->getSubStreamReadFilterFactory());
    EXPECT_THAT(std::exchange(gone, {}), ElementsAre("factory")) << "in the place of which came its clone";
    FS_ReaderStream other;
    other = *stream;
    stream->setSubStreamReadFilterFactory(nullptr);
    EXPECT_EQ(stream->getSubStreamReadFilterFactory(), nullptr);
    stream.reset();
    EXPECT_TRUE(gone.empty() && other.getStream() && other.getSubStreamReadFilterFactory());
    other = file;
    EXPECT_THAT(std::exchange(gone, {}), ElementsAre("stream", "factory"));
    std::make_unique<FS_ReaderStream>(file, 0, 7, 7, &factory)->setSubStreamReadFilterFactory(&factory);
    EXPECT_THAT(gone, ElementsAre("stream", "factory"));
}

TEST(ReaderStream, SubStreamsShareTheOpenFileAndOutliveIt) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.txt", "0123" + keyed("filtered") + "rest");
    scratch.setTime("x.txt", 5);
    const std::size_t before = descriptors().size();
    const KeyedReadFactory factory("key");
    std::vector<std::unique_ptr<FS_ReaderStream>> parts;
    {
        const FS_Reader reader(path.c_str());
        for (int i = 0; i < 2; ++i) parts.emplace_back(reader.shareDataAndGetSubstream(i, 2, (1LL << 32) + 2, nullptr));
        parts.emplace_back(reader.shareDataAndGetSubstream(4, 12, 8, &factory));
    }
    EXPECT_EQ(descriptors().size(), before + 1);
    for (const auto& [expected, length] : {std::pair("01", 2), {"12", 2}, {"filtered", 8}}) {
        EXPECT_EQ(readAll(*parts.front()->getStream()), expected);
        EXPECT_EQ(parts.front()->getLength(), length) << "the low 32 bits of what it was told";
        EXPECT_EQ(parts.front()->getModTime(), 5);
        EXPECT_EQ(parts.front()->getSubStreamReadFilterFactory(), nullptr);
        EXPECT_EQ(fileNameOf(*parts.front()), path);
        parts.erase(parts.begin());
    }
    EXPECT_EQ(descriptors().size(), before);
}

TEST(ReaderHelpers, AreAskedNewestFirstUntilOneServes) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.txt", "file");
    const TestHelper oldest;
    {
        const TestHelper older([](const std::string&) { return memoryStream("served"); });
        const TestHelper newest, copy(newest);
        EXPECT_EQ(bytesAt(path), "served") << "goes before the real file";
        EXPECT_TRUE(newest.asked.size() == 1 && older.asked.size() == 1 && oldest.asked.empty());
        EXPECT_THAT(copy.asked, IsEmpty()) << "a copy isn't registered";
        const TestHelper broken([](const std::string&) { return new FS_ReaderStream; });
        EXPECT_EQ(bytesAt(path), "not good") << "what a helper gives stays, good or not";
    }
    EXPECT_EQ(bytesAt(path), "file");
    EXPECT_THAT(oldest.asked, ElementsAre(path)) << "the others had served before it";
}

TEST(ReaderHelpers, MayComeAndGoAndOpenPathsWhileTheyAreAsked) {
    std::vector<std::string> order;
    const auto note = [&](const char* name) {
        return [&order, name](const std::string&) -> FS_ReaderStream* {
            order.push_back(name);
            return nullptr;
        };
    };
    std::vector<std::unique_ptr<TestHelper>> newcomers;
    const TestHelper oldest(note("oldest"));
    auto doomed = std::make_unique<TestHelper>(note("doomed"));
    const TestHelper middle(note("middle"));
    std::unique_ptr<TestHelper> restless;
    restless = std::make_unique<TestHelper>([&](const std::string& source) {
        // Enough to move the list in memory; asked for the next path, not for this one.
        for (int i = 0; i < 50; ++i) newcomers.push_back(std::make_unique<TestHelper>(note("newcomer")));
        newcomers.resize(1);
        doomed.reset();
        restless.reset();
        if (source == "outer") FS_Reader inner("inner");
        return note("restless")(source);
    });
    FS_Reader outer("outer");
    EXPECT_THAT(order, ElementsAre("newcomer", "middle", "oldest", "restless", "middle", "oldest"));
}

}  // namespace
