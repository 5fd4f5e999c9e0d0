// Pages over http as files, from servers on this machine.
#include <UT/UT_Path.h>
#include <UT/UT_StringArray.h>
#include <stream/FS_HttpInfoHelper.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/FS_Info.h>
#include <stream/HttpPages.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>

#include "../support/WebServers.h"
#include "Streams.h"

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
        checkInChild(false, [&] {
            work();
            std::exit(HasFailure() ? 1 : 0);
        });
        return pages_.names();
    }

    ScratchDir pages_;
    const WithVariable directory_{"TMPDIR", pages_.path().c_str()};
};

TEST(HttpPath, IsTakenApart) {
    const std::pair<const char*, std::string> cases[] = {
        {"http://host/d/page", "host 80 /d/page"},
        {"http:/host/page", "host 80 /page"},
        {"http:host/page", "host 80 /page"},
        {"http:////host//page", "host 80 //page"},
        {"http://host", "host 80 /"},
        {"http://host:8080/page", "host 8080 /page"},
        {"http://host:8080", "host 8080 /"},
        {"http://host:", "host 0 /"},
        {"http://host:80x/", "host 80 /"},
        {"http://host:-1/", "host -1 /"},
        {"http://host:99999999999999999999/", "host 2147483647 /"},
        {"http:///page", "page 80 /"},
    };
    for (const auto& [path, parts] : cases) {
        const HttpAddress address = parseHttpPath(path).value_or(HttpAddress());
        EXPECT_EQ(address.host + ' ' + std::to_string(address.port) + ' ' + address.page, parts) << path;
    }
    for (const char* path : {"http:///", "http:", "http://:80/page", "HTTP://host/", "https://host/", "file:http://h/",
                             "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(parseHttpPath(path)) << path;
}

TEST_F(HttpHelpers, APageIsFetchedOnceAndAnsweredFromItsCopy) {
    const std::string bytes("a\0page\r\n", 8);
    ScriptedServer server(ok(bytes));
    const std::string url = server.url(page("/x%20y.idx"));
    const FS_Info info(url.c_str());
    EXPECT_TRUE(UTisAbsolutePath(url.c_str()));
    EXPECT_EQ(FS_Info::getNextSepChar(url.c_str()), '/');
    EXPECT_EQ(FS_Info::getPrevSepChar(url.c_str()), '/');
    EXPECT_FALSE(info.getIsDirectory());
    UT_StringArray names;
    EXPECT_FALSE(FS_HttpInfoHelper(*std::make_unique<FS_HttpInfoHelper>()).getContents(url.c_str(), names, nullptr));
    EXPECT_EQ(server.requests().size(), 0u) << "no question yet that takes the page";

    EXPECT_FALSE(info.hasAccess(7));
    EXPECT_EQ(server.requests().size(), 1u) << "fetched whatever is asked";
    struct stat status {};
    ASSERT_EQ(pages_.names().size(), 1u);
    ASSERT_EQ(::stat(pages_.path(pages_.names()[0]).c_str(), &status), 0);
    EXPECT_EQ(status.st_atime, kTime);
    for (int mode = 0; mode < 8; ++mode) EXPECT_EQ(info.hasAccess(mode), mode < 2) << mode;
    EXPECT_TRUE(info.fileExists());
    EXPECT_EQ(info.getFileDataSize(), 8);
    EXPECT_EQ(info.getModTime(), kTime);
    const FS_Reader reader(url.c_str());
    EXPECT_EQ(bytesOf(reader.getStream()), bytes);
    EXPECT_EQ(reader.getModTime(), kTime);
    EXPECT_EQ(reader.getLength(), 8);
    const std::string file = fileNameOf(reader);
    EXPECT_TRUE(file.starts_with(pages_.path("tarvani-")) && file.ends_with("-x_20y.idx")) << file;
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    EXPECT_EQ(status.st_mtime, kTime);
    // With the port of nobody: only host and page count.
    EXPECT_EQ(bytesAt("http:/127.0.0.1:1" + url.substr(url.rfind("/page"))), bytes);
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, AFetchThatFailsLeavesNothingAndIsTriedAgain) {
    int round = 0;
    ScriptedServer server([&](const Peer& peer, const std::string&) {
        const char* const answers[] = {"HTTP/1.1 503 Not Now\r\n\r\n",
                                       "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"};
        peer.say(round < 9 ? answers[round++ % 2] : ok("at last"));
    });
    const std::string url = server.url(page());
    const FS_Info info(url.c_str());
    const auto errorText = [&] { return std::string(FS_HttpReadHelper::getErrorText(url.c_str())); };
    EXPECT_FALSE(info.hasAccess(0));
    EXPECT_EQ(errorText(), "503 Not Now");
    EXPECT_EQ(info.getModTime(), 0);
    EXPECT_EQ(errorText(), "the page is cut short");
    EXPECT_STREQ(FS_HttpReadHelper::getErrorText("http://127.0.0.1/else"), "");
    EXPECT_EQ(info.getFileDataSize(), 0);
    FS_HttpReadHelper helper;
    EXPECT_EQ(helper.createStream(url.c_str()), nullptr);
    const FS_HttpReadHelper copy(helper);  // is never asked
    FS_Reader missing(url.c_str());
    EXPECT_FALSE(missing.isGood());
    EXPECT_EQ(fileNameOf(missing), url);
    {
        // A plain file of that name is there for a reader alone.
        const ScratchDir local;
        const InDirectory inside(local.path());
        local.write(url, "a file");
        EXPECT_EQ(bytesAt(url), "a file");
        EXPECT_FALSE(info.hasAccess(0));
    }
    EXPECT_THAT(pages_.names(), IsEmpty());
    EXPECT_EQ(round, 9) << "two helpers were asked for each reader";
    EXPECT_EQ(bytesAt(url), "at last");
    EXPECT_EQ(errorText(), "");
}

TEST_F(HttpHelpers, SectionsOfAContainerBehindHttp) {
    ScriptedServer server(ok(packedContainer({{"geo", "points", 1000}, {"in", packedContainer({{"x", "deep", 7}})}})));
    const std::string url = server.url(page(".idx")), section = url + "?geo";
    EXPECT_EQ(bytesAt(section), "points");
    EXPECT_EQ(bytesAt(url + "?in?x"), "deep");
    EXPECT_EQ(bytesAt(url + "?none"), "not good");
    EXPECT_EQ(FS_Info(section.c_str()).getFileDataSize(), 6);
    EXPECT_FALSE(FS_Info(section.c_str()).hasAccess(2));
    for (const std::string& dest : {url, section}) EXPECT_FALSE(FS_Writer(dest.c_str()).finish()) << "not served";
    UT_StringArray names;
    EXPECT_FALSE(FS_Info(url.c_str()).getContents(names, nullptr, nullptr, nullptr));
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, ThePagesGoWithTheProcessThatFetchedThem) {
    ScriptedServer server(ok("x"));
    const std::string first = server.url(page()), second = server.url(page()), third = server.url(page());
    const auto readAll = [](const std::vector<std::string>& urls) {
        for (const std::string& url : urls) EXPECT_EQ(bytesAt(url), "x");
    };
    const auto parent = [&] {
        readAll({first, second});
        // A child has its parent's pages, fetches its own, and takes only those away.
        EXPECT_EQ(leftBy([&] { readAll({first, third}); }).size(), 2u);
        readAll({first});
    };
    EXPECT_THAT(leftBy(parent), IsEmpty());
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(HttpHelpers, WhatTookThePlaceOfACopyIsNotRead) {
    ScriptedServer server(ok("the page"));
    const std::string url = server.url(page());
    const FS_Reader before(url.c_str());
    const std::string file = fileNameOf(before), kept = pages_.path("kept"), other = pages_.write("other", "another's");
    ASSERT_EQ(::rename(file.c_str(), kept.c_str()), 0);
    const std::pair<const char*, std::function<int()>> places[] = {
        {"no file", [] { return 0; }},
        {"a link", [&] { return ::symlink(other.c_str(), file.c_str()); }},
        {"another file", [&] { return ::rename(other.c_str(), file.c_str()); }},
        {"a pipe", [&] { return ::unlink(file.c_str()) + ::mkfifo(file.c_str(), 0666); }},
        // With a number that was free again.
        {"a file of somebody else",
         [&] { return ::rename(kept.c_str(), file.c_str()) + ::chown(file.c_str(), 65534, 65534); }},
    };
    for (const auto& [what, take] : places) {
        const int failed = take();
        if (failed != 0 && ::geteuid() != 0) continue;  // only the superuser gives files away
        ASSERT_EQ(failed, 0) << what;
        EXPECT_EQ(bytesAt(url), "not good") << what;
        EXPECT_FALSE(FS_Info(url.c_str()).hasAccess(0)) << what;
        EXPECT_EQ(FS_Info(url.c_str()).getModTime(), 0) << what;
        EXPECT_EQ(FS_Info(url.c_str()).getFileDataSize(), 0) << what;
    }
    ASSERT_EQ(::chown(file.c_str(), ::geteuid(), ::getegid()), 0);
    EXPECT_EQ(bytesAt(url), "the page") << "it is there again";
    EXPECT_EQ(bytesOf(before.getStream()), "the page");
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, APageThatCannotBeStoredWholeIsNone) {
    ScriptedServer server(ok(std::string(300'000, 'x')));
    const std::string url = server.url(page());
    checkInChild(false, [&] {
        const rlimit small{100'000, 100'000};
        ::signal(SIGXFSZ, SIG_IGN);
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        EXPECT_EQ(bytesAt(url), "not good");
        EXPECT_STREQ(FS_HttpReadHelper::getErrorText(url.c_str()), "temporary file: File too large");
        EXPECT_THAT(pages_.names(), IsEmpty());
    });
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
    EXPECT_THAT(bytesAt(server.url(directory)), HasSubstr("entry"));
}

INSTANTIATE_TEST_SUITE_P(Http, RealServers, testing::Values(RealServer::Python, RealServer::Nginx),
                         [](const auto& kind) { return kind.param == RealServer::Nginx ? "Nginx" : "Python"; });

}  // namespace
