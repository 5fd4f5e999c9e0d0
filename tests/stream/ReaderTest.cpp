// Readers, their streams and the helpers that serve paths.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "../support/ScratchDir.h"
#include "AsUser.h"
#include "Reading.h"

using testing::ElementsAre;

namespace {

int openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<int>(std::distance(begin(files), end(files)));
}

TEST(Reader, HasNothingForANullPathAndAsksNobody) {
    TestHelper helper;
    FS_Reader null(nullptr), fromText(static_cast<const char*>(nullptr)),
        fromStream(static_cast<FS_ReaderStream*>(nullptr));
    for (FS_Reader* reader : {&null, &fromText, &fromStream}) {
        EXPECT_FALSE(reader->isGood());
        EXPECT_EQ(reader->getStream(), nullptr);
        EXPECT_EQ(reader->getLength(), 0);
        EXPECT_EQ(reader->getModTime(), 0);
        EXPECT_EQ(reader->getSubStreamReadFilterFactory(), nullptr);
        EXPECT_EQ(fileNameOf(*reader), "");
        const std::unique_ptr<FS_ReaderStream> part(reader->shareDataAndGetSubstream(0, 1, 1, nullptr));
        ASSERT_NE(part, nullptr);
        EXPECT_FALSE(part->isGood());
        EXPECT_GT(part->getModTime(), 0) << "the current time";
        reader->close();
    }
    EXPECT_TRUE(helper.asked.empty());
    // An empty path is a path.
    EXPECT_FALSE(FS_Reader("").isGood());
    EXPECT_THAT(helper.asked, ElementsAre(""));
}

TEST(Reader, TakesAFilePrefixOffOnceAndOnlyForTheFileSystem) {
    const ScratchDir scratch;
    scratch.write("x.txt", "content");
    const InDirectory here(scratch.path());
    TestHelper helper;
    const std::string absolute = "File:" + scratch.path("x.txt");
    const struct {
        std::string path;
        bool opens;
    } cases[] = {
        {"x.txt", true},  {"file:x.txt", true},   {"FILE:x.txt", true}, {absolute, true}, {"file:file:x.txt", false},
        {"file:", false}, {"files:x.txt", false}, {"file", false}};
    for (const auto& c : cases) {
        EXPECT_EQ(FS_Reader(c.path.c_str()).isGood(), c.opens) << c.path;
        EXPECT_EQ(helper.asked.back(), c.path);
    }
}

TEST(Reader, TellsWhatTheFileSystemKnows) {
    const ScratchDir scratch;
    scratch.write("x.txt", "content");
    scratch.setTime("x.txt", 1000000);
    scratch.write("empty", "");
    scratch.write("sparse", "");
    scratch.cutAt("sparse", 3LL << 30);
    const InDirectory here(scratch.path());

    FS_Reader reader("x.txt");
    EXPECT_EQ(reader.getLength(), 7);
    EXPECT_EQ(reader.getModTime(), 1000000);
    EXPECT_EQ(fileNameOf(reader), scratch.path("x.txt"));
    EXPECT_EQ(bytesOf(reader.getStream()), "content");
    EXPECT_FALSE(reader.isGood()) << "read to its end";

    FS_Reader empty("empty");
    EXPECT_TRUE(empty.isGood()) << "nobody has met its end yet";
    EXPECT_EQ(bytesOf(empty.getStream()), "");
    EXPECT_FALSE(empty.isGood());

    FS_Reader missing("none/x.txt");
    EXPECT_FALSE(missing.isGood());
    EXPECT_EQ(missing.getLength(), 0);
    EXPECT_EQ(missing.getModTime(), 0);
    EXPECT_EQ(fileNameOf(missing), scratch.path("none/x.txt"));

    EXPECT_FALSE(FS_Reader(scratch.path().c_str()).isGood()) << "a directory";
    EXPECT_EQ(FS_Reader("sparse").getLength(), 2147483647) << "saturates";
}

