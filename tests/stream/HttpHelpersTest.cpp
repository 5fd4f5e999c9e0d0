// Pages over http as files, from servers on this machine.
#include <UT/UT_Path.h>
#include <UT/UT_StringArray.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/FS_Info.h>
#include <stream/HttpPages.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>

#include "../support/Rules.h"
#include "../support/WebServers.h"
#include "Streams.h"

namespace {

namespace fs = std::filesystem;

constexpr int kTime = 784111777;

std::string ok(const std::string& body) {
    return "HTTP/1.1 200 OK\r\nLast-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n\r\n" + body;
}

// The pages of a process are known by host and page alone, so each server gets pages of its own.
std::string page(const std::string& ending = "") {
    static int count = 0;
    return "/page" + std::to_string(++count) + ending;
}

std::string errorText(const std::string& url) {
    return FS_HttpReadHelper::getErrorText(url.c_str());
}

// Pages lie in a directory of their own.
class HttpHelpers : public testing::Test {
protected:
    const ScratchDir pages_;
    const WithVariable directory_{"TMPDIR", pages_.path().c_str()};
};

TEST(HttpPath, IsTakenApart) {
    const auto parts = [](const Columns& c) {
        const auto address = parseHttpPath(c[0].c_str());
        return address ? address->host + ' ' + std::to_string(address->port) + ' ' + address->page : "none";
    };
    expectRules(TARVANI_RULES "/http.rules", {{"parts", parts}});
    EXPECT_FALSE(parseHttpPath(nullptr));
}

TEST_F(HttpHelpers, APageIsFetchedOnceAndReadLikeAFileWithItsSections) {
    const std::string bytes =
        packedContainer({{"geo", "points", 1000}, {"in", packedContainer({{"x", "deep", 7}})}}, "a\r\n");
    ScriptedServer server(ok(bytes));
    const std::string url = server.url(page("/x%20y.idx")), section = url + "?geo";
    FS_Info info(url.c_str());
    UT_StringArray names;
    EXPECT_TRUE(UTisAbsolutePath(url.c_str()));
    EXPECT_EQ((std::string{FS_Info::getNextSepChar(url.c_str()), FS_Info::getPrevSepChar(url.c_str())}), "//");
    EXPECT_FALSE(info.getIsDirectory() || info.getContents(names, nullptr, nullptr, nullptr));
    EXPECT_EQ(server.requests().size(), 0u) << "no question yet that takes the page";
    EXPECT_FALSE(info.hasAccess(7));
    EXPECT_EQ(server.requests().size(), 1u) << "fetched whatever is asked";
    for (int mode = 0; mode < 8; ++mode) EXPECT_EQ(info.hasAccess(mode), mode < 2) << mode;
    EXPECT_EQ(info.getFileDataSize(), static_cast<int>(bytes.size()));
    EXPECT_EQ(info.getModTime(), kTime);
    const FS_Reader reader(url.c_str());
    EXPECT_EQ(readAll(*reader.getStream()), bytes);
    EXPECT_EQ(reader.getModTime(), kTime);
    const std::string file = fileNameOf(reader);
    EXPECT_TRUE(file.starts_with(pages_.path("tarvani-")) && file.ends_with("-x_20y.idx")) << file;

    for (const auto& [path, content] :
         Sections{{section, "points"}, {url + "?in?x", "deep"}, {url + "?no", "not good"}})
        EXPECT_EQ(bytesAt(path), content);
    EXPECT_EQ(FS_Info(section.c_str()).getFileDataSize(), 6);
    EXPECT_FALSE(FS_Info(section.c_str()).hasAccess(2));
    for (const std::string& dest : {url, section}) EXPECT_FALSE(FS_Writer(dest.c_str()).finish()) << "not served";
    // With the port of nobody: only host and page count.
    EXPECT_EQ(bytesAt("http:/127.0.0.1:1" + url.substr(url.rfind("/page"))), bytes);
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, AFetchThatFailsLeavesNothingAndIsTriedAgain) {
    const std::string answers[] = {"HTTP/1.1 503 Not Now\r\n\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf",
                                   ok("at last")};
    int round = 0;
    const ScriptedServer server([&](const Peer& peer, const std::string&) { peer.send(answers[round++]); });
    const std::string url = server.url(page());
    EXPECT_FALSE(FS_Info(url.c_str()).hasAccess(0));
    EXPECT_EQ(errorText(url), "503 Not Now");
    EXPECT_EQ(bytesAt(url), "not good");
    EXPECT_EQ(errorText(url), "the page is cut short");
    EXPECT_EQ(errorText("http://127.0.0.1/else"), "");
    EXPECT_THAT(pages_.names(), IsEmpty());
    EXPECT_EQ(bytesAt(url), "at last");
    EXPECT_EQ(errorText(url), "");
}

TEST_F(HttpHelpers, ThePagesGoWithTheProcessThatFetchedThem) {
    ScriptedServer server(ok("x"));
    const std::string first = server.url(page()), second = server.url(page()), third = server.url(page());
    // What a program that reads and ends by exit leaves in the directory.
    const auto leftBy = [&](const std::function<void()>& reads) {
        checkInChild(false, [&] {
            reads();
            std::exit(HasFailure() ? 1 : 0);
        });
        return pages_.names();
    };
    const auto parent = [&] {
        EXPECT_EQ(bytesAt(first) + bytesAt(second), "xx");
        // A child has its parent's pages, fetches its own, and takes only those away.
        EXPECT_EQ(leftBy([&] { EXPECT_EQ(bytesAt(first) + bytesAt(third), "xx"); }).size(), 2u);
        EXPECT_EQ(bytesAt(first), "x");
    };
    EXPECT_THAT(leftBy(parent), IsEmpty());
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(HttpHelpers, WhatTookThePlaceOfACopyIsNotRead) {
    ScriptedServer server(ok("the page"));
    const std::string url = server.url(page());
    const FS_Reader before(url.c_str());
    const std::string file = fileNameOf(before), kept = pages_.path("kept"), other = pages_.write("other", "another's");
    const auto expectNone = [&](const char* instead) {
        const FS_Info info(url.c_str());
        EXPECT_EQ(bytesAt(url), "not good") << instead;
        EXPECT_FALSE(info.hasAccess(0) || info.getModTime() || info.getFileDataSize()) << instead;
    };
    fs::rename(file, kept);
    expectNone("no file");
    fs::create_symlink(other, file);
    expectNone("a link");
    fs::rename(other, file);
    expectNone("another file");
    fs::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0666), 0);
    expectNone("a pipe");
    fs::rename(kept, file);
    // With a number that was free again. Only the superuser gives files away.
    if (::chown(file.c_str(), 65534, 65534) == 0) expectNone("a file of somebody else");
    ASSERT_EQ(::chown(file.c_str(), ::geteuid(), ::getegid()), 0);
    EXPECT_EQ(bytesAt(url), "the page") << "it is there again";
    EXPECT_EQ(readAll(*before.getStream()), "the page");
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(HttpHelpers, APageThatCannotBeStoredWholeIsNone) {
    const ScriptedServer server(ok(std::string(300'000, 'x')));
    const std::string url = server.url(page());
    checkInChild(false, [&] {
        const rlimit small{100'000, 100'000};
        ::signal(SIGXFSZ, SIG_IGN);
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        EXPECT_EQ(bytesAt(url), "not good");
        EXPECT_EQ(errorText(url), "temporary file: File too large");
        EXPECT_THAT(pages_.names(), IsEmpty());
    });
    const WithVariable nowhere("TMPDIR", pages_.path("none").c_str());
    EXPECT_EQ(bytesAt(url), "not good");
    EXPECT_THAT(errorText(url), HasSubstr("no temporary file: "));
}

}  // namespace
