// What is written can be read back whole, and filters are called as they are promised.
#include <UT/UT_IStream.h>
#include <UT/UT_OStrStream.h>
#include <UT/UT_Output.h>
#include <UT/UT_StreamBufferFilter.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

namespace {

UT_IStream over(const std::string& bytes) {
    return UT_IStream(bytes.data(), static_cast<int>(bytes.size()), UT_ISTREAM_BINARY);
}

// Turns bytes around in blocks of three, keeping back what doesn't fill a block, and counts its last calls.
class Reverser : public UT_StreamBufferFilter {
public:
    bool filter(const char* data, std::size_t count, bool last, UT_WorkBuffer& out) override {
        ++calls;
        lasts += last;
        if (calls == failingCall) return false;
        kept_.append(data, count);
        std::size_t done = 0;
        for (; done + 3 <= kept_.size() || (last && done < kept_.size()); done += 3) {
            std::string block = kept_.substr(done, 3);
            std::reverse(block.begin(), block.end());
            out.append(block);
        }
        kept_.erase(0, done);
        return true;
    }
    int calls = 0;
    int lasts = 0;
    int failingCall = -1;

private:
    std::string kept_;
};

}  // namespace

TEST(TextOutput, AnyTextComesBackByOneReadString) {
    std::mt19937 random(11);
    const std::string alphabet = "ab \t\n\r\"\\#n/\x01\x7f\xc3\xa9";
    for (int round = 0; round < 2000; ++round) {
        std::ostringstream out;
        std::vector<std::string> texts(1 + random() % 4);
        for (auto& text : texts) {
            for (std::size_t n = random() % 8; n > 0; --n) text += alphabet[random() % alphabet.size()];
            out << UT_String(text.c_str(), 1) << (random() % 2 ? '\t' : '\n');
        }
        UT_IStream in = over(out.str());
        in.pushBinary(UT_ISTREAM_ASCII);
        for (const auto& text : texts) {
            UT_String word;
            ASSERT_TRUE(in.readString(word, false)) << out.str();
            ASSERT_EQ(word.view(), text) << out.str();
        }
    }
}

TEST(TextOutput, QuotesOnlyWhatNeedsIt) {
    const struct {
        const char *text, *written;
    } cases[] = {{"geo", "geo"},    {"a/b.c", "a/b.c"}, {"", "\"\""},
                 {nullptr, "\"\""}, {"a b", "\"a b\""}, {"a\n\"", "\"a\\n\\\"\""}};
    for (const auto& c : cases) {
        std::ostringstream out;
        out << UT_String(c.text);
        EXPECT_EQ(out.str(), c.written);
    }
}

TEST(BinaryOutput, WritesTheBytesThatReadingTakes) {
    std::ostringstream out;
    const int values[] = {-1, 0x01020304, INT32_MIN};
    UTwrite(out, values, 3);
    UTwrite(UTwrite(out, static_cast<const int*>(nullptr), 1), static_cast<const char*>(nullptr), 1);
    UTsaveStringBinary(out, "geo", UT_STRING_BINARY32);
    UTsaveStringBinary(out, nullptr, UT_STRING_BINARY32);
    EXPECT_EQ(out.str(), std::string("\xff\xff\xff\xff\4\3\2\1\0\0\0\x80\3\0\0\0geo\0\0\0\0", 23));
}

TEST(Copying, TakesAsMuchAsItIsToldAndSaysWhetherThatWasThere) {
    const std::string text(150'000, 'x');
    const struct {
        unsigned count;
        std::size_t copied;
        bool whole;
    } cases[] = {{0, 0, true},
                 {10, 10, true},
                 {150'000, 150'000, true},
                 {150'001, 150'000, false},
                 {UT_COPY_ALL, 150'000, true}};
    for (const auto& c : cases) {
        UT_IStream in = over(text);
        std::ostringstream out;
        EXPECT_EQ(UTcopyStreamToStream(in, out, c.count, nullptr), c.whole) << c.count;
        EXPECT_EQ(out.str().size(), c.copied) << c.count;
    }
    UT_IStream in = over(text);
    std::ostringstream bad;
    bad.setstate(std::ios::badbit);
    EXPECT_FALSE(UTcopyStreamToStream(in, bad, UT_COPY_ALL, nullptr));
    EXPECT_EQ(in.tellg(), 0) << "nothing is taken that can't be written";
    UT_IFStream nothing("/no/such/file", UT_ISTREAM_BINARY);
    std::ostringstream out;
    EXPECT_FALSE(UTcopyStreamToStream(nothing, out, UT_COPY_ALL, nullptr));
}

TEST(Filters, GetEveryByteOnceAndAreToldOfTheEndOnce) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{100'000}}) {
        std::string text, expected;
        for (std::size_t i = 0; i < length; ++i) text += static_cast<char>('a' + i % 26);
        for (std::size_t i = 0; i < length; i += 3) {
            const std::string block = text.substr(i, 3);
            expected.append(block.rbegin(), block.rend());
        }
        std::ostringstream copied, written;
        Reverser copying, writing;
        UT_IStream in = over(text);
        EXPECT_TRUE(UTcopyStreamToStream(in, copied, length ? UT_COPY_ALL : 0, &copying));
        EXPECT_TRUE(UTwriteFiltered(written, text.data(), static_cast<int>(length), &writing));
        EXPECT_TRUE(copied.str() == expected && written.str() == expected);
        EXPECT_EQ(copying.lasts, 1) << "also when there are no bytes at all";
        EXPECT_EQ(writing.lasts, 1);
    }
}

TEST(Filters, AFalseFailsTheWriteWhicheverCallItIs) {
    const std::string text(200'000, 'x');
    int failing = 1;
    for (bool reached = true; reached && failing < 100; ++failing) {
        UT_IStream in = over(text);
        std::ostringstream out;
        Reverser filter;
        filter.failingCall = failing;
        const bool done = UTcopyStreamToStream(in, out, UT_COPY_ALL, &filter);
        reached = filter.calls >= failing;
        EXPECT_EQ(done, !reached);
        EXPECT_EQ(out.fail(), reached);
    }
    EXPECT_GT(failing, 2);
}

TEST(MemoryOutput, ShowsItsBytesAndGoesOn) {
    UT_OStrStream out(4);
    std::string all;
    for (const char* text : {"geometry 12", "!"}) {
        out << text;
        EXPECT_EQ(std::string(out.str(), out.pcount()), all += text);
        out.rdbuf()->freeze(false);
    }
}

TEST(CheckOutStream, ReportsOnABadStreamAlone) {
    for (const bool good : {true, false}) {
        std::ostringstream out;
        if (!good) out.setstate(std::ios::failbit);
        testing::internal::CaptureStderr();
        EXPECT_EQ(UTcheckOutStream(out, "Saving failed.", nullptr), good);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), good ? "" : "Saving failed.\n");
    }
}
