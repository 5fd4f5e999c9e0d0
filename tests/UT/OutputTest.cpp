// What is written can be read back whole, and filters are called as they are promised.
#include <UT/UT_OStrStream.h>
#include <UT/UT_Output.h>
#include <UT/UT_StreamBufferFilter.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <sstream>

#include "Streams.h"

namespace {

// Doubles each byte, writes "." where it is told of the end, and may refuse a call.
struct Doubler : UT_StreamBufferFilter {
    explicit Doubler(int refusedCall) : refused(refusedCall) {}
    bool filter(const char* data, std::size_t count, bool last, UT_WorkBuffer& out) override {
        for (std::size_t i = 0; i < count; ++i) out.append(std::string(2, data[i]));
        if (last) out.append('.');
        return ++calls != refused;
    }
    const int refused;
    int calls = 0;
};

}  // namespace

TEST(TextOutput, AnyTextComesBackByOneReadStringAndIsQuotedOnlyIfItMustBe) {
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
            ASSERT_TRUE(in.readString(word, false) && word.view() == text) << out.str();
        }
    }
    std::ostringstream out;
    for (const char* text : {"geo", "a/b.c", "", "a b", "a\n\""}) out << UT_String(text) << ' ';
    EXPECT_EQ(out.str(), R"(geo a/b.c "" "a b" "a\n\"" )");
}

TEST(BinaryOutput, IsLittleEndianAndReadBackWhole) {
    std::ostringstream out;
    const int values[] = {-1, 0x01020304, INT32_MIN};
    UTwrite(out, values, 3);
    UTwrite(UTwrite(out, static_cast<const int*>(nullptr), 1), static_cast<const char*>(nullptr), 1);
    for (const char* text : {"geo", static_cast<const char*>(nullptr)})
        UTsaveStringBinary(out, text, UT_STRING_BINARY32);
    const std::string bytes("\xff\xff\xff\xff\4\3\2\1\0\0\0\x80\3\0\0\0geo\0\0\0\0", 23);
    EXPECT_EQ(out.str(), bytes);
    UT_IStream in = over(bytes.substr(0, 14));
    int read[4] = {};
    for (const int count : {INT_MAX, -1}) EXPECT_EQ(in.bread(read, count), 0);
    EXPECT_EQ(in.bread(read, 4), 3);
    EXPECT_TRUE(std::equal(values, values + 3, read));
}

TEST(Copying, TakesAsMuchAsItIsToldAndSaysWhetherThatWasThere) {
    const std::string text(150'000, 'x');
    for (const unsigned asked : {0u, 10u, 150'000u, 150'001u, unsigned{UT_COPY_ALL}}) {
        UT_IStream in = over(text);
        std::ostringstream out;
        EXPECT_EQ(UTcopyStreamToStream(in, out, asked, nullptr), asked != 150'001) << asked;
        EXPECT_EQ(out.str().size(), std::min(asked, 150'000u)) << asked;
    }
    UT_IStream in = over(text);
    std::ostringstream out;
    for (const char* unreadable : {"/no/such/file", "/proc/self/mem"}) {  // opened, but with nothing mapped at 0
        UT_IFStream nothing(unreadable, UT_ISTREAM_BINARY);
        EXPECT_FALSE(UTcopyStreamToStream(nothing, out, UT_COPY_ALL, nullptr)) << "a failure is no end";
    }
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(UTcopyStreamToStream(in, out, UT_COPY_ALL, nullptr));
    EXPECT_EQ(in.tellg(), 0) << "nothing is taken that can't be written";
}

TEST(Filters, GetEveryByteOnceAreToldOfTheEndOnceAndMayRefuse) {
    const std::pair<int, int> cases[] = {{0, 0}, {0, 1}, {20'000, 0}, {20'000, 1}, {20'000, 2}};
    for (const auto& [numbers, refused] : cases) {
        std::string text, doubled;
        for (int i = 0; i < numbers; ++i)
            for (const char c : std::to_string(i)) text += c, doubled.append(2, c);
        std::ostringstream copied, written;
        Doubler copying(refused), writing(refused);
        UT_IStream in = over(text);
        EXPECT_EQ(UTcopyStreamToStream(in, copied, numbers ? UT_COPY_ALL : 0, &copying), refused == 0);
        EXPECT_EQ(copied.fail(), refused != 0) << "call " << refused;
        EXPECT_EQ(UTwriteFiltered(written, text.data(), static_cast<int>(text.size()), &writing), refused != 1);
        EXPECT_TRUE(refused || (copied.str() == doubled + "." && written.str() == doubled + ".")) << numbers;
    }
}

TEST(MemoryOutput, ShowsItsBytesAndGoesOn) {
    UT_OStrStream small(4), usual;
    for (UT_OStrStream* out : {&small, &usual}) {
        for (const std::string expected : {"geometry", "geometrygeometry"}) {
            *out << "geometry";
            EXPECT_EQ(std::string(out->str(), out->pcount()), expected);
            out->rdbuf()->freeze(false);
        }
    }
}

TEST(CheckOutStream, ReportsOnABadStreamAlone) {
    std::ostringstream good;
    std::ostream bad(nullptr);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(UTcheckOutStream(good, "none", nullptr) && !UTcheckOutStream(bad, "Saving failed:", "full"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Saving failed: full\n");
}
