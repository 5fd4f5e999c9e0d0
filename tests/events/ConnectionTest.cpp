// One connection. Which of its bytes become a message fuzz/connection_batches holds against the rule; here are the
// limit of a message and what needs real peers.
#include "../support/ScriptedSocket.h"
#include "Host.h"

class Connection : public Listeners {
protected:
    void accept(std::string mask = "+.+.+.+") {
        service = serve(mask.c_str());
        mask.assign(mask.size(), '?');  // of which the service has a copy
        client = std::make_unique<Client>(connect(*service));
        peer = installed.size() == 2 ? installed.back() : nullptr;
    }

    FS_ServerSocketListener* service = nullptr;
    std::unique_ptr<Client> client;
    FS_EventGenerator* peer = nullptr;
};

TEST_F(Connection, AMessageHasUpTo64MBAndOnlyTheCodeForGoneIsAnEnd) {
    constexpr std::size_t kMost = FS_ConnectedSocketListener::kLongestMessage;
    const std::string half(kMost / 2, 'x'), most = half + half.substr(1) + "\n";
    const struct {
        std::deque<ScriptedRead> script;
        std::vector<std::string> messages;
        bool ends;
    } cases[] = {
        {{{half, true}, {half.substr(1)}, {"\n"}}, {most}, false},
        {{{half, true}, {half}, {"\n"}}, {}, true},
        {{{"odd\n", true, -2}, {"gone\n", false, UT_NetSocket::kGone}}, {"odd\n"}, true},
    };
    for (const auto& c : cases) {
        messages.clear();
        auto script = c.script;
        ScriptedServer server(script);
        FS_EventGenerator* const listener = new FS_ConnectedSocketListener(server, take, this, nullptr);
        while (!script.empty() && isInstalled(listener)) listener->processEvents();
        EXPECT_EQ(isInstalled(listener), !c.ends);
        EXPECT_TRUE(messages == c.messages) << "case " << &c - cases;  // too long to be shown
        if (!c.ends) delete listener;
    }
}

TEST_F(Connection, ItsCallbackMayDeleteIt) {
    accept();
    answer = [&](UT_NetSocket&, const char* message) {
        delete peer;
        EXPECT_STREQ(message, "bye\n");
    };
    EXPECT_TRUE(client->send("bye\n") && comes(peer->getFileDescriptor()));
    EXPECT_TRUE(peer->areEventsWaiting());
    EXPECT_EQ(peer->processEvents(), 1);
    EXPECT_TRUE(client->hasEnded());
}

TEST_F(Connection, ItsCallbackMayThrow) {
    accept();
    answer = [](UT_NetSocket&, const char*) { throw std::bad_alloc(); };
    EXPECT_TRUE(client->send("lost\n") && comes(peer->getFileDescriptor()));
    EXPECT_THROW(peer->processEvents(), std::bad_alloc);
    answer = nullptr;
    serveText(*client, *peer);
}

TEST_F(Connection, APeerIsJudgedByTheMask) {
    unsigned char own[4];
    ASSERT_TRUE(UT_NetSocket::getHostAddress(own, nullptr));
    std::string address;
    for (const int byte : own) address += (address.empty() ? "" : ".") + std::to_string(byte);
    const std::pair<std::string, bool> masks[] = {{"0.0.0.0 " + address, true},
                                                  {"0.+.+.+", false},  // nobody's address begins so
                                                  {"", false},
                                                  {"127.0.0.1", address == "127.0.0.1"}};
    for (const auto& [mask, taken] : masks) {
        removals = 0;
        accept(mask);
        EXPECT_EQ(peer != nullptr, taken) << mask;
        EXPECT_EQ(removals, taken ? 0 : 1) << "one that is refused goes at once";
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
    serveText(first, assigned);
}
