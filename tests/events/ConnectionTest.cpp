// One connection: what of its bytes becomes a message, and how it ends.
#include "../support/ScriptedSocket.h"
#include "Host.h"

using testing::ElementsAre;
using namespace std::string_literals;

class Connection : public Listeners {
protected:
    void accept(const char* mask = nullptr) {
        service = serve(mask);
        client = std::make_unique<Client>(connect(*service));
        peer = installed.size() == 2 ? installed.back() : nullptr;
    }

    FS_ServerSocketListener* service = nullptr;
    std::unique_ptr<Client> client;
    FS_EventGenerator* peer = nullptr;
};

TEST_F(Connection, ABatchThatEndsInALineFeedNulOr4CompletesTheMessage) {
    constexpr std::size_t kMost = FS_ConnectedSocketListener::kLongestMessage;
    constexpr bool kPause = true, kTogether = false;  // how a batch, and what is one with the next read, goes on
    const std::string read(8190, 'y'), half(kMost / 2, 'x');
    const struct {
        std::deque<ScriptedRead> script;
        std::vector<std::string> messages;
        bool ends = false;
    } cases[] = {
        {{{"one\ntwo\n"}}, {"one\ntwo\n"}},
        {{{"one\ntw", kPause}, {"o", kPause}, {"\n"}}, {"one\ntwo\n"}},
        {{{"stop\4"}}, {"stop\4"}},
        {{{"a\4b", kPause}, {"c\n"}}, {"a\4bc\n"}},
        {{{"a\n", kTogether}, {"b", kPause}, {"c\n", kPause}, {"d\n"}}, {"a\nbc\n", "d\n"}},
        {{{"abc\0"s, kPause}, {"\0"s}}, {"abc\n", "\n"}},
        // A NUL inside cuts off the rest of its batch, whose last byte counts all the same.
        {{{"ab\0cd\n"s}}, {"ab"}},
        {{{"ab\0cd"s, kPause}, {"e\n"}}, {"abe\n"}},
        {{{"ab", kPause}, {"\0cd\n"s}}, {"ab"}},
        {{{"\0ab\n"s, kPause}, {"c\n"}}, {"c\n"}},
        // The last byte of a read, although not of the batch.
        {{{read + "\0z\n"s}}, {read + "\nz\n"}},
        // What waits together with the end is dropped, and so is what was begun.
        {{{"a\n", kPause}, {"b", kPause}, {""}}, {"a\n"}, true},
        {{{"a\n", kTogether}, {""}}, {}, true},
        // Of the codes of a socket only that for "gone" counts.
        {{{"odd\n", kPause, -2}, {"gone\n", kTogether, UT_NetSocket::kGone}}, {"odd\n"}, true},
        // The longest message, and one that is longer.
        {{{half, kPause}, {half.substr(1), kTogether}, {"\n"}}, {half + half.substr(1) + "\n"}},
        {{{half, kPause}, {half, kTogether}, {"\n"}}, {}, true},
    };
    for (const auto& c : cases) {
        messages.clear();
        auto script = c.script;
        ScriptedServer server(script);
        FS_EventGenerator* const listener = new FS_ConnectedSocketListener(server, take, this, nullptr);
        int result = 1;
        while (!script.empty() && result == 1) result = listener->processEvents();
        EXPECT_EQ(result, c.ends ? 0 : 1);
        EXPECT_EQ(isInstalled(listener), !c.ends);
        EXPECT_TRUE(messages == c.messages) << "case " << &c - cases;  // some are too long to be shown
        if (!c.ends) delete listener;
    }
}

TEST_F(Connection, EndsWhenThePeerGoesOrTheCallbackClosesTheSocketOrDeletesTheListener) {
    const std::pair<const char*, std::function<void(UT_NetSocket&)>> cases[] = {
        {"bye\n", [&](UT_NetSocket& socket) { socket.close(); }},
        {"bye\n", [&](UT_NetSocket&) { delete peer; }},
        {"gone\n", nullptr},
    };
    for (const auto& [text, end] : cases) {
        accept();
        answer = [&](UT_NetSocket& socket, const char* message) {
            end(socket);
            EXPECT_STREQ(message, "bye\n");
        };
        arrive(*client, *peer, text);
        EXPECT_TRUE(peer->areEventsWaiting());
        if (!end) client->close();
        EXPECT_TRUE(end || comes(peer->getFileDescriptor(), POLLRDHUP));
        EXPECT_EQ(peer->processEvents(), end ? 1 : 0);
        EXPECT_FALSE(isInstalled(peer));
        EXPECT_TRUE(!end || client->hasEnded());
        delete service;
    }
    EXPECT_EQ(removedDescriptors, std::vector<int>(6, -1));
}

TEST_F(Connection, IsNotServedAgainWhileItsCallbackRuns) {
    accept();
    EXPECT_STREQ(peer->getClassName(), "FS_ConnectedSocketListener");
    answer = [&](UT_NetSocket& socket, const char*) {
        answer = nullptr;
        arrive(*client, *peer, "second\n");
        EXPECT_GT(socket.dataAvailable(0), 0);
        EXPECT_FALSE(peer->areEventsWaiting());
        EXPECT_EQ(peer->processEvents(), 1);
        EXPECT_EQ(socket.write("answer", 6, nullptr, 0), UT_NetSocket::kDone);
    };
    arrive(*client, *peer, "first\n");
    peer->processEvents();
    EXPECT_EQ(client->receive(6), "answer");
    EXPECT_TRUE(peer->areEventsWaiting());
    peer->processEvents();
    EXPECT_FALSE(peer->areEventsWaiting());
    EXPECT_THAT(messages, ElementsAre("first\n", "second\n"));
}

TEST_F(Connection, APeerIsJudgedByTheMask) {
    unsigned char own[4];
    ASSERT_TRUE(UT_NetSocket::getHostAddress(own, nullptr));
    std::string address;
    for (const int byte : own) address += (address.empty() ? "" : ".") + std::to_string(byte);
    const std::pair<std::string, bool> masks[] = {{address, true},
                                                  {"0.0.0.0 " + address, true},
                                                  {"0.+.+.+", false},  // nobody's address begins so
                                                  {"", false},
                                                  {"127.0.0.1", address == "127.0.0.1"}};
    for (const auto& [mask, taken] : masks) {
        accept(mask.c_str());
        EXPECT_EQ(peer != nullptr, taken) << mask;
        EXPECT_TRUE(taken || client->hasEnded());
        delete peer;
        delete service;
    }
    std::deque<ScriptedRead> none;
    ScriptedServer server(none);  // whose peers come from 10.0.0.1
    EXPECT_TRUE(FS_ConnectedSocketListener(server, take, this, "10.0.0.1").getIsInstalled());
    EXPECT_FALSE(FS_ConnectedSocketListener(server, take, this, address.c_str()).getIsInstalled());
}

TEST_F(Connection, ACopyBorrows) {
    const std::unique_ptr<UT_NetSocket> listening(UT_NetSocket::newSocket(0, true, false));
    const Client first(listening->port), second(listening->port);
    FS_ConnectedSocketListener original(*listening, take, this, nullptr),
        assigned(*listening, nullptr, nullptr, nullptr);
    {
        const FS_ConnectedSocketListener copy(original);
        assigned = copy;
        EXPECT_TRUE(copy.getIsInstalled());
    }
    EXPECT_TRUE(second.hasEnded()) << "assigning closes what it had";
    FS_EventGenerator& borrower = assigned;
    arrive(first, borrower, "text\n");
    EXPECT_EQ(borrower.processEvents(), 1);
    EXPECT_THAT(messages, ElementsAre("text\n"));
}
