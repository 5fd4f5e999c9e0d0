// Answers, dates and redirects as text, without a server.
#include <UT/HttpAddress.h>
#include <UT/HttpDate.h>
#include <UT/HttpResponse.h>
#include <gtest/gtest.h>

#include <string>

#include "Table.h"

namespace {

// "STATUS BODY" of a whole answer, else what is wrong with it. Fed in pieces of `size` bytes, and then the end.
std::string readIn(std::string_view bytes, std::size_t size) {
    HttpResponse response({.header = 200, .body = 1000, .chunkLine = 20});
    std::string body;
    while (!bytes.empty()) {
        std::string_view input = bytes.substr(0, size);
        bytes.remove_prefix(input.size());
        while (!input.empty()) body += response.next(input);
    }
    response.end();
    return response.isDone() ? std::to_string(response.status()) + " " + body : std::string(response.fault());
}

// Each of `endings`, behind `beginning`, gives `meaning`, in whatever pieces it comes.
void expectEach(const std::string& meaning, const std::string& beginning, const std::vector<std::string>& endings) {
    for (const std::string& ending : endings)
        for (const std::size_t size : {1u, 2u, 7u, 5000u})
            EXPECT_EQ(readIn(beginning + ending, size), meaning) << beginning << ending;
}

const std::string kOk = "HTTP/1.1 200 OK\r\n", kEnd = "\r\n\r\n";
const std::string kChunked = kOk + "Transfer-Encoding: Chunked\r\n\r\n";

std::string xs(std::size_t count) {
    return std::string(count, 'x');
}

}  // namespace

TEST(HttpResponse, TheBodyEndsWhereTheHeaderSays) {
    expectEach("200 hello", kOk,
               {"Content-Length: 5\r\n\r\nhello", "content-length:\t5 \r\nContent-Length: 5\r\n\r\nhello and more",
                "\r\nhello", "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\nmore"});
    expectEach("200 ", kOk, {"Content-Length: 0\r\n\r\nmore", "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\nmore"});
    expectEach("200 " + xs(1000), kOk, {"Content-Length: 1000\r\n\r\n" + xs(1000), "\r\n" + xs(1000)});
    expectEach("200 abc0123456789", kChunked, {"3\r\nabc\r\n0A ; x=\"y\"\r\n0123456789\r\n0\r\nMore: x\r\n\r\n"});
    expectEach("404 no", "HTTP/1.0 404\nServer: of old\n\nno", {""});
    expectEach("200 x", "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early\r\nLink: x\r\n\r\n", {kOk + "\r\nx"});
}

TEST(HttpResponse, WhatIsCutIsNoPage) {
    expectEach("no answer", "", {""});
    expectEach("the header is cut short", "", {"HTTP/1.1 2", kOk + "Content-Length: 5\r\n"});
    expectEach("the page is cut short", kOk, {"Content-Length: 5\r\n\r\nhell"});
    expectEach("the page is cut short", kChunked, {"3\r\nab", "3\r\nabc\r\n", "3\r\nabc\r\n0\r\n"});
}

TEST(HttpResponse, WhatIsNoAnswerIsRefused) {
    expectEach("not an answer over http", "",
               {"SSH-2.0-x\r\n\r\n", "HTTP/2.0 200 OK\r\n\r\n", "HTTP/1.1 20 OK\r\n\r\n", "HTTP/1.1 2000 OK\r\n\r\n",
                "HTTP/1.1 099 OK\r\n\r\n", "HTTP/1.1 200 \33[2J\r\n\r\n", "\r\n" + kOk + "\r\n"});
    expectEach("a header line that is none", kOk,
               {"no colon\r\n\r\n", ": no name\r\n\r\n", "Blank : before\r\n\r\n", "A: goes\r\n on\r\n\r\n",
                "A: x\ry\r\n\r\n", "A: x" + std::string(1, '\0') + kEnd});
    expectEach("the header is too long", "",
               {xs(201), kOk + "A: " + xs(200) + kEnd,
                "HTTP/1.1 100 x\r\nA: " + xs(100) + kEnd + kOk + "A: " + xs(70) + kEnd});
}

