// Answers, dates and redirects as text, without a server.
#include <UT/HttpAddress.h>
#include <UT/HttpDate.h>
#include <UT/HttpResponse.h>
#include <gtest/gtest.h>

#include <string>

namespace {

constexpr HttpResponse::Limits kLimits{.header = 200, .body = 1000, .chunkLine = 20};

// "STATUS BODY" of a whole answer, else what is wrong with it. Fed in pieces of `size` bytes, and then the end.
std::string readIn(std::string_view bytes, std::size_t size) {
    HttpResponse response(kLimits);
    std::string body;
    while (!bytes.empty()) {
        std::string_view input = bytes.substr(0, size);
        bytes.remove_prefix(input.size());
        while (!input.empty()) body += response.next(input);
    }
    response.end();
    return response.isDone() ? std::to_string(response.status()) + " " + body : std::string(response.fault());
}

struct Case {
    std::string answer, meaning;
};

void expectAll(const std::vector<Case>& cases) {
    for (const Case& c : cases)
        for (const std::size_t size : {1u, 2u, 7u, 5000u}) EXPECT_EQ(readIn(c.answer, size), c.meaning) << c.answer;
}

const std::string kOk = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOk + "Transfer-Encoding: Chunked\r\n\r\n";
constexpr char kNoAnswer[] = "not an answer over http", kLine[] = "a header line that is none";
constexpr char kLong[] = "the header is too long", kCut[] = "the page is cut short";
constexpr char kLengths[] = "contradictory lengths", kEncoding[] = "an encoding that wasn't asked for";
constexpr char kLength[] = "a length that is none, or too long a page", kChunkLong[] = "a chunk is longer than it says";
constexpr char kSize[] = "a chunk without a size, or too long a page", kChunk[] = "a chunk whose size is none";

}  // namespace

TEST(HttpResponse, TheBodyEndsWhereTheHeaderSays) {
    expectAll({
        {kOk + "Content-Length: 5\r\n\r\nhello", "200 hello"},
        {kOk + "content-length:\t5 \r\nContent-Length: 5\r\n\r\nhello and more", "200 hello"},
        {kOk + "Content-Length: 0\r\n\r\nmore", "200 "},
        {kOk + "\r\nall there is", "200 all there is"},
        {"HTTP/1.0 404\nServer: of old\n\nno", "404 no"},
        {kChunked + "3\r\nabc\r\n0A ; x=\"y\"\r\n0123456789\r\n0\r\nMore: x\r\n\r\n", "200 abc0123456789"},
        {kChunked + "0\r\n\r\nmore", "200 "},
        {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early\r\nLink: x\r\n\r\n" + kOk + "Content-Length: 1\r\n\r\nx",
         "200 x"},
        {kOk + "Content-Length: 1000\r\n\r\n" + std::string(1000, 'x'), "200 " + std::string(1000, 'x')},
        {kOk + "\r\n" + std::string(1000, 'x'), "200 " + std::string(1000, 'x')},
    });
}

TEST(HttpResponse, WhatIsCutIsNoPage) {
    expectAll({
        {"", "no answer"},
        {"HTTP/1.1 2", "the header is cut short"},
        {kOk + "Content-Length: 5\r\n", "the header is cut short"},
        {kOk + "Content-Length: 5\r\n\r\nhell", kCut},
        {kChunked + "3\r\nab", kCut},
        {kChunked + "3\r\nabc\r\n", kCut},
        {kChunked + "3\r\nabc\r\n0\r\n", kCut},
    });
}

TEST(HttpResponse, WhatIsNoAnswerIsRefused) {
    expectAll({
        {"SSH-2.0-x\r\n\r\n", kNoAnswer},
        {"HTTP/2.0 200 OK\r\n\r\n", kNoAnswer},
        {"HTTP/1.1 20 OK\r\n\r\n", kNoAnswer},
        {"HTTP/1.1 2000 OK\r\n\r\n", kNoAnswer},
        {"HTTP/1.1 099 OK\r\n\r\n", kNoAnswer},
        {"HTTP/1.1 200 \33[2J\r\n\r\n", kNoAnswer},
        {"\r\n" + kOk + "\r\n", kNoAnswer},
        {kOk + "no colon\r\n\r\n", kLine},
        {kOk + ": no name\r\n\r\n", kLine},
        {kOk + "Blank : before\r\n\r\n", kLine},
        {kOk + "A: goes\r\n on\r\n\r\n", kLine},
        {kOk + "A: x\ry\r\n\r\n", kLine},
        {kOk + "A: " + std::string("x\0y", 3) + "\r\n\r\n", kLine},
        {kOk + "A: " + std::string(200, 'x') + "\r\n\r\n", kLong},
        {std::string(201, 'x'), kLong},
        {"HTTP/1.1 100 x\r\nA: " + std::string(100, 'x') + "\r\n\r\n" + kOk + "A: " + std::string(70, 'x') + "\r\n\r\n",
         kLong},
    });
}

