// Windows on byte sources: positions, ends, sharing, and how often a source is asked.
#include "../support/ScratchDir.h"

#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <random>
#include <thread>

namespace {

// Serves a text and counts what it is asked for.
class CountingSource : public UT_ByteSource {
public:
    explicit CountingSource(std::string text, bool sizeKnown = true) : text_(std::move(text)), sizeKnown_(sizeKnown) {}
    std::int64_t size() const override { return sizeKnown_ ? static_cast<std::int64_t>(text_.size()) : -1; }
    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        ++reads;
        if (failAt >= 0 && position >= failAt) return -1;
        if (position >= static_cast<std::int64_t>(text_.size())) return 0;
        const std::size_t n = std::min(count, text_.size() - static_cast<std::size_t>(position));
        std::memcpy(out, text_.data() + position, n);
        return static_cast<std::int64_t>(n);
    }
    bool isSeekable() const override { return seekable; }
    int reads = 0;
    std::int64_t failAt = -1;
    bool seekable = true;

private:
    const std::string text_;
    const bool sizeKnown_;
};

// Zeros without an end, and whatever it is made to say about them.
class LyingSource : public UT_ByteSource {
public:
    std::int64_t size() const override { return saidSize; }
    std::int64_t readAt(std::int64_t, char* out, std::size_t count) override {
        std::memset(out, 0, count);
        return static_cast<std::int64_t>(count) * saidTimes;
    }
    UT_ByteBlock block(std::int64_t position) override {
        if (saidStart < 0) return UT_ByteSource::block(position);
        return {.bytes = std::make_shared<char[]>(8), .start = saidStart, .length = 8};
    }
    std::int64_t saidSize = -1, saidTimes = 1, saidStart = -1;
};

UT_IStream over(std::string_view text) {
    return UT_IStream(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY);
}

std::string numbered(std::size_t length) {
    std::string text;
    for (int i = 0; text.size() < length; ++i) text += "line " + std::to_string(i) + "\n";
    return text;
}

std::string readAll(UT_IStream& stream) {
    std::string all;
    char piece[777];
    while (const int n = stream.bread(piece, sizeof piece)) all.append(piece, static_cast<std::size_t>(n));
    return all;
}

using Lines = std::vector<std::string>;

Lines lines(UT_IStream& stream) {
    Lines all;
    UT_WorkBuffer line;
    while (stream.getLine(line, '\n')) all.emplace_back(line.view());
    return all;
}

}  // namespace

TEST(GetLine, GivesEachLineOnceWithOrWithoutALastEnd) {
    const struct {
        const char* text;
        Lines expected;
    } cases[] = {{"", {}},          {"\n", {""}}, {"a", {"a"}}, {"a\nb", {"a", "b"}}, {"a\n\nb\n", {"a", "", "b"}},
                 {"a\r\n", {"a\r"}}};
    for (const auto& c : cases) {
        UT_IStream stream = over(c.text);
        EXPECT_EQ(lines(stream), c.expected) << c.text;
        EXPECT_TRUE(stream.isEof()) << c.text;
    }
}

TEST(GetLine, FindsLinesThatCrossAnyNumberOfBlocks) {
    // Around the edges of a block, and one line over several.
    for (const std::size_t length : {UT_ByteSource::kBlockSize - 1, UT_ByteSource::kBlockSize,
                                     UT_ByteSource::kBlockSize + 1, 3 * UT_ByteSource::kBlockSize + 17}) {
        const std::string longLine(length, 'x');
        UT_IStream stream(std::make_shared<CountingSource>("first\n" + longLine + "\nlast", length % 2 == 0),
                          UT_ISTREAM_BINARY);
        EXPECT_EQ(lines(stream), (Lines{"first", longLine, "last"}));
    }
}

TEST(IsEof, IsTrueOnceTheLastByteWasTakenOrNoneWasFound) {
    char byte = 0;
    UT_IStream two = over("ab");
    for (const bool last : {false, true}) {
        EXPECT_FALSE(two.isEof());
        EXPECT_EQ(two.bread(&byte, 1), 1);
        EXPECT_EQ(two.isEof(), last);
    }
    EXPECT_TRUE(two.seekg(1, 0));
    EXPECT_FALSE(two.isEof()) << "going back makes it readable again";
    EXPECT_EQ(readAll(two), "b");

    UT_IStream empty = over(""), unknown(std::make_shared<CountingSource>("a", false), UT_ISTREAM_BINARY);
    EXPECT_EQ(unknown.bread(&byte, 1), 1);
    for (UT_IStream* stream : {&empty, &unknown}) {
        EXPECT_FALSE(stream->isEof()) << "nobody knows until a read was tried";
        EXPECT_EQ(stream->bread(&byte, 1), 0);
        EXPECT_TRUE(stream->isEof());
    }
}

