// Windows on byte sources: positions, ends, sharing, and how often a source is asked.
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <thread>

#include "../support/Rules.h"
#include "../support/ScratchDir.h"
#include "Streams.h"

namespace {

// Serves a text, or zeros without an end, counts what it is asked for, and lies about it as it is told.
struct Source : UT_ByteSource {
    Source() = default;
    explicit Source(std::string bytes) : text(std::move(bytes)), saidSize(static_cast<std::int64_t>(text->size())) {}
    std::int64_t size() const override { return saidSize; }
    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        ++reads;
        if (position >= failAt) return -1;
        if (position >= throwAt) throw std::bad_alloc();
        count = std::min(count, static_cast<std::size_t>(failAt - position));
        if (!text) std::memset(out, 0, count);
        const auto at = std::min(static_cast<std::size_t>(position), text ? text->size() : 0);
        return static_cast<std::int64_t>(text ? text->copy(out, count, at) : count) * saidTimes;
    }
    UT_ByteBlock block(std::int64_t position) override {
        if (saidStart < 0) return UT_ByteSource::block(position);
        return {.bytes = std::make_shared<char[]>(8), .start = saidStart, .length = 8};
    }
    std::optional<std::string> text;
    std::int64_t saidSize = -1, saidTimes = 1, saidStart = -1, failAt = INT64_MAX, throwAt = INT64_MAX;
    int reads = 0;
};

std::string numbered(std::size_t length) {
    std::string text;
    for (int i = 0; text.size() < length; ++i) text += "line " + std::to_string(i) + "\n";
    return text;
}

// What `next` gives piece by piece, each with a bar behind it.
template <class Text, class Next>
std::string barred(Next next) {
    std::string all;
    for (Text text; next(text);) all.append(text.view()) += '|';
    return all;
}

std::string linesIn(const Columns& row) {
    UT_IStream stream(std::make_shared<Source>(row[0]), UT_ISTREAM_BINARY);
    const std::string lines = barred<UT_WorkBuffer>([&](auto& line) { return stream.getLine(line, '\n'); });
    EXPECT_TRUE(stream.isEof());
    return lines;
}

std::string textIn(const Columns& row) {
    UT_IStream stream = over(row[0]);
    UT_String text;
    return stream.readBinaryString(text, UT_ISTREAM_RLE32) ? text.buffer() : "none";
}

std::string wordsIn(const Columns& row) {
    UT_IStream stream = over(row[0]);
    stream.pushBinary(UT_ISTREAM_ASCII);
    const std::string words = barred<UT_String>([&](auto& word) { return stream.readString(word, false); });
    for (int pops = 0; pops < 2; ++pops) stream.popBinary();  // more than pushes change nothing
    EXPECT_TRUE(stream.isBinary());
    return words;
}

std::string readAll(UT_IStream* owned) {
    const std::unique_ptr<UT_IStream> stream(owned);
    return readAll(*stream);
}

// What a read of so many bytes gives.
std::string quoted(UT_IStream& stream, std::int64_t count) try {
    std::string bytes(static_cast<std::size_t>(count), 'x');
    bytes.resize(static_cast<std::size_t>(stream.bread(bytes.data(), static_cast<int>(count))));
    return "'" + bytes + "'";
} catch (const std::bad_alloc&) {
    return "no memory";
}

// What steps on a stream give. Some change how its source behaves, and open it anew.
std::string stepped(const Columns& row) {
    const auto source = row[0] == "endless" ? std::make_shared<Source>() : std::make_shared<Source>(row[0]);
    const std::map<std::string, std::int64_t Source::*> oddities = {{"size", &Source::saidSize},
                                                                    {"times", &Source::saidTimes},
                                                                    {"block", &Source::saidStart},
                                                                    {"fails", &Source::failAt},
                                                                    {"throws", &Source::throwAt}};
    auto stream = std::make_unique<UT_IStream>(source, UT_ISTREAM_BINARY);
    std::istringstream steps(row[1]);
    std::string answers, verb;
    const auto tell = [&](const std::string& answer) { answers.append(answers.empty() ? "" : " ").append(answer); };
    for (std::int64_t at = 0, length = 0, count = 0; steps >> verb;) {
        if (oddities.contains(verb) && steps >> at) {
            (*source).*oddities.at(verb) = at;
            stream = std::make_unique<UT_IStream>(source, UT_ISTREAM_BINARY);
        }
        if (verb == "end") tell(stream->hasFailed() ? "failed" : stream->isEof() ? "end" : "more");
        if (verb == "tell") tell(std::to_string(stream->tellg()));
        if (verb == "seek" && steps >> at) tell(stream->seekg(at, 0) ? "done" : "no");
        if (verb == "sub" && steps >> at >> length) stream.reset(stream->getSubStream(at, length));
        if (verb == "read" && steps >> count) tell(quoted(*stream, count));
        if (verb == "window" && steps >> at >> length >> count)
            tell(quoted(*std::unique_ptr<UT_IStream>(stream->getSubStream(at, length)), count));
        if (verb == "asked") tell(std::to_string(source->reads));
    }
    EXPECT_FALSE(stream->seekg(0, 1)) << "positions count from the beginning alone";
    return answers;
}

}  // namespace

