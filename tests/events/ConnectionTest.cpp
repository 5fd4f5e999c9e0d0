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
        if (installed.size() == 2) peer = installed.back();
    }

    FS_ServerSocketListener* service = nullptr;
    std::unique_ptr<Client> client;
    FS_EventGenerator* peer = nullptr;
};

TEST_F(Connection, ABatchThatEndsInALineFeedNulOr4CompletesTheMessage) {
    const std::string longLine(20000, 'x'), read(8190, 'y');
    const struct {
        std::vector<std::string> batches, messages;
    } cases[] = {
        {{"abc\n"}, {"abc\n"}},
        {{"one\ntwo\n"}, {"one\ntwo\n"}},
        {{"abc", "def\n"}, {"abcdef\n"}},
        {{"one\ntw", "o", "\n"}, {"one\ntwo\n"}},
        {{"stop\4"}, {"stop\4"}},
        {{"a\4b"}, {}},
        {{"abc\0"s, "\0"s}, {"abc\n", "\n"}},
        {{longLine, longLine + "\n"}, {longLine + longLine + "\n"}},
        // A NUL inside cuts off the rest of its batch, whose last byte counts all the same.
        {{"ab\0cd\n"s}, {"ab"}},
        {{"ab\0cd"s, "e\n"}, {"abe\n"}},
        {{"ab", "\0cd\n"s}, {"ab"}},
        {{"\0ab\n"s, "c\n"}, {"c\n"}},
        // The last byte of a read, although not of the batch.
        {{read + "\0z\n"s}, {read + "\nz\n"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.batches));
        messages.clear();
        accept();
        for (const std::string& batch : c.batches) {
            arrive(*client, *peer, batch);
            EXPECT_TRUE(peer->areEventsWaiting());
            EXPECT_EQ(peer->processEvents(), 1);
            EXPECT_FALSE(peer->areEventsWaiting());
        }
        EXPECT_EQ(messages, c.messages);
        delete peer;
        delete service;
    }
}

TEST_F(Connection, WhatWaitsTogetherWithTheEndIsDropped) {
    for (const char* text : {"", "abc", "abc\n"}) {
        accept();
        arrive(*client, *peer, "begun");
        EXPECT_EQ(peer->processEvents(), 1);
        ASSERT_TRUE(client->send(text));
        client->close();
        ASSERT_TRUE(comes(peer->getFileDescriptor(), POLLRDHUP));
        EXPECT_EQ(peer->processEvents(), 0);
        EXPECT_FALSE(isInstalled(peer));
        delete service;
    }
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(removedDescriptors, std::vector<int>(6, -1));
}

TEST_F(Connection, TheCallbackMayCloseTheSocketOrDeleteTheListener) {
    for (const bool byDeletion : {false, true}) {
        accept();
        answer = [&](UT_NetSocket& socket, const char* text) {
            if (byDeletion)
                delete peer;
            else
                socket.close();
            EXPECT_STREQ(text, "bye\n");
        };
        arrive(*client, *peer, "bye\n");
        EXPECT_EQ(peer->processEvents(), 1);
        EXPECT_FALSE(isInstalled(peer));
        EXPECT_TRUE(client->hasEnded());
        delete service;
    }
}

TEST_F(Connection, IsNotServedAgainWhileItsCallbackRuns) {
    accept();
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
    EXPECT_THAT(messages, ElementsAre("first\n", "second\n"));
}

TEST_F(Connection, APeerIsJudgedByTheMask) {
    unsigned char own[4];
    ASSERT_TRUE(UT_NetSocket::getHostAddress(own, nullptr));
    std::string address;
    for (const int byte : own) address += (address.empty() ? "" : ".") + std::to_string(byte);
    // Nobody's address begins with 0.
    for (const std::string& mask : {address, "0.0.0.0 " + address, "0.+.+.+"s, ""s}) {
        accept(mask.c_str());
        const bool taken = mask.ends_with(address);
        EXPECT_EQ(peer != nullptr, taken) << mask;
        EXPECT_TRUE(taken || client->hasEnded());
        delete peer;
        delete service;
        peer = nullptr;
    }
    if (address == "127.0.0.1") return;
    accept("127.0.0.1");
    EXPECT_EQ(peer, nullptr);
}

TEST_F(Connection, EndsWithAMessageThatIsTooLong) {
    constexpr std::size_t kMost = FS_ConnectedSocketListener::kLongestMessage;
    for (const bool tooLong : {false, true}) {
        messages.clear();
        std::deque<ScriptedRead> script = {{std::string(kMost / 2, 'x'), true}, {std::string(kMost / 2 - 1, 'x')}};
        if (tooLong) script.push_back({"y"});
        script.push_back({"\n"});
        ScriptedServer server(script);
        FS_EventGenerator* const listener = new FS_ConnectedSocketListener(server, take, this, nullptr);
        EXPECT_EQ(listener->processEvents(), 1);
        EXPECT_EQ(listener->processEvents(), tooLong ? 0 : 1);
        ASSERT_EQ(messages.size(), tooLong ? 0u : 1u);
        if (tooLong) continue;
        EXPECT_EQ(messages[0].size(), kMost);
        delete listener;
    }
}

TEST_F(Connection, OfTheCodesOfASocketOnlyGoneCounts) {
    std::deque<ScriptedRead> script = {{"odd\n", true, -2}, {"gone\n", false, UT_NetSocket::kGone}};
    ScriptedServer server(script);
    FS_EventGenerator* const listener = new FS_ConnectedSocketListener(server, take, this, nullptr);
    EXPECT_EQ(listener->processEvents(), 1);
    EXPECT_EQ(listener->processEvents(), 0);
    EXPECT_THAT(messages, ElementsAre("odd\n"));
}

TEST_F(Connection, ACopyBorrows) {
    std::deque<ScriptedRead> script = {{"text\n"}}, none;
    ScriptedServer server(script), other(none);
    FS_ConnectedSocketListener original(server, take, this, nullptr), assigned(other, take, this, nullptr);
    {
        const FS_ConnectedSocketListener copy(original);
        assigned = copy;
        EXPECT_TRUE(copy.getIsInstalled());
    }
    EXPECT_EQ(static_cast<FS_EventGenerator&>(original).processEvents(), 1);
    EXPECT_THAT(messages, ElementsAre("text\n"));
}
