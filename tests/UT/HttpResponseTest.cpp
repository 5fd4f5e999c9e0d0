// Answers, dates and redirects as text, without a server.
#include <UT/HttpAddress.h>
#include <UT/HttpDate.h>
#include <UT/HttpResponse.h>
#include <gtest/gtest.h>

#include "../support/Rules.h"

namespace {

const std::string kOk = "HTTP/1.1 200 OK\r\n";

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

// What an answer that begins so means, in whatever pieces it comes.
Rule behind(const std::string& beginning) {
    return [=](const Columns& row) {
        const std::string meaning = readIn(beginning + row[0], 5000);
        for (const std::size_t size : {1u, 2u, 7u}) EXPECT_EQ(readIn(beginning + row[0], size), meaning);
        return meaning;
    };
}

// The field whose name the last column gives.
std::string fieldOf(const Columns& row) {
    HttpResponse response;
    const std::string bytes = kOk + row[0] + "\r\n\r\n";
    std::string_view input = bytes;
    response.next(input);
    EXPECT_EQ(response.header(), bytes);
    return std::string(response.field(row[1]).value_or("none"));
}

std::string dateOf(const Columns& row) {
    const auto time = parseHttpDate(row[0]);
    return time ? std::to_string(*time) : "none";
}

std::string targetOf(const Columns& row) {
    const HttpAddress from{.host = "host", .port = 8080, .page = "/a/b/c?query=/x/y"};
    const auto found = redirectTarget(row[0], from);
    return found ? hostAndPort(*found) + found->page : "none";
}

}  // namespace

TEST(HttpRules, HoldForEachRow) {
    expectRules(TARVANI_RULES "/http.rules", {{"answer", behind("")},
                                              {"ok", behind(kOk)},
                                              {"chunks", behind(kOk + "Transfer-Encoding: Chunked\r\n\r\n")},
                                              {"field", fieldOf},
                                              {"date", dateOf},
                                              {"redirect", targetOf}});
}
