// Fetches over a real socket, from servers that behave as no server should.
#include <UT/UT_WebConnection.h>
#include <UT/UT_WorkBuffer.h>
#include <UT/WebFetch.h>
#include <gmock/gmock.h>

#include <ctime>

#include "../support/Network.h"
#include "../support/Rules.h"
#include "../support/WebServers.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct Page {
    std::string body, header, error;
    int time = 0;
};

Page retrieve(const std::string& host, int port, const std::string& page) {
    UT_WebConnection web;
    web.setHostName(host.c_str());
    web.setPageName(page.c_str());
    UT_WorkBuffer body(std::string_view("old")), header(std::string_view("old"));
    web.port = 0;
    EXPECT_FALSE(web.retrievePage(body, header)) << "and no later fetch knows of that";
    web.port = port;
    const bool good = web.retrievePage(body, header);
    const Page got{std::string(body.view()), std::string(header.view()), web.getErrorText(), web.getModTime()};
    EXPECT_EQ(good, got.error.empty());
    EXPECT_TRUE(good || (got.body.empty() && got.time == 0)) << "a failed fetch left something";
    return got;
}

Page retrieve(const ScriptedServer& server, const std::string& page = "/page") {
    return retrieve("127.0.0.1", server.port(), page);
}

// The body that the server at a port gives, or what is wrong with it.
std::string fetch(int port, const WebLimits& limits) {
    std::string body;
    const auto take = [&](std::string_view piece) { return body += piece, true; };
    const std::string error = fetchPage({.host = "127.0.0.1", .port = port, .page = "/"}, take, limits).error;
    return error.empty() ? body : error;
}

// Within limits that nobody has to wait for.
std::string fetched(const Columns& row) {
    const std::string then = row.size() > 1 ? row[1] : "";
    const ScriptedServer server([&](const Peer& peer, const std::string&) {
        peer.send(row[0]);
        if (then == "waits") return static_cast<void>(peer.hasEnded());
        if (then == "resets") return peer.reset();
        while (!then.empty() && peer.send(then)) ::poll(nullptr, 0, 1);
    });
    WebLimits limits{.answer = {.body = 1'000'000}};
    if (then == "waits") limits.silenceMs = 50;
    if (then == "x") limits.paceMs = 50, limits.paceBytes = 10'000;
    return fetch(server.port(), limits);
}

std::string ok(const std::string& body, const std::string& fields = "") {
    return "HTTP/1.1 200 OK\r\n" + fields + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace

TEST(WebConnection, HoldsItsRulesWhateverTheServerDoes) {
    const auto before = descriptors();
    expectRules(TARVANI_RULES "/fetches.rules", {{"fetched", fetched}});
    EXPECT_EQ(descriptors(), before);
}

TEST(WebConnection, AsksForOnePageAndGivesItWithItsTime) {
    const std::string bytes("a\0b\r\n", 5);
    ScriptedServer server(ok(bytes, "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n"));
    const Page page = retrieve(server, "/d/page?x#part");
    EXPECT_EQ(page.body, bytes);
    EXPECT_EQ(page.time, 784111777);
    EXPECT_THAT(page.header, StartsWith("HTTP/1.1 200 OK\r\nLast-Modified: "));
    EXPECT_THAT(server.requests(),
                ElementsAre("GET /d/page?x HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                            "\r\nConnection: close\r\nAccept-Encoding: identity\r\n\r\n"));
    // Without a time of its own it gets that of the fetch. "localhost" is ::1 first, and nobody listens there.
    const std::time_t before = std::time(nullptr);
    for (const char* fields : {"", "Last-Modified: yesterday\r\n"}) {
        const ScriptedServer timeless(ok("x", fields));
        const int time = retrieve("localhost", timeless.port(), "/").time;
        EXPECT_TRUE(before <= time && time <= std::time(nullptr)) << time;
    }
    const ScriptedServer failing("HTTP/1.1 404 Not Found\r\n\r\n"),
        endless("HTTP/1.1 200 OK\r\nContent-Length: 2147483648\r\n\r\n"),
        cutShort("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhello");
    EXPECT_THAT(retrieve(failing).header, StartsWith("HTTP/1.1 404 Not Found"));
    EXPECT_EQ(retrieve(endless).error, "a length that is none, or too long a page");
    EXPECT_EQ(retrieve(cutShort).error, "the page is cut short");
}

TEST(WebConnection, FollowsFiveRedirectsAndNoMore) {
    ScriptedServer server([](const Peer& peer, const std::string& request) {
        const int left = request[5] - '0', statuses[] = {301, 302, 303, 307, 308};
        peer.send(left == 0 ? ok("the end")
                            : "HTTP/1.1 " + std::to_string(statuses[left % 5]) +
                                  " Elsewhere\r\nLocation: " + std::to_string(left - 1) + "\r\n\r\n");
    });
    EXPECT_EQ(retrieve(server, "/5").body, "the end");
    EXPECT_EQ(server.requests().size(), 6u);
    EXPECT_EQ(retrieve(server, "/6").error, "too many redirects");
    EXPECT_EQ(server.requests().size(), 12u);
}

TEST(WebConnection, NothingIsSentForWhatCouldForgeARequest) {
    ScriptedServer server(ok("x"));
    for (const char* page : {"", "page", "/a b", "/x\r\nHost: evil", "/\x7f", "/\t"})
        EXPECT_NE(retrieve(server, page).error, "") << page;
    for (const char* host : {"", "a b", "127.0.0.1\r\nX: y", "no.such.host.invalid"})
        EXPECT_NE(retrieve(host, server.port(), "/").error, "") << host;
    for (const int port : {0, -1, 65536}) EXPECT_EQ(retrieve("127.0.0.1", port, "/").error, "no such port");
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(WebConnection, ConnectingHasAnEnd) {
    int port = 0;
    const int listening = listenSomewhere(port, 0);
    const Client first(port);  // whoever comes when the queue is full gets no answer at all
    EXPECT_EQ(fetch(port, {.connectMs = 50}), "Connection timed out");
    ::close(listening);
    EXPECT_EQ(fetch(port, {}), "Connection refused");
}
