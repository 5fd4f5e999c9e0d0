// Pages over http as files, from servers on this machine.
#include <UT/UT_Path.h>
#include <UT/UT_StringArray.h>
#include <stream/FS_HttpInfoHelper.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/FS_Info.h>
#include <stream/FS_Writer.h>
#include <stream/HttpPages.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>

#include "../support/Child.h"
#include "../support/Container.h"
#include "../support/Environment.h"
#include "../support/ScratchDir.h"
#include "../support/WebServers.h"
#include "Reading.h"

namespace {

constexpr char kDate[] = "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n";
constexpr int kTime = 784111777;

std::string ok(const std::string& body) {
    return std::string("HTTP/1.1 200 OK\r\n") + kDate + "\r\n" + body;
}

// The pages of a process are known by host and page alone, so each server gets pages of its own.
std::string page(const std::string& ending = "") {
    static int count = 0;
    return "/page" + std::to_string(++count) + ending;
}

// Pages lie in a directory of their own.
class HttpHelpers : public testing::Test {
protected:
    // What a program that does `work` and ends by exit leaves in the directory.
    std::vector<std::string> leftBy(const std::function<void()>& work) {
        EXPECT_EQ(inChild([&] {
                      work();
                      std::exit(testing::Test::HasFailure() ? 1 : 0);
                      return false;
                  }),
                  0);
        return pages_.names();
    }

    ScratchDir pages_;
    const WithVariable directory_{"TMPDIR", pages_.path().c_str()};
};

}  // namespace

TEST(HttpPath, IsTakenApart) {
    const struct {
        const char* path;
        std::string host;  // empty: no address
        int port = 80;
        std::string page = "/";
    } cases[] = {
        {"http://host/d/page", "host", 80, "/d/page"},
        {"http:/host/page", "host", 80, "/page"},
        {"http:host/page", "host", 80, "/page"},
        {"http:////host//page", "host", 80, "//page"},
        {"http://host", "host"},
        {"http://host:8080/page", "host", 8080, "/page"},
        {"http://host:8080", "host", 8080},
        {"http://host:", "host", 0},
        {"http://host:x/", "host", 0},
        {"http://host:80x/", "host", 80},
        {"http://host:-1/", "host", -1},
        {"http://host:99999999999999999999/", "host", 2147483647},
        {"http:///page", "page"},
        {"http:///", ""},
        {"http:", ""},
        {"http://:80/page", ""},
        {"HTTP://host/", ""},
        {"https://host/", ""},
        {"file:http://host/", ""},
        {"", ""},
        {nullptr, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path ? c.path : "null");
        const auto address = parseHttpPath(c.path);
        ASSERT_EQ(address.has_value(), !c.host.empty());
        if (!address) continue;
        EXPECT_EQ(address->host, c.host);
        EXPECT_EQ(address->port, c.port);
        EXPECT_EQ(address->page, c.page);
    }
}

TEST_F(HttpHelpers, APageIsFetchedOnceAndAnsweredFromItsCopy) {
    const std::string bytes("a\0page\r\n", 8);
    ScriptedServer server(ok(bytes));
    const std::string url = server.url(page("/x%20y.idx"));
    const FS_Info info(url.c_str());
    EXPECT_EQ(FS_Info::getNextSepChar(url.c_str()), '/');
    EXPECT_EQ(FS_Info::getPrevSepChar(url.c_str()), '/');
    EXPECT_FALSE(info.getIsDirectory());
    UT_StringArray names;
    EXPECT_FALSE(FS_HttpInfoHelper(*std::make_unique<FS_HttpInfoHelper>()).getContents(url.c_str(), names, nullptr));
    EXPECT_EQ(server.requests().size(), 0u);

    for (const int mode : {0, 1}) EXPECT_TRUE(info.hasAccess(mode)) << mode;
    for (const int mode : {2, 3, 4, 5, 6, 7}) EXPECT_FALSE(info.hasAccess(mode)) << mode;
    EXPECT_TRUE(info.fileExists());
    EXPECT_EQ(info.getFileDataSize(), 8);
    EXPECT_EQ(info.getModTime(), kTime);
    const FS_Reader reader(url.c_str());
    EXPECT_EQ(bytesOf(reader.getStream()), bytes);
    EXPECT_EQ(reader.getModTime(), kTime);
    EXPECT_EQ(reader.getLength(), 8);

    const std::string file = fileNameOf(reader);
    EXPECT_TRUE(file.starts_with(pages_.path("tarvani-")) && file.ends_with("-x_20y.idx")) << file;
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    EXPECT_EQ(status.st_mtime, kTime);

    // With the port of nobody: only host and page count.
    const std::string other = "http:/127.0.0.1:1" + url.substr(url.rfind("/page"));
    EXPECT_EQ(bytesAt(other), bytes);
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(UTisAbsolutePath(url.c_str()), true);
}

