// Fetches over a real socket, from servers that behave as no server should.
#include <UT/UT_WebConnection.h>
#include <UT/UT_WorkBuffer.h>
#include <UT/WebFetch.h>
#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>

#include "../support/WebServers.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct Page {
    bool good = false;
    std::string body, header, error;
    int time = 0;
};

Page retrieve(const std::string& host, int port, const std::string& page) {
    UT_WebConnection web;
    web.setHostName(host.c_str());
    web.setPageName(page.c_str());
    web.port = port;
    UT_WorkBuffer body(std::string_view("old")), header(std::string_view("old"));
    Page got;
    got.good = web.retrievePage(body, header);
    got.body = body.view();
    got.header = header.view();
    got.error = web.getErrorText();
    got.time = web.getModTime();
    return got;
}

Page retrieve(const ScriptedServer& server, const std::string& page = "/page") {
    return retrieve("127.0.0.1", server.port(), page);
}

std::string ok(const std::string& body, const std::string& fields = "") {
    return "HTTP/1.1 200 OK\r\n" + fields + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string redirect(const std::string& location) {
    return "HTTP/1.1 302 Found\r\nLocation: " + location + "\r\n\r\n";
}

// What is said of a page within limits that nobody has to wait for.
std::string errorWithin(const WebLimits& limits, const ScriptedServer::Answer& answer) {
    const ScriptedServer server(answer);
    return fetchPage(
               {.host = "127.0.0.1", .port = server.port(), .page = "/"}, [](std::string_view) { return true; }, limits)
        .error;
}

std::size_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

}  // namespace