TEST(StreamRules, HoldForEachRow) {
    expectRules(TARVANI_RULES "/streams.rules",
                {{"lines", linesIn}, {"text", textIn}, {"words", wordsIn}, {"steps", stepped}});
}

TEST(IsEof, IsTrueAtOnceForWhatCanNotBeOpened) {
    for (const char* path : {"/no/such/file", "/", "", static_cast<const char*>(nullptr)}) {
        UT_IFStream stream(path, UT_ISTREAM_BINARY);
        EXPECT_TRUE(stream.isEof() && !stream.seekg(0, 0));
        EXPECT_EQ(readAll(stream) + readAll(stream.getSubStream(0, 10)), "");
    }
    UT_IStream null(static_cast<const char*>(nullptr), 5, UT_ISTREAM_BINARY), negative("abc", -1, UT_ISTREAM_BINARY);
    EXPECT_EQ(readAll(null) + readAll(negative), "");
}

TEST(SubStream, WindowsDoNotDisturbEachOtherNorOnDifferentThreads) {
    const ScratchDir dir;
    const std::string text = numbered(1'000'000);
    UT_IFStream byPath(dir.write("f", text).c_str(), UT_ISTREAM_BINARY);
    const CFile file = openFile(dir.path("f"));
    UT_IStream byFile(file.get(), UT_ISTREAM_BINARY);
    const auto check = [&](UT_IStream* window, std::size_t offset) {
        EXPECT_EQ(readAll(window), text.substr(offset, 400'000));
    };
    std::vector<std::thread> threads;
    for (UT_IStream* parent : {static_cast<UT_IStream*>(&byPath), &byFile})
        for (const int start : {0, 100'000, 200'000, 300'000})
            threads.emplace_back(check, parent->getSubStream(start, 400'000), start);
    for (auto& thread : threads) thread.join();
}

TEST(CFile, StartsWhereItStandsAndSeeksIfItCan) {
    const ScratchDir dir;
    const CFile file = openFile(dir.write("f", "0123456789"));
    EXPECT_EQ(std::getc(file.get()), '0');
    UT_IStream stream(file.get(), UT_ISTREAM_BINARY);
    EXPECT_EQ(stream.getSize(), 9);
    for (const char* expected : {"123456789", "456789"}) {
        EXPECT_EQ(readAll(stream), expected);
        EXPECT_TRUE(stream.seekg(3, 0));
    }
}

TEST(CFile, APipeIsReadForwardOnlyAndAnswersALineAtATime) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const CFile file(::fdopen(ends[0], "r"), std::fclose);
    UT_IStream stream(file.get(), UT_ISTREAM_BINARY);
    UT_WorkBuffer line;
    // The line must come although the writer has not finished: waiting for a full block would hang here.
    ASSERT_EQ(::write(ends[1], "first\n", 6), 6);
    EXPECT_TRUE(stream.getLine(line, '\n') && line.view() == "first");
    EXPECT_TRUE(stream.seekg(0, 0)) << "still buffered";
    ASSERT_EQ(::write(ends[1], "second", 6), 6);
    ::close(ends[1]);
    EXPECT_EQ(readAll(stream), "first\nsecond");
    EXPECT_FALSE(stream.seekg(0, 0));
}

TEST(Files, WithoutALengthOfTheirOwnAreReadToTheirEnd) {
    const ScratchDir dir;
    const std::string text = numbered(200'000);
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    std::thread writer([&] { dir.write("pipe", text); });
    UT_IFStream pipe(dir.path("pipe").c_str(), UT_ISTREAM_BINARY);
    std::string start(150'000, '\0');  // more than a pipe gives at once
    EXPECT_EQ(pipe.bread(start.data(), 150'000), 150'000);
    EXPECT_EQ(start + readAll(pipe), text);
    writer.join();

    const CFile file = openFile("/proc/self/status");
    UT_IFStream generated("/proc/self/status", UT_ISTREAM_BINARY);
    UT_IStream byFile(file.get(), UT_ISTREAM_BINARY);
    for (UT_IStream* stream : {static_cast<UT_IStream*>(&generated), &byFile})
        EXPECT_NE(readAll(*stream).find("Pid:"), std::string::npos) << "its size says 0";
}

TEST(Files, ThatShrinkEndEarly) {
    const ScratchDir dir;
    UT_IFStream stream(dir.write("f", numbered(300'000)).c_str(), UT_ISTREAM_BINARY);
    char byte;
    EXPECT_EQ(stream.bread(&byte, 1), 1);
    dir.cutAt("f", 100'000);
    EXPECT_EQ(readAll(stream).size(), 99'999u);
    EXPECT_TRUE(stream.isEof() && !stream.hasFailed());
}