TEST_F(HttpHelpers, AFetchThatFailsLeavesNothingAndIsTriedAgain) {
    int round = 0;
    ScriptedServer server([&](const Peer& peer, const std::string&) {
        const char* const answers[] = {"HTTP/1.1 503 Not Now\r\n\r\n",
                                       "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"};
        peer.say(round < 6 ? answers[round++ % 2] : ok("at last"));
    });
    const std::string url = server.url(page());
    const FS_Info info(url.c_str());
    EXPECT_FALSE(info.hasAccess(0));
    EXPECT_STREQ(FS_HttpReadHelper::getErrorText(url.c_str()), "503 Not Now");
    EXPECT_EQ(info.getModTime(), 0);
    EXPECT_STREQ(FS_HttpReadHelper::getErrorText(url.c_str()), "the page is cut short");
    EXPECT_STREQ(FS_HttpReadHelper::getErrorText("http://127.0.0.1/else"), "");
    EXPECT_EQ(info.getFileDataSize(), 0);
    FS_HttpReadHelper helper;
    EXPECT_EQ(helper.createStream(url.c_str()), nullptr);
    FS_HttpReadHelper copy(helper);  // is never asked
    FS_Reader missing(url.c_str());
    EXPECT_FALSE(missing.isGood());
    EXPECT_EQ(fileNameOf(missing), url);
    EXPECT_EQ(pages_.names().size(), 0u);
    EXPECT_EQ(round, 6) << "two helpers were asked for the last one";
    EXPECT_EQ(bytesAt(url), "at last");
    EXPECT_STREQ(FS_HttpReadHelper::getErrorText(url.c_str()), "");
}

TEST_F(HttpHelpers, OtherPathsAskNoServer) {
    ScriptedServer server(ok("x"));
    FS_HttpReadHelper reader;
    FS_HttpInfoHelper info;
    const std::string url = server.url("/"), upper = "HTTP" + url.substr(4), colon = "http:///";
    for (const std::string& path : {upper, colon, "file:" + url, std::string("/etc/passwd"), std::string()}) {
        EXPECT_EQ(reader.createStream(path.c_str()), nullptr) << path;
        EXPECT_FALSE(info.canHandle(path.c_str())) << path;
        EXPECT_FALSE(info.hasAccess(path.c_str(), 0)) << path;
    }
    EXPECT_FALSE(FS_Writer(url.c_str()).finish()) << "writing isn't served";
    EXPECT_EQ(server.requests().size(), 0u);
    EXPECT_EQ(pages_.names().size(), 0u);
}