TEST(HttpResponse, LengthsThatLieAreRefused) {
    expectAll({
        {kOk + "Content-Length: 5\r\nContent-Length: 6\r\n\r\nhello", kLengths},
        {kOk + "Content-Length: 5, 5\r\n\r\nhello", kLengths},
        {kOk + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", kLengths},
        {kOk + "Content-Length: -1\r\n\r\n", kLength},
        {kOk + "Content-Length: +5\r\n\r\nhello", kLength},
        {kOk + "Content-Length: 0x5\r\n\r\nhello", kLengths},
        {kOk + "Content-Length:\r\n\r\n", kLength},
        {kOk + "Content-Length: 1001\r\n\r\n", kLength},
        {kOk + "Content-Length: 18446744073709551621\r\n\r\nhello", kLength},
        {kOk + "\r\n" + std::string(1001, 'x'), "the page is too long"},
        {kOk + "Transfer-Encoding: gzip, chunked\r\n\r\n", kEncoding},
        {kOk + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n", kEncoding},
        {"HTTP/1.0 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", kEncoding},
        {kChunked + "\r\n", kSize},
        {kChunked + "-1\r\n", kSize},
        {kChunked + "3e9\r\n", kSize},
        {kChunked + "10000000000000003\r\nabc\r\n", kSize},
        {kChunked + "3e8\r\n" + std::string(1000, 'x') + "\r\n1\r\n", kSize},
        {kChunked + "3 3\r\n", kChunk},
        {kChunked + "3\nabc\r\n", kChunk},
        {kChunked + "3;" + std::string(20, 'x') + "\r\n", kLong},
        {kChunked + "3\r\nabcd\r\n", kChunkLong},
        {kChunked + "0\r\nno colon\r\n\r\n", kLine},
        {kChunked + "0\r\nA: " + std::string(160, 'x') + "\r\n\r\n", kLong},
    });
}

TEST(HttpResponse, AFieldThatIsThereTwiceWithTwoValuesIsNotThere) {
    HttpResponse response;
    const std::string bytes = kOk + "LOCATION: /a\r\nLocation:  /a \r\nDate: 1\r\nDate: 2\r\n\r\n";
    std::string_view input = bytes;
    response.next(input);
    EXPECT_EQ(response.field("location"), "/a");
    EXPECT_EQ(response.field("date"), std::nullopt);
    EXPECT_EQ(response.field("none"), std::nullopt);
    EXPECT_EQ(response.statusText(), "200 OK");
    EXPECT_EQ(response.header(), bytes);
}

TEST(HttpDate, ReadsTheThreeForms) {
    const struct {
        const char* text;
        std::optional<std::int64_t> time;
    } cases[] = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", 784111777},
        {"Sunday, 06-Nov-94 08:49:37 GMT", 784111777},
        {"Sun Nov  6 08:49:37 1994", 784111777},
        {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
        {"Wed, 31 Dec 1969 23:59:59 GMT", -1},
        {"Thu, 29 Feb 2024 23:59:60 GMT", 1709251199},
        {"Fri, 01-Jan-69 00:00:00 GMT", 3124224000},
        {"Wed, 29 Feb 2023 00:00:00 GMT", {}},
        {"Sun, 06 Nov 1994 24:00:00 GMT", {}},
        {"Sun, 06 Nov 1994 8:49:37 GMT", {}},
        {"Sun, 06 Nov 1994 08:49:37 CET", {}},
        {"Sun, 06 anF 1994 08:49:37 GMT", {}},
        {"Sun, 6 Nov 94a 08:49:37 GMT", {}},
        {"Sun, 06 Nov 1994 08:49:37 GMT and so on", {}},
        {"0", {}},
        {"", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(parseHttpDate(c.text), c.time) << c.text;
}

TEST(HttpAddress, RedirectsLeadToHttpAddressesOnly) {
    const HttpAddress from{.host = "host", .port = 8080, .page = "/a/b/c?query=/x/y"};
    const struct {
        const char *location, *target;
    } cases[] = {
        {"http://other", "other/"},
        {"HTTP://other:81/x/../y?z/../w#part", "other:81/y?z/../w"},
        {"http://other:80?x", "other/?x"},
        {"http://[::1]:81/x", "[::1]:81/x"},
        {"//other/x", "other/x"},
        {"/x", "host:8080/x"},
        {"x", "host:8080/a/b/x"},
        {"../../../x/.", "host:8080/x/"},
        {"./..", "host:8080/a/"},
        {"?x", "host:8080/a/b/c?x"},
        {"", ""},
        {"#part", ""},
        {"https://other/x", ""},
        {"file:///etc/passwd", ""},
        {"javascript:x", ""},
        {"http:/x", ""},
        {"http:///x", ""},
        {"http://user@other/x", ""},
        {"http://other:0/x", ""},
        {"http://other:65536/x", ""},
        {"http://other:99999999999999999999/x", ""},
        {"http://other:8x/x", ""},
        {"http://[::1", ""},
        {"http://[::1]x/", ""},
        {"/x y", ""},
        {"/x\r\nHost: evil", ""},
        {"http://other\t/x", ""},
    };
    for (const auto& c : cases) {
        const auto target = redirectTarget(c.location, from);
        EXPECT_EQ(target ? hostAndPort(*target) + target->page : "", c.target) << c.location;
    }
}
