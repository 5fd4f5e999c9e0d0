// Fetches over a real socket, from servers that behave as no server should.
#include <UT/UT_WebConnection.h>
#include <UT/UT_WorkBuffer.h>
#include <UT/WebFetch.h>
#include <gmock/gmock.h>

#include <ctime>

#include "../support/Network.h"
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
    web.port = port;
    UT_WorkBuffer body(std::string_view("old")), header(std::string_view("old"));
    const bool good = web.retrievePage(body, header);
    const Page got{std::string(body.view()), std::string(header.view()), web.getErrorText(), web.getModTime()};
    EXPECT_EQ(good, got.error.empty());
    EXPECT_TRUE(good || (got.body.empty() && got.time == 0)) << "a failed fetch left something";
    return got;
}

Page retrieve(const ScriptedServer& server, const std::string& page = "/page") {
    return retrieve("127.0.0.1", server.port(), page);
}

// What is said of a page within limits that nobody has to wait for.
std::string errorWithin(const WebLimits& limits, int port) {
    return fetchPage(
               {.host = "127.0.0.1", .port = port, .page = "/"}, [](auto) { return true; }, limits)
        .error;
}

// A server that says something, and then the same again and again, or nothing more.
ScriptedServer::Answer says(const std::string& begin, const std::string& more = "", int pauseMs = 0) {
    return [=](const Peer& peer, const std::string&) {
        peer.say(begin);
        if (more.empty()) return peer.wait();
        peer.repeat(more, pauseMs);
    };
}

const std::string kOk = "HTTP/1.1 200 OK\r\n";

std::string ok(const std::string& body, const std::string& fields = "") {
    return kOk + fields + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string redirect(const std::string& location, int status = 302) {
    return "HTTP/1.1 " + std::to_string(status) + " Elsewhere\r\nLocation: " + location + "\r\n\r\n";
}

}  // namespace

TEST(WebConnection, AsksForOnePageAndGivesItWithItsTime) {
    const std::string bytes("a\0b\r\n", 5);
    ScriptedServer server(ok(bytes, "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n"));
    const Page page = retrieve(server, "/d/page?x#part");
    EXPECT_EQ(page.error, "");
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
}

TEST(WebConnection, FollowsFiveRedirectsAndNoMore) {
    ScriptedServer server([](const Peer& peer, const std::string& request) {
        const int left = request[5] - '0', statuses[] = {301, 302, 303, 307, 308};
        peer.say(left > 0 ? redirect(std::to_string(left - 1), statuses[left % 5]) : ok("the end"));
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

TEST(WebConnection, OtherAnswersAreFailuresInTheServersWords) {
    for (const std::string status : {"404 Not Found", "206 Partial Content", "304 Not Modified", "101 Switching"}) {
        const ScriptedServer server("HTTP/1.1 " + status + "\r\nContent-Length: 3\r\n\r\nsee");
        const Page page = retrieve(server);
        EXPECT_EQ(page.error, status);
        EXPECT_THAT(page.header, StartsWith("HTTP/1.1 " + status));
    }
    const ScriptedServer talkative("HTTP/1.1 500 " + std::string(5000, 'x') + "\r\n\r\n");
    EXPECT_EQ(retrieve(talkative).error.size(), 100u);
}

TEST(WebConnection, AnAnswerThatBreaksOffNeverEndsOrLeadsAstrayLeavesNothing) {
    const std::string endless(10'000, 'x');
    const struct {
        const char* error;
        ScriptedServer::Answer answer;
    } cases[] = {
        {"no answer", [](const Peer&, const std::string&) {}},
        {"the page is cut short",
         [](const Peer& peer, const std::string&) { peer.say(kOk + "Content-Length: 9\r\n\r\nhello"); }},
        {"Connection reset by peer",
         [](const Peer& peer, const std::string&) {
             peer.say(kOk + "\r\nhello");
             peer.reset();
         }},
        {"a length that is none, or too long a page", says(kOk + "Content-Length: 2147483648\r\n\r\n", endless)},
        {"the header is too long", says(kOk, "A: " + endless + "\r\n")},
        {"the header is too long", says("", endless)},
        {"a redirect that leads to no http address", says(redirect("https://127.0.0.1/"))},
        {"a redirect that leads to no http address", says(redirect("/x\tHost: evil"))},
        {"a header line that is none", says(redirect("/x\rSet-Cookie: evil"))},
    };
    const auto before = descriptors();
    for (const auto& c : cases) EXPECT_EQ(retrieve(ScriptedServer(c.answer)).error, c.error);
    EXPECT_EQ(descriptors(), before);
}

TEST(WebConnection, NoServerHoldsTheCallerForEver) {
    const WebLimits silence{.silenceMs = 50}, pace{.paceMs = 50, .paceBytes = 10'000};
    for (const std::string& said : {std::string(), std::string("HTTP/1.1"), kOk + "\r\n", kOk + "\r\nsome of it"})
        EXPECT_EQ(errorWithin(silence, ScriptedServer(says(said)).port()), "the server sends nothing") << said;
    for (const std::string& begin : {kOk + "A: ", kOk + "\r\n"})  // a byte now and then, in the header or behind it
        EXPECT_EQ(errorWithin(pace, ScriptedServer(says(begin, "x", 1)).port()), "the server sends too slowly");
    const ScriptedServer endless(says(kOk + "\r\n", std::string(10'000, 'x')));
    EXPECT_EQ(errorWithin({.answer = {.body = 1'000'000}}, endless.port()), "the page is too long");
}

TEST(WebConnection, ConnectingHasAnEnd) {
    int port = 0;
    const int listening = listenSomewhere(port, 0);
    const Client first(port);  // whoever comes when the queue is full gets no answer at all
    EXPECT_EQ(errorWithin({.connectMs = 50}, port), "Connection timed out");
    ::close(listening);
    EXPECT_EQ(errorWithin({}, port), "Connection refused");
}