TEST(WebConnection, AsksForOnePageAndGivesItWithItsTime) {
    const std::string bytes("a\0b\r\n", 5);
    ScriptedServer server(ok(bytes, "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n"));
    const Page page = retrieve(server, "/d/page?x#part");
    EXPECT_TRUE(page.good);
    EXPECT_EQ(page.body, bytes);
    EXPECT_EQ(page.time, 784111777);
    EXPECT_EQ(page.error, "");
    EXPECT_THAT(page.header, StartsWith("HTTP/1.1 200 OK\r\nLast-Modified: "));
    EXPECT_THAT(server.requests(),
                ElementsAre("GET /d/page?x HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                            "\r\nConnection: close\r\nAccept-Encoding: identity\r\n\r\n"));
}

TEST(WebConnection, WithoutATimeItIsThatOfTheFetch) {
    const std::time_t before = std::time(nullptr);
    for (const char* fields : {"", "Last-Modified: yesterday\r\n"}) {
        const ScriptedServer server(ok("x", fields));
        const int time = retrieve(server).time;
        EXPECT_TRUE(before <= time && time <= std::time(nullptr)) << time;
    }
}

TEST(WebConnection, FollowsFiveRedirectsAndNoMore) {
    const auto server = std::make_unique<ScriptedServer>([](const Peer& peer, const std::string& request) {
        const int left = request[5] - '0';
        peer.say(left > 0 ? redirect(std::to_string(left - 1)) : ok("the end"));
    });
    EXPECT_EQ(retrieve(*server, "/5").body, "the end");
    EXPECT_EQ(server->requests().size(), 6u);
    const Page page = retrieve(*server, "/6");
    EXPECT_FALSE(page.good);
    EXPECT_EQ(page.body, "");
    EXPECT_EQ(page.error, "too many redirects");
    EXPECT_EQ(server->requests().size(), 12u);
}

TEST(WebConnection, ARedirectPutsNothingIntoARequestAndLeadsToNoOtherScheme) {
    for (const char* location : {"https://127.0.0.1/", "file:///etc/passwd", "/x\tHost: evil", "/x y", ""}) {
        ScriptedServer server(redirect(location));
        EXPECT_EQ(retrieve(server).error, "a redirect that leads to no http address") << location;
        EXPECT_EQ(server.requests().size(), 1u);
    }
    ScriptedServer forged(redirect("/x\rSet-Cookie: evil"));
    EXPECT_EQ(retrieve(forged).error, "a header line that is none");
}

TEST(WebConnection, NothingIsSentForWhatCouldForgeARequest) {
    ScriptedServer server(ok("x"));
    for (const char* page : {"", "page", "/a b", "/x\r\nHost: evil", "/\x7f", "/\t"}) {
        const Page got = retrieve(server, page);
        EXPECT_FALSE(got.good) << page;
        EXPECT_NE(got.error, "") << page;
    }
    for (const char* host : {"", "a b", "127.0.0.1\r\nX: y"})
        EXPECT_FALSE(retrieve(host, server.port(), "/").good) << host;
    for (const int port : {0, -1, 65536}) EXPECT_EQ(retrieve("127.0.0.1", port, "/").error, "no such port");
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(WebConnection, OtherAnswersAreFailuresInTheServersWords) {
    for (const char* status : {"404 Not Found", "206 Partial Content", "304 Not Modified", "101 Switching"}) {
        const ScriptedServer server(std::string("HTTP/1.1 ") + status + "\r\nContent-Length: 3\r\n\r\nsee");
        const Page page = retrieve(server);
        EXPECT_FALSE(page.good);
        EXPECT_EQ(page.error, status);
        EXPECT_EQ(page.body, "");
        EXPECT_THAT(page.header, StartsWith(std::string("HTTP/1.1 ") + status));
    }
    const ScriptedServer talkative("HTTP/1.1 500 " + std::string(5000, 'x') + "\r\n\r\n");
    EXPECT_EQ(retrieve(talkative).error.size(), 100u);
}

TEST(WebConnection, AnAnswerThatBreaksOffLeavesNothing) {
    enum Then { Close, Reset, GoOn };
    const std::string ok = "HTTP/1.1 200 OK\r\n", endless(10'000, 'x');
    const struct {
        std::string bytes;
        Then then;
        const char* error;
        std::string more = {};
    } cases[] = {
        {"", Close, "no answer"},
        {ok + "Conte", Close, "the header is cut short"},
        {ok + "Content-Length: 9\r\n\r\nhello", Close, "the page is cut short"},
        {ok + "\r\nhello", Reset, "Connection reset by peer"},
        {ok + "Transfer-Encoding: chunked\r\n\r\nfffffffffffffffff\r\n", GoOn,
         "a chunk without a size, or too long a page", endless},
        {ok + "Content-Length: 2147483648\r\n\r\n", GoOn, "a length that is none, or too long a page", endless},
        {ok, GoOn, "the header is too long", "A: " + endless + "\r\n"},
        {"", GoOn, "the header is too long", endless},
    };
    const std::size_t before = openFiles();
    for (const auto& c : cases) {
        const ScriptedServer server([&c](const Peer& peer, const std::string&) {
            peer.say(c.bytes);
            if (c.then == GoOn) peer.repeat(c.more);
            if (c.then == Reset) peer.reset();
        });
        const Page page = retrieve(server);
        EXPECT_FALSE(page.good);
        EXPECT_EQ(page.error, c.error);
        EXPECT_EQ(page.body, "");
        EXPECT_EQ(page.time, 0);
    }
    EXPECT_EQ(openFiles(), before);
}

TEST(WebConnection, NoServerHoldsTheCallerForEver) {
    const std::string head = "HTTP/1.1 200 OK\r\n\r\n";
    for (const std::string& said : {std::string(), head.substr(0, 9), head, head + "some of it"})
        EXPECT_EQ(errorWithin({.silenceMs = 50},
                              [&said](const Peer& peer, const std::string&) {
                                  peer.say(said);
                                  peer.wait();
                              }),
                  "the server sends nothing")
            << said;
    // A byte now and then, in the header or behind it; and more than anybody wants.
    const auto sends = [](const std::string& begin, const std::string& more, int pauseMs) {
        return [=](const Peer& peer, const std::string&) {
            peer.say(begin);
            peer.repeat(more, pauseMs);
        };
    };
    for (const std::string& begin : {std::string("HTTP/1.1 200 OK\r\nA: "), head})
        EXPECT_EQ(errorWithin({.paceMs = 50, .paceBytes = 10'000}, sends(begin, "x", 1)),
                  "the server sends too slowly");
    EXPECT_EQ(errorWithin({.answer = {.body = 1'000'000}}, sends(head, std::string(10'000, 'x'), 0)),
              "the page is too long");
}

TEST(WebConnection, ConnectingHasAnEnd) {
    int port = 0;
    const int listening = listenSomewhere(port, 0);
    // Whoever comes when the queue is full gets no answer at all.
    std::vector<int> queue;
    for (int i = 0; i < 4; ++i) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        queue.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        static_cast<void>(::connect(queue.back(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    }
    const auto nobody = [](std::string_view) { return true; };
    EXPECT_EQ(fetchPage({.host = "127.0.0.1", .port = port}, nobody, {.connectMs = 50}).error, "Connection timed out");
    for (const int fd : queue) ::close(fd);
    ::close(listening);
    EXPECT_EQ(retrieve("127.0.0.1", port, "/").error, "Connection refused");
    EXPECT_NE(retrieve("no.such.host.invalid", 80, "/").error, "");
}

TEST(WebConnection, AHostWithSeveralAddressesIsReachedByTheOneThatListens) {
    // "localhost" is ::1 first where there is IPv6, and nobody listens there.
    const ScriptedServer server(ok("x"));
    EXPECT_EQ(retrieve("localhost", server.port(), "/").body, "x");
}