TEST(HttpResponse, LengthsThatLieAreRefused) {
    expectEach("contradictory lengths", kOk,
               {"Content-Length: 5\r\nContent-Length: 6\r\n\r\nhello", "Content-Length: 5, 5\r\n\r\nhello",
                "Content-Length: 0x5\r\n\r\nhello", "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n"});
    expectEach("a length that is none, or too long a page",
               kOk + "Content-Length:", {"-1" + kEnd, "+5" + kEnd, kEnd, "1001" + kEnd, "18446744073709551621" + kEnd});
    expectEach("the page is too long", kOk + "\r\n", {xs(1001)});
    expectEach(
        "an encoding that wasn't asked for", "",
        {kOk + "Transfer-Encoding: gzip, chunked\r\n\r\n", "HTTP/1.0 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
         kOk + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n"});
    expectEach("a chunk without a size, or too long a page", kChunked,
               {"\r\n", "-1\r\n", "3e9\r\n", "10000000000000003\r\nabc\r\n", "3e8\r\n" + xs(1000) + "\r\n1\r\n"});
    expectEach("a chunk whose size is none", kChunked, {"3 3\r\n", "3\nabc\r\n"});
    expectEach("a chunk is longer than it says", kChunked, {"3\r\nabcd\r\n"});
    expectEach("a header line that is none", kChunked, {"0\r\nno colon\r\n\r\n"});
    expectEach("the header is too long", kChunked, {"3;" + xs(20) + "\r\n", "0\r\nA: " + xs(160) + kEnd});
}

TEST(HttpResponse, AFieldThatIsThereTwiceWithTwoValuesIsNotThere) {
    HttpResponse response;
    const std::string bytes = kOk + "LOCATION: /a\r\nLocation:  /a \r\nDate: 1\r\nDate: 2\r\n\r\n";
    std::string_view input = bytes;
    response.next(input);
    EXPECT_EQ(response.field("location"), "/a");
    for (const char* name : {"date", "none"}) EXPECT_EQ(response.field(name), std::nullopt);
    EXPECT_EQ(response.statusText(), "200 OK");
    EXPECT_EQ(response.header(), bytes);
}

TEST(HttpDate, ReadsTheThreeForms) {
    const Rows<const char*, std::int64_t> rows = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", 784111777},  {"Sunday, 06-Nov-94 08:49:37 GMT", 784111777},
        {"Sun Nov  6 08:49:37 1994", 784111777},       {"Wed, 31 Dec 1969 23:59:59 GMT", -1},
        {"Thu, 29 Feb 2024 23:59:60 GMT", 1709251199}, {"Fri, 01-Jan-69 00:00:00 GMT", 3124224000}};
    for (const auto& [text, time] : rows) EXPECT_EQ(parseHttpDate(text), time) << text;
    for (const char* text :
         {"Wed, 29 Feb 2023 00:00:00 GMT", "Sun, 06 Nov 1994 24:00:00 GMT", "Sun, 06 Nov 1994 8:49:37 GMT",
          "Sun, 06 Nov 1994 08:49:37 CET", "Sun, 06 anF 1994 08:49:37 GMT", "Sun, 6 Nov 94a 08:49:37 GMT",
          "Sun, 06 Nov 1994 08:49:37 GMT and so on", "0", ""})
        EXPECT_EQ(parseHttpDate(text), std::nullopt) << text;
}

TEST(HttpAddress, RedirectsLeadToHttpAddressesOnly) {
    const HttpAddress from{.host = "host", .port = 8080, .page = "/a/b/c?query=/x/y"};
    const auto target = [&](const std::string& location) {
        const auto found = redirectTarget(location, from);
        return found ? hostAndPort(*found) + found->page : "none";
    };
    expectRows(target, {"http://other -> other/", "http://other:80?x -> other/?x", "//other/x -> other/x",
                        "http://[::1]:81/x -> [::1]:81/x", "HTTP://other:81/x/../y?z/../w#part -> other:81/y?z/../w",
                        "/x -> host:8080/x", "x -> host:8080/a/b/x", "../../../x/. -> host:8080/x/",
                        "./.. -> host:8080/a/", "?x -> host:8080/a/b/c?x"});
    for (const char* location :
         {"", "#part", "https://other/x", "file:///etc/passwd", "javascript:x", "http:/x", "http:///x",
          "http://user@other/x", "http://other:0/x", "http://other:65536/x", "http://other:99999999999999999999/x",
          "http://other:8x/x", "http://[::1", "http://[::1]x/", "/x y", "/x\r\nHost: evil", "http://other\t/x"})
        EXPECT_EQ(target(location), "none") << location;
}