TEST(IsEof, IsTrueAtOnceForWhatCanNotBeOpened) {
    const ScratchDir dir;
    const std::string missing = dir.path("missing");
    for (const char* path : {missing.c_str(), dir.path().c_str(), "", static_cast<const char*>(nullptr)}) {
        UT_IFStream stream(path, UT_ISTREAM_BINARY);
        EXPECT_TRUE(stream.isEof());
        EXPECT_EQ(readAll(stream), "");
        EXPECT_FALSE(stream.seekg(0, 0));
        EXPECT_TRUE(std::unique_ptr<UT_IStream>(stream.getSubStream(0, 10))->isEof());
    }
}

TEST(SubStream, CountsFromZeroStaysInsideAndOutlivesItsParent) {
    const ScratchDir dir;
    const std::string text = numbered(200'000);
    auto parent = std::make_unique<UT_IFStream>(dir.write("f", text).c_str(), UT_ISTREAM_BINARY);
    const std::unique_ptr<UT_IStream> middle(parent->getSubStream(70'000, 100'000));
    const std::unique_ptr<UT_IStream> inner(middle->getSubStream(99'000, 5'000));
    const std::unique_ptr<UT_IStream> beyond(middle->getSubStream(200'000, 5));
    parent.reset();
    EXPECT_EQ(middle->tellg(), 0);
    EXPECT_EQ(readAll(*middle), text.substr(70'000, 100'000));
    EXPECT_EQ(middle->tellg(), 100'000);
    EXPECT_EQ(readAll(*inner), text.substr(169'000, 1'000)) << "never beyond the window that it came from";
    EXPECT_EQ(readAll(*beyond), "");
    EXPECT_TRUE(middle->seekg(99'990, 0));
    EXPECT_EQ(readAll(*middle), text.substr(169'990, 10));
}

TEST(SubStream, WindowsOnOneSourceDoNotDisturbEachOther) {
    const std::string text = numbered(300'000);
    const auto source = std::make_shared<CountingSource>(text);
    UT_IStream a(source, UT_ISTREAM_BINARY);
    const std::unique_ptr<UT_IStream> b(a.getSubStream(150'000, 150'000));
    std::string readA, readB;
    std::mt19937 random(7);
    char piece[5000];
    while (readA.size() < text.size() || readB.size() < 150'000) {
        const int wanted = static_cast<int>(random() % sizeof piece);
        readA.append(piece, static_cast<std::size_t>(a.bread(piece, wanted)));
        readB.append(piece, static_cast<std::size_t>(b->bread(piece, wanted)));
    }
    EXPECT_TRUE(readA == text);
    EXPECT_TRUE(readB == text.substr(150'000, 150'000));
}

TEST(SubStream, WindowsMayLiveOnDifferentThreads) {
    const ScratchDir dir;
    const std::string text = numbered(1'000'000);
    UT_IFStream byPath(dir.write("f", text).c_str(), UT_ISTREAM_BINARY);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(dir.path("f").c_str(), "r"), std::fclose);
    UT_IStream byFile(file.get(), UT_ISTREAM_BINARY);
    const auto check = [&](UT_IStream* window, std::size_t offset) {
        const std::unique_ptr<UT_IStream> owned(window);
        EXPECT_EQ(readAll(*owned), text.substr(offset, 400'000));
    };
    std::vector<std::thread> threads;
    for (UT_IStream* parent : {static_cast<UT_IStream*>(&byPath), &byFile})
        for (const int start : {0, 100'000, 200'000, 300'000})
            threads.emplace_back(check, parent->getSubStream(start, 400'000), start);
    for (auto& thread : threads) thread.join();
}

TEST(Source, IsAskedNoMoreThanNeeded) {
    const std::string text = numbered(64'000);
    const auto source = std::make_shared<CountingSource>(text);
    UT_IStream stream(source, UT_ISTREAM_BINARY);
    // A thousand neighbouring windows share one read-ahead.
    for (int i = 0; i < 1000; ++i) {
        const std::unique_ptr<UT_IStream> section(stream.getSubStream(i * 60, 60));
        EXPECT_EQ(readAll(*section), text.substr(static_cast<std::size_t>(i) * 60, 60));
    }
    // Seeking inside what is buffered asks for nothing.
    char byte;
    for (int i = 999; i >= 0; --i) {
        EXPECT_TRUE(stream.seekg(i * 50, 0));
        EXPECT_EQ(stream.bread(&byte, 1), 1);
        EXPECT_EQ(byte, text[static_cast<std::size_t>(i) * 50]);
    }
    EXPECT_EQ(source->reads, 1);

    // A large read is one call and goes to the caller's memory.
    const std::string large = numbered(3'000'000);
    const auto largeSource = std::make_shared<CountingSource>(large);
    UT_IStream largeStream(largeSource, UT_ISTREAM_BINARY);
    std::string out(large.size(), '\0');
    EXPECT_EQ(largeStream.bread(out.data(), static_cast<int>(out.size())), static_cast<int>(out.size()));
    EXPECT_EQ(out, large);
    EXPECT_EQ(largeSource->reads, 1);
    EXPECT_TRUE(largeStream.isEof());
}

TEST(Source, AFailedReadIsToldApartFromTheEnd) {
    for (const bool seekable : {true, false}) {
        const auto source = std::make_shared<CountingSource>(numbered(200'000));
        source->failAt = 100'000;
        source->seekable = seekable;
        UT_IStream stream(source, UT_ISTREAM_BINARY);
        EXPECT_LT(readAll(stream).size(), 200'000u);
        EXPECT_TRUE(stream.isEof());
        EXPECT_TRUE(stream.hasFailed());
    }
}

TEST(Source, ThatLiesDoesNoHarm) {
    char piece[1000];
    std::string large(200'000, 'x');
    const auto more = std::make_shared<LyingSource>();
    more->saidTimes = 4;  // more than it was asked for
    UT_IStream stream(more, UT_ISTREAM_BINARY);
    for (int i = 1; i <= 500; ++i) {
        EXPECT_EQ(stream.bread(piece, sizeof piece), 1000);
        EXPECT_EQ(stream.tellg(), i * 1000);
    }
    EXPECT_EQ(stream.bread(large.data(), 200'000), 200'000);

    const auto growing = std::make_shared<LyingSource>();
    for (const int said : {10, 1000, 300'000}) {  // each in the block of the one before
        growing->saidSize = said;
        UT_IStream window(growing, UT_ISTREAM_BINARY);
        EXPECT_TRUE(window.seekg(said - 1, 0));
        EXPECT_EQ(window.bread(piece, 5), 1);
    }

    for (const std::int64_t start : {std::int64_t{101}, std::int64_t{92}, INT64_MAX}) {
        const auto elsewhere = std::make_shared<LyingSource>();
        elsewhere->saidStart = start;
        UT_IStream window(elsewhere, UT_ISTREAM_BINARY);
        EXPECT_TRUE(window.seekg(100, 0));
        EXPECT_EQ(window.bread(piece, 5), 0);
        EXPECT_TRUE(window.hasFailed());
    }
}

TEST(Seeking, EndsAtTheLastPositionThatThereCanBe) {
    std::string large(200'000, 'x');
    const auto endless = std::make_shared<LyingSource>();
    UT_IStream stream(endless, UT_ISTREAM_BINARY);
    for (const int wanted : {100, 200'000}) {
        EXPECT_TRUE(stream.seekg(INT64_MAX - 3, 0));
        EXPECT_EQ(stream.bread(large.data(), wanted), 3);
        EXPECT_TRUE(stream.isEof());
        EXPECT_EQ(stream.tellg(), INT64_MAX);
    }
    const std::unique_ptr<UT_IStream> tail(stream.getSubStream(INT64_MAX - 3, INT64_MAX));
    EXPECT_EQ(readAll(*tail).size(), 3u);
    EXPECT_FALSE(tail->seekg(4, 0));
    EXPECT_FALSE(stream.seekg(-1, 0));
    EXPECT_FALSE(stream.seekg(0, 1)) << "positions count from the beginning alone";

    UT_IStream text = over("abc");
    EXPECT_TRUE(text.seekg(INT64_MAX, 0));
    EXPECT_FALSE(text.isEof()) << "nothing was tried";
    EXPECT_EQ(readAll(text) + (text.seekg(1, 0) ? readAll(text) : ""), "bc");
}

TEST(MemoryStream, TheSharedFormCopiesNothingAndTheOtherKeepsItsOwn) {
    char local[] = "abc";
    UT_IStream copied(local, 3, UT_ISTREAM_BINARY);
    local[0] = 'x';
    EXPECT_EQ(readAll(copied), "abc");

    const auto shared = std::make_shared<char[]>(3);
    std::memcpy(shared.get(), "abc", 3);
    UT_IStream stream(std::shared_ptr<const char[]>(shared), 3, UT_ISTREAM_BINARY);
    EXPECT_EQ(stream.buffered().data(), shared.get());

    UT_IStream null(static_cast<const char*>(nullptr), 5, UT_ISTREAM_BINARY), negative("abc", -1, UT_ISTREAM_BINARY);
    EXPECT_EQ(readAll(null) + readAll(negative), "");
}

TEST(BinaryString, ALyingLengthCostsNoMoreThanTheBytesThatAreThere) {
    const struct {
        std::string bytes;
        bool good;
        const char* text;
    } cases[] = {{std::string("\3\0\0\0geo", 7), true, "geo"},
                 {std::string("\0\0\0\0", 4), true, ""},
                 {std::string("\4\0\0\0a\0bc", 8), true, "a"},  // cut at a NUL
                 {std::string("\4\0\0\0geo", 7), false, ""},
                 {std::string("\xff\xff\xff\x7fgeo", 7), false, ""},
                 {std::string("\xff\xff\xff\xffgeo", 7), false, ""},  // negative
                 {std::string("\3\0", 2), false, ""}};
    for (const auto& c : cases) {
        UT_IStream stream = over(c.bytes);
        UT_String text;
        EXPECT_EQ(stream.readBinaryString(text, UT_ISTREAM_RLE32), c.good) << c.bytes;
        EXPECT_STREQ(c.good ? text.buffer() : "", c.text);
    }
}

TEST(BinaryIntegers, AreLittleEndianAndCountedWhole) {
    UT_IStream stream = over(std::string_view("\1\2\3\4\xff\xff\xff\xff\7\0", 10));
    int values[3] = {};
    EXPECT_EQ(stream.bread(values, 3), 2);
    EXPECT_TRUE(values[0] == 0x04030201 && values[1] == -1);
    for (const int count : {INT_MAX, -1}) EXPECT_EQ(stream.bread(values, count), 0);
}

TEST(Words, AreReadInTextModeAndBinaryStringsOtherwise) {
    UT_IStream stream = over(" plain\t\"two words\" \"q\\\"b\\\\n\\n\\t\\r\" \"\" a\"b \"open");
    UT_IStreamAutoBinary mode(stream, UT_ISTREAM_ASCII);
    UT_String word;
    for (const char* expected : {"plain", "two words", "q\"b\\n\n\t\r", "", "a\"b", "open"}) {
        ASSERT_TRUE(stream.readString(word, false)) << expected;
        EXPECT_STREQ(word.buffer(), expected);
    }
    EXPECT_FALSE(stream.readString(word, false));
    for (int pops = 0; pops < 2; ++pops) {  // more pops than pushes change nothing
        stream.popBinary();
        EXPECT_TRUE(stream.isBinary());
    }
}

TEST(CFile, StartsWhereItStandsAndSeeksIfItCan) {
    const ScratchDir dir;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(dir.write("f", "0123456789").c_str(), "r"),
                                                               std::fclose);
    EXPECT_EQ(std::getc(file.get()), '0');
    UT_IStream stream(file.get(), UT_ISTREAM_BINARY);
    EXPECT_EQ(readAll(stream), "123456789");
    EXPECT_TRUE(stream.seekg(3, 0));
    EXPECT_EQ(readAll(stream), "456789");
}

TEST(CFile, APipeIsReadForwardOnlyAndAnswersALineAtATime) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::FILE* file = ::fdopen(ends[0], "r");
    UT_IStream stream(file, UT_ISTREAM_BINARY);
    UT_WorkBuffer line;
    // The line must come although the writer has not finished: waiting for a full block would hang here.
    ASSERT_EQ(::write(ends[1], "first\n", 6), 6);
    ASSERT_TRUE(stream.getLine(line, '\n'));
    EXPECT_EQ(line.view(), "first");
    EXPECT_TRUE(stream.seekg(0, 0)) << "still buffered";
    ASSERT_TRUE(stream.getLine(line, '\n'));
    ASSERT_EQ(::write(ends[1], "second", 6), 6);
    ::close(ends[1]);
    EXPECT_EQ(lines(stream), Lines{"second"});
    EXPECT_FALSE(stream.seekg(0, 0));
    std::fclose(file);
}

TEST(FileStream, ReadsWhatHasNoLengthOfItsOwn) {
    const ScratchDir dir;
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    const std::string text = numbered(200'000);
    std::thread writer([&] { dir.write("pipe", text); });
    UT_IFStream pipe(dir.path("pipe").c_str(), UT_ISTREAM_BINARY);
    std::string start(150'000, '\0');  // more than a pipe gives at once
    EXPECT_EQ(pipe.bread(start.data(), 150'000), 150'000);
    EXPECT_EQ(start + readAll(pipe), text);
    writer.join();

    UT_IFStream generated("/proc/self/status", UT_ISTREAM_BINARY);
    EXPECT_NE(readAll(generated).find("Pid:"), std::string::npos) << "its size says 0";
}

TEST(FileStream, AFileThatShrinksEndsEarly) {
    const ScratchDir dir;
    UT_IFStream stream(dir.write("f", numbered(300'000)).c_str(), UT_ISTREAM_BINARY);
    char byte;
    EXPECT_EQ(stream.bread(&byte, 1), 1);
    dir.cutAt("f", 100'000);
    EXPECT_EQ(readAll(stream).size(), 99'999u);
    EXPECT_TRUE(stream.isEof());
    EXPECT_FALSE(stream.hasFailed());
}
