// Addresses as paths of the command.
#include "../support/WebServers.h"
#include "TarvaniCommand.h"

namespace {

class HttpCommands : public TarvaniCommand {
protected:
    // What the server of the page `file` has under that name; everything else is missing.
    ScriptedServer::Answer serves(const std::string& file) {
        return [this, file](const Peer& peer, const std::string& request) {
            const bool found = request.starts_with("GET /" + file + " ");
            peer.say(found ? "HTTP/1.1 200 OK\r\nLast-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n\r\n" + dir_.read(file)
                           : "HTTP/1.1 404 Not Found\r\n\r\n");
        };
    }
};

}  // namespace

TEST_F(HttpCommands, APageIsReadLikeAFile) {
    const std::string bytes = "a page\n" + std::string(300'000, '\0');
    dir_.write("page", bytes);
    ScriptedServer server(serves("page"));
    const std::string url = server.url("/page");
    EXPECT_EQ(printed({"cat", url, url}), bytes + bytes);
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(printed({"cp", url, "x.idx?copy"}), "");
    EXPECT_EQ(printed({"cat", "x.idx?copy"}), bytes);
    EXPECT_EQ(printed({"stat", url}), "path: " + url +
                                          "\nexists: true\ndirectory: false\nsize: 300007\nmodified: 784111777\n"
                                          "readable: true\nwritable: false\n");
    EXPECT_EQ(printed({"stat", url + "x"}), "path: " + url +
                                                "x\nexists: false\ndirectory: false\nsize: 0\nmodified: 0\n"
                                                "readable: false\nwritable: false\n");
    EXPECT_TRUE(temporaries().empty());
}

TEST_F(HttpCommands, AContainerBehindAnAddressIsListedAndRead) {
    pack("x.idx", {"a", "b"});
    ScriptedServer server(serves("x.idx"));
    const std::string url = server.url("/x.idx");
    EXPECT_EQ(printed({"cat", url + "?b"}), "b");
    EXPECT_EQ(printed({"ls", url}), "a\nb\n");
    EXPECT_EQ(printed({"index", "list", url}), "1\t1000\ta\n1\t1000\tb\n");
    EXPECT_EQ(printed({"cp", url + "?a", "y.idx?in?a"}), "");
    EXPECT_EQ(printed({"cat", "y.idx?in?a"}), "a");
    EXPECT_NE(printed({"stat", url + "?a"}).find("size: 1\nmodified: 1000\nreadable: true\nwritable: false\n"),
              std::string::npos);
    EXPECT_TRUE(temporaries().empty());
}

TEST_F(HttpCommands, AFailureSaysWhatTheServerSaid) {
    pack("x.idx", {"a", "b"});
    ScriptedServer server(serves("x.idx"));
    int refused = 0;
    ::close(listenSomewhere(refused));
    const std::string url = server.url("/x.idx"), nobody = "http://127.0.0.1:" + std::to_string(refused) + "/x";
    const struct {
        Words words;
        std::string line;
    } cases[] = {
        {{"cat", url + "x"}, url + "x: 404 Not Found"},
        {{"cat", url + "x?a"}, url + "x?a: " + url + "x: 404 Not Found"},
        {{"cat", url + "?c"}, url + "?c: no section \"c\" (2 sections: a, b)"},
        {{"cat", nobody}, nobody + ": Connection refused"},
        {{"cat", "http://127.0.0.1/a b"}, "http://127.0.0.1/a b: a blank or a control character in the page"},
        {{"cat", "http:///"}, "http:///: can't be opened"},
        {{"cp", "x.idx", url}, url + ": can only be read"},
        {{"cp", "x.idx", url + "?new"}, url + "?new: " + url + ": can only be read"},
        {{"rm", url}, url + ": only files and sections can be removed"},
    };
    for (const auto& c : cases) EXPECT_EQ(failure(c.words), "tarvani: " + c.line);
    EXPECT_EQ(server.requests().size(), 5u) << "each is asked for once";
    EXPECT_TRUE(temporaries().empty());
}