TEST_F(HttpHelpers, SectionsOfAContainerBehindHttp) {
    ScriptedServer server(ok(packedContainer({{"geo", "points", 1000}, {"in", packedContainer({{"x", "deep", 7}})}})));
    const std::string url = server.url(page(".idx"));
    EXPECT_EQ(bytesAt(url + "?geo"), "points");
    EXPECT_EQ(bytesAt(url + "?in?x"), "deep");
    EXPECT_EQ(bytesAt(url + "?none"), "not good");
    EXPECT_EQ(FS_Info((url + "?geo").c_str()).getFileDataSize(), 6);
    EXPECT_FALSE(FS_Info((url + "?geo").c_str()).hasAccess(2));
    UT_StringArray names;
    EXPECT_TRUE(FS_Info(url.c_str()).getIsDirectory() == false &&
                !FS_Info(url.c_str()).getContents(names, nullptr, nullptr, nullptr));
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, ThePagesGoWithTheProcessThatFetchedThem) {
    ScriptedServer server(ok("x"));
    const std::string first = server.url(page()), second = server.url(page()), third = server.url(page());
    EXPECT_TRUE(leftBy([&] {
                    EXPECT_EQ(bytesAt(first), "x");
                    EXPECT_EQ(bytesAt(second), "x");
                    // A child has its parent's pages, fetches its own, and takes only those away.
                    EXPECT_EQ(leftBy([&] {
                                  EXPECT_EQ(bytesAt(first), "x");
                                  EXPECT_EQ(bytesAt(third), "x");
                                  EXPECT_EQ(pages_.names().size(), 3u);
                              }).size(),
                              2u);
                    EXPECT_EQ(bytesAt(first), "x");
                }).empty());
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(HttpHelpers, WhatTookThePlaceOfACopyIsNotRead) {
    ScriptedServer server(ok("the page"));
    const std::string url = server.url(page());
    FS_Reader before(url.c_str());
    const std::string file = fileNameOf(before);
    const std::string other = pages_.write("other", "another's");
    const auto expectNothing = [&](const char* what) {
        EXPECT_EQ(bytesAt(url), "not good") << what;
        EXPECT_EQ(FS_Info(url.c_str()).getModTime(), 0) << what;
        EXPECT_EQ(FS_Info(url.c_str()).getFileDataSize(), 0) << what;
    };
    ASSERT_EQ(::rename(file.c_str(), pages_.path("kept").c_str()), 0);
    expectNothing("no file");
    ASSERT_EQ(::symlink(other.c_str(), file.c_str()), 0);
    expectNothing("a link");
    ASSERT_EQ(::rename(other.c_str(), file.c_str()), 0);
    expectNothing("another file");
    ASSERT_EQ(::unlink(file.c_str()), 0);
    ASSERT_EQ(::mkfifo(file.c_str(), 0666), 0);
    expectNothing("a pipe");
    ASSERT_EQ(::rename(pages_.path("kept").c_str(), file.c_str()), 0);
    EXPECT_EQ(bytesAt(url), "the page");
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
        expectNothing("a file of somebody else, with a number that was free again");
        ASSERT_EQ(::chown(file.c_str(), 0, 0), 0);
    }
    EXPECT_EQ(bytesOf(before.getStream()), "the page");
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, APageThatCannotBeStoredWholeIsNone) {
    ScriptedServer server(ok(std::string(300'000, 'x')));
    const std::string url = server.url(page());
    EXPECT_EQ(inChild([&] {
                  const rlimit small{100'000, 100'000};
                  ::signal(SIGXFSZ, SIG_IGN);
                  return ::setrlimit(RLIMIT_FSIZE, &small) == 0 && bytesAt(url) == "not good" &&
                         std::string(FS_HttpReadHelper::getErrorText(url.c_str())) ==
                             "temporary file: File too large" &&
                         pages_.names().empty();
              }),
              0);
    const WithVariable nowhere("TMPDIR", pages_.path("none").c_str());
    EXPECT_FALSE(FS_Info(url.c_str()).fileExists());
    EXPECT_EQ(bytesAt(url), "not good");
    EXPECT_EQ(server.requests().size(), 1u);
}

class RealServers : public HttpHelpers, public testing::WithParamInterface<RealServer::Kind> {};

TEST_P(RealServers, ServeFilesAsTheyAre) {
    if (!RealServer::isInstalled(GetParam())) GTEST_SKIP() << "the server isn't installed";
    const ScratchDir served, scratch;
    std::string large(3'000'000, '\0');
    for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * i >> 8);
    const std::string name = page(), empty = page(), directory = page();
    served.write(name.substr(1), large);
    served.write(empty.substr(1), "");
    served.setTime(name.substr(1), kTime);
    served.write(directory.substr(1) + "/entry", "");
    const RealServer server(GetParam(), served.path(), scratch.path());
    const FS_Reader reader(server.url(name).c_str());
    EXPECT_TRUE(bytesOf(reader.getStream()) == large);
    EXPECT_EQ(reader.getModTime(), kTime);
    EXPECT_TRUE(FS_Info(server.url(empty).c_str()).fileExists());
    EXPECT_EQ(bytesAt(server.url(empty)), "");
    EXPECT_EQ(bytesAt(server.url(page())), "not good");
    // A redirect first, to the name with "/" behind it; and what nginx lists comes in chunks.
    EXPECT_NE(bytesAt(server.url(directory)).find("entry"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Http, RealServers, testing::Values(RealServer::Python, RealServer::Nginx),
                         [](const auto& kind) { return kind.param == RealServer::Nginx ? "Nginx" : "Python"; });
