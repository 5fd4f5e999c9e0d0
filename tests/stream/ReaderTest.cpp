// Readers, their streams and the helpers that serve paths.
#include <indexfile/FS_IndexFile.h>

#include "Streams.h"

namespace {

std::ptrdiff_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

TEST(Reader, HasNothingForANullPathAndAsksNobody) {
    const TestHelper helper;
    FS_Reader null(nullptr), fromText(static_cast<const char*>(nullptr)),
        fromStream(static_cast<FS_ReaderStream*>(nullptr));
    for (FS_Reader* reader : {&null, &fromText, &fromStream}) {
        EXPECT_FALSE(reader->isGood() || reader->getStream() || reader->getSubStreamReadFilterFactory());
        EXPECT_EQ(reader->getLength() + reader->getModTime(), 0);
        EXPECT_EQ(fileNameOf(*reader), "");
        const std::unique_ptr<FS_ReaderStream> part(reader->shareDataAndGetSubstream(0, 1, 1, nullptr));
        ASSERT_TRUE(part && !part->isGood());
        EXPECT_GT(part->getModTime(), 0) << "the current time";
        reader->close();
    }
    EXPECT_TRUE(helper.asked.empty());
}

TEST(Reader, CopiesShareOneStream) {
    FS_Reader first(memoryStream("content"));
    FS_Reader second(first), third;
    third = second;
    char c = 0;
    first.getStream()->bread(&c, 1);
    EXPECT_EQ(bytesOf(third.getStream()), "ontent");
    for (int i = 0; i < 2; ++i) second.close();
    EXPECT_EQ(first.getStream(), nullptr);
    EXPECT_EQ(third.getLength(), 0);

    auto last = std::make_unique<FS_Reader>(memoryStream("other"));
    third = *last;
    last.reset();
    third = *&third;
    EXPECT_EQ(bytesOf(third.getStream()), "other") << "released by the last, not the first";
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
struct LoggedReader : KeyedReadFactory {
    LoggedReader() : KeyedReadFactory("key") {}
    ~LoggedReader() override { gone.push_back("reader"); }
    UT_IStream* createFilteredStream(UT_IStream*) const override { return new LoggedStream; }
    FS_IStreamFilterFactory* clone() override { return new LoggedReader; }
};
struct LoggedWriter : KeyedWriteFactory {
    LoggedWriter() : KeyedWriteFactory("key") {}
    ~LoggedWriter() override { gone.push_back("writer"); }
    FS_WriteFilterFactory* clone() override { return new LoggedWriter; }
};

// The stream before the factories, at which it may look to the end.
TEST(ReaderStream, SharesStreamAndFactoriesWithItsCopiesUntilTheLastOneGoes) {
    const ScratchDir scratch;
    FS_ReaderStream file(scratch.write("x.txt", "content").c_str());
    LoggedReader reader;
    LoggedWriter writer;
    auto stream = std::make_unique<FS_ReaderStream>(file, 0, 7, 7, &reader);
    stream->setSubStreamReadFilterFactory(&reader);
    stream->setSubStreamWriteFilterFactory(&writer);
    EXPECT_NE(stream->getSubStreamReadFilterFactory(), &reader);
    stream->setSubStreamReadFilterFactory(stream->getSubStreamReadFilterFactory());
    EXPECT_THAT(std::exchange(gone, {}), ElementsAre("reader"));
    FS_ReaderStream copy(*stream), other;
    other = copy;
    EXPECT_EQ(other.getStream(), stream->getStream());
    stream->setSubStreamReadFilterFactory(nullptr);
    EXPECT_EQ(stream->getSubStreamReadFilterFactory(), nullptr);
    EXPECT_NE(other.getSubStreamReadFilterFactory(), nullptr);
    stream.reset();
    copy = file;
    EXPECT_THAT(gone, IsEmpty());
    other = file;
    EXPECT_THAT(gone, ElementsAre("stream", "reader", "writer"));
    std::make_unique<FS_ReaderStream>(file, 0, 7, 7, &reader)->setSubStreamReadFilterFactory(&reader);
    EXPECT_THAT(gone, ElementsAre("stream", "reader", "writer", "stream", "reader"));
}

TEST(ReaderStream, OverMemoryCopiesTheBytesOrSharesThem) {
    std::string bytes = "content";
    FS_ReaderStream copied(bytes.data(), 7, 42);
    auto shared = std::make_shared<char[]>(7);
    FS_ReaderStream borrowed(std::shared_ptr<const char[]>(shared), 7, 42);
    bytes.assign(7, '-');
    std::fill_n(shared.get(), 7, '+');
    EXPECT_EQ(bytesOf(copied.getStream()), "content");
    EXPECT_EQ(bytesOf(borrowed.getStream()), "+++++++");
    for (const FS_ReaderStream* stream : {&copied, &borrowed}) {
        EXPECT_EQ(stream->getModTime(), 42);
        EXPECT_EQ(stream->getLength(), 7);
    }
    EXPECT_EQ(bytesOf(FS_ReaderStream(nullptr, 0, 0).getStream()), "");
    FS_ReaderStream part(copied, 0, 3, 3, nullptr), partOfPart(part, 0, 3, 3, nullptr);
    EXPECT_FALSE(part.getStream() || partOfPart.isGood()) << "no file name, no sub-stream";
}

TEST(ReaderStream, SubStreamsShareTheOpenFileAndOutliveIt) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.txt", "0123" + keyed("filtered") + "rest");
    scratch.setTime("x.txt", 5);
    const auto before = openFiles();
    std::vector<std::unique_ptr<FS_ReaderStream>> parts;
    const KeyedReadFactory factory("key");
    {
        const FS_Reader reader(path.c_str());
        for (int i = 0; i < 3; ++i) parts.emplace_back(reader.shareDataAndGetSubstream(i, 2, (1LL << 32) + 2, nullptr));
        parts.emplace_back(reader.shareDataAndGetSubstream(4, 12, 8, &factory));
        parts.emplace_back(reader.shareDataAndGetSubstream(16, 1000, 1000, nullptr));
    }
    EXPECT_EQ(openFiles(), before + 1);
    for (const auto& [expected, length] : {std::pair("01", 2), {"12", 2}, {"23", 2}, {"filtered", 8}, {"rest", 1000}}) {
        EXPECT_EQ(parts.front()->getLength(), length) << "the low 32 bits of what it was told";
        EXPECT_EQ(parts.front()->getModTime(), 5);
        EXPECT_EQ(parts.front()->getSubStreamReadFilterFactory(), nullptr);
        EXPECT_EQ(fileNameOf(*parts.front()), path);
        EXPECT_EQ(bytesOf(parts.front()->getStream()), expected);
        parts.erase(parts.begin());
    }
    EXPECT_EQ(openFiles(), before);
}

TEST(ReaderHelpers, AreAskedNewestFirstUntilOneServes) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.txt", "file");
    const auto serves = [](const char* bytes) { return [=](const std::string&) { return memoryStream(bytes); }; };
    const TestHelper oldest;
    {
        const TestHelper older(serves("older"));
        EXPECT_EQ(bytesAt(path), "older") << "goes before the real file";
        const TestHelper newest(serves("newest")), copy(newest);
        EXPECT_EQ(bytesAt(path), "newest");
        EXPECT_TRUE(copy.asked.empty()) << "a copy isn't registered";
        EXPECT_TRUE(older.asked.size() == 1 && oldest.asked.empty());
        const TestHelper broken([](const std::string&) { return new FS_ReaderStream; });
        EXPECT_EQ(bytesAt(path), "not good") << "what a helper gives stays, good or not";
    }
    EXPECT_EQ(bytesAt(path), "file");
    EXPECT_THAT(oldest.asked, ElementsAre(path)) << "the others had served before it";
}

TEST(ReaderHelpers, MayComeAndGoAndOpenPathsWhileTheyAreAsked) {
    std::vector<std::string> order;
    const auto note = [&](const char* name) {
        return [&order, name](const std::string&) {
            order.push_back(name);
            return static_cast<FS_ReaderStream*>(nullptr);
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