TEST(Reader, KnowsLengthAndTimeOfAFileThatItMayNotOpen) {
    const ScratchDir scratch;
    const std::string path = scratch.write("secret", "content");
    scratch.setTime("secret", 1000000);
    std::filesystem::permissions(scratch.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(path, std::filesystem::perms(0));
    EXPECT_EQ(asOrdinaryUser([&] {
                  FS_Reader reader(path.c_str());
                  return (reader.isGood() ? "good " : "not good ") + std::to_string(reader.getLength()) + " " +
                         std::to_string(reader.getModTime());
              }),
              "not good 7 1000000");
}

TEST(Reader, CopiesShareOneStream) {
    FS_Reader first(memoryStream("content"));
    FS_Reader second(first), third;
    third = second;
    char c = 0;
    first.getStream()->bread(&c, 1);
    EXPECT_EQ(bytesOf(third.getStream()), "ontent");
    second.close();
    EXPECT_EQ(first.getStream(), nullptr);
    EXPECT_EQ(third.getLength(), 0);
    second.close();

    auto last = std::make_unique<FS_Reader>(memoryStream("other"));
    third = *last;
    last.reset();
    EXPECT_EQ(bytesOf(third.getStream()), "other") << "released by the last, not the first";
    third = *&third;
    EXPECT_EQ(third.getLength(), 5);
}

TEST(ReaderStream, CopiesShareStreamAndFactories) {
    struct Counted : KeyedReadFactory {
        explicit Counted(std::shared_ptr<int> t) : KeyedReadFactory("key"), token(std::move(t)) {}
        FS_IStreamFilterFactory* clone() override { return new Counted(*this); }
        std::shared_ptr<int> token;
    };
    const auto token = std::make_shared<int>();
    {
        FS_ReaderStream stream("content", 7, 1);
        Counted factory(token);
        stream.setSubStreamReadFilterFactory(&factory);
        EXPECT_NE(stream.getSubStreamReadFilterFactory(), &factory);
        FS_ReaderStream copy(stream), other;
        other = copy;
        stream.setSubStreamReadFilterFactory(stream.getSubStreamReadFilterFactory());
        stream.setSubStreamReadFilterFactory(nullptr);
        EXPECT_EQ(stream.getSubStreamReadFilterFactory(), nullptr);
        EXPECT_NE(other.getSubStreamReadFilterFactory(), nullptr);
        EXPECT_EQ(token.use_count(), 3) << "the factory and one clone";
        EXPECT_EQ(other.getStream(), stream.getStream());
    }
    EXPECT_EQ(token.use_count(), 1);
}

// A filter's stream may look at its factory to the end.
TEST(ReaderStream, GoesBeforeItsFactories) {
    static std::vector<const char*> gone;
    struct Stream : UT_IStream {
        Stream() : UT_IStream("", 0, UT_ISTREAM_BINARY) {}
        ~Stream() override { gone.push_back("stream"); }
    };
    struct Reader : KeyedReadFactory {
        Reader() : KeyedReadFactory("key") {}
        ~Reader() override { gone.push_back("reader"); }
        UT_IStream* createFilteredStream(UT_IStream*) const override { return new Stream; }
        FS_IStreamFilterFactory* clone() override { return new Reader; }
    } reader;
    struct Writer : KeyedWriteFactory {
        Writer() : KeyedWriteFactory("key") {}
        ~Writer() override { gone.push_back("writer"); }
        FS_WriteFilterFactory* clone() override { return new Writer; }
    } writer;
    const ScratchDir scratch;
    FS_ReaderStream file(scratch.write("x.txt", "content").c_str());
    for (const bool assigned : {false, true}) {
        gone.clear();
        auto stream = std::make_unique<FS_ReaderStream>(file, 0, 7, 7, &reader);
        stream->setSubStreamReadFilterFactory(&reader);
        stream->setSubStreamWriteFilterFactory(&writer);
        if (assigned)
            *stream = file;
        else
            stream.reset();
        EXPECT_THAT(gone, ElementsAre("stream", "reader", "writer"));
    }
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
    EXPECT_EQ(copied.getModTime(), 42);

    FS_ReaderStream nothing(nullptr, 0, 0);
    EXPECT_EQ(bytesOf(nothing.getStream()), "");
    FS_ReaderStream part(copied, 0, 3, 3, nullptr);
    EXPECT_FALSE(part.isGood()) << "no file name, no sub-stream";
    EXPECT_EQ(part.getStream(), nullptr);
    FS_ReaderStream partOfPart(part, 0, 3, 3, nullptr);
    EXPECT_FALSE(partOfPart.isGood());
}

TEST(ReaderStream, SubStreamsShareTheOpenFileAndOutliveIt) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.txt", "0123" + keyed("filtered") + "rest");
    scratch.setTime("x.txt", 5);
    const int before = openFiles();
    std::vector<std::unique_ptr<FS_ReaderStream>> parts;
    KeyedReadFactory factory("key");
    {
        FS_Reader reader(path.c_str());
        for (int i = 0; i < 3; ++i) parts.emplace_back(reader.shareDataAndGetSubstream(i, 2, 2, nullptr));
        parts.emplace_back(reader.shareDataAndGetSubstream(4, 12, 8, &factory));
        parts.emplace_back(reader.shareDataAndGetSubstream(16, 1000, 1000, nullptr));
    }
    EXPECT_EQ(openFiles(), before + 1);
    for (const char* expected : {"01", "12", "23", "filtered", "rest"}) {
        EXPECT_EQ(parts.front()->getModTime(), 5);
        EXPECT_EQ(parts.front()->getSubStreamReadFilterFactory(), nullptr);
        UT_String name;
        parts.front()->getFilename(name);
        EXPECT_EQ(name, path.c_str());
        EXPECT_EQ(bytesOf(parts.front()->getStream()), expected);
        parts.erase(parts.begin());
    }
    EXPECT_EQ(openFiles(), before);
}

TEST(ReaderHelpers, AreAskedNewestFirstUntilOneServes) {
    const ScratchDir scratch;
    const std::string path = scratch.write("x.txt", "file");
    const auto serves = [](const char* bytes) { return [=](const std::string&) { return memoryStream(bytes); }; };
    TestHelper oldest;
    {
        TestHelper older(serves("older"));
        EXPECT_EQ(bytesAt(path), "older") << "goes before the real file";
        TestHelper newest(serves("newest"));
        const TestHelper copy(newest);
        EXPECT_EQ(bytesAt(path), "newest");
        EXPECT_TRUE(copy.asked.empty()) << "a copy isn't registered";
        EXPECT_TRUE(older.asked.size() == 1 && oldest.asked.empty());
        TestHelper broken([](const std::string&) { return new FS_ReaderStream; });
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
    TestHelper oldest(note("oldest"));
    auto doomed = std::make_unique<TestHelper>(note("doomed"));
    TestHelper middle(note("middle"));
    std::unique_ptr<TestHelper> restless;
    restless = std::make_unique<TestHelper>([&](const std::string& source) {
        order.push_back("restless");
        // Enough to move the list in memory; asked for the next path, not for this one.
        for (int i = 0; i < 50; ++i) newcomers.push_back(std::make_unique<TestHelper>(note("newcomer")));
        newcomers.resize(1);
        doomed.reset();
        restless.reset();
        if (source == "outer") FS_Reader inner("inner");
        return static_cast<FS_ReaderStream*>(nullptr);
    });
    FS_Reader outer("outer");
    EXPECT_THAT(order, ElementsAre("restless", "newcomer", "middle", "oldest", "middle", "oldest"));
}

}  // namespace
