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
    expect({{"cat " + url + " " + url, bytes + bytes}});
    EXPECT_EQ(server.requests().size(), 1u);
    expect({{"cp " + url + " x.idx?copy"},
            {"cat x.idx?copy", bytes},
            {"stat " + url, "path: " + url +
                                "\nexists: true\ndirectory: false\nsize: 300007\nmodified: 784111777\n"
                                "readable: true\nwritable: false\n"},
            {"stat " + url + "x", testing::StartsWith("path: " + url + "x\nexists: false\n")}});
}

TEST_F(HttpCommands, AContainerBehindAnAddressIsListedAndRead) {
    pack("x.idx", {"a", "b"});
    ScriptedServer server(serves("x.idx"));
    const std::string url = server.url("/x.idx");
    expect({{"cat " + url + "?b", "b"},
            {"ls " + url, "a\nb\n"},
            {"index list " + url, "1\t1000\ta\n1\t1000\tb\n"},
            {"index check " + url, url + ": whole, 2 sections\n"},
            {"cp " + url + "?a y.idx?in?a"},
            {"cat y.idx?in?a", "a"},
            {"stat " + url + "?a", testing::HasSubstr("size: 1\nmodified: 1000\nreadable: true\nwritable: false\n")}});
}

TEST_F(HttpCommands, AFailureSaysWhatTheServerSaid) {
    pack("x.idx", {"a", "b"});
    ScriptedServer server(serves("x.idx"));
    int refused = 0;
    ::close(listenSomewhere(refused));
    const std::string url = server.url("/x.idx"), nobody = "http://127.0.0.1:" + std::to_string(refused) + "/x";
    expect({{"cat " + url + "x", "", url + "x: 404 Not Found"},
            {"cat " + url + "x?a", "", url + "x?a: " + url + "x: 404 Not Found"},
            {"cat " + url + "?c", "", url + "?c: no section \"c\" (2 sections: a, b)"},
            {"cat " + nobody, "", nobody + ": Connection refused"},
            {"cat 'http://127.0.0.1/a b'", "", "http://127.0.0.1/a b: a blank or a control character in the page"},
            {"cat http:///", "", "http:///: can't be opened"},
            {"cp x.idx " + url, "", url + ": can only be read"},
            {"cp x.idx " + url + "?new", "", url + "?new: " + url + ": can only be read"},
            {"rm " + url, "", url + ": only files and sections can be removed"}});
    EXPECT_EQ(server.requests().size(), 5u) << "each is asked for once";
}
