#include <UT/UT_NetPacket.h>
#include <UT/UT_NetSocket.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cerrno>
#include <map>
#include <memory>

#include "../support/FaultPlan.h"
#include "../support/Network.h"

// Masks of addresses are held by fuzz/ip_mask, with its corpus.
TEST(NetPacket, AMaskOrAnAddressThatIsNullMatchesNothing) {
    EXPECT_FALSE(UT_NetPacket::matchIPMask(nullptr, "10.1.2.3", nullptr));
    EXPECT_FALSE(UT_NetPacket::matchIPMask("+.+.+.+", nullptr, nullptr));
}

TEST(NetSocket, MapsPrivilegedPortsAlone) {
    for (const auto& [port, mapped] : std::map<int, int>{{-1, -1}, {0, 0}, {1, 10001}, {1023, 11023}, {1024, 1024}})
        EXPECT_EQ(UT_NetSocket::mapToUnprivilegedPort(port), mapped);
}

TEST(NetSocket, FindsTheAddressOfAHost) {
    unsigned char address[4] = {9, 9, 9, 9};
    EXPECT_FALSE(UT_NetSocket::getHostAddress(address, "no such host"));
    EXPECT_EQ(address[0], 9);
    ASSERT_TRUE(UT_NetSocket::getHostAddress(address, "192.0.2.7"));
    EXPECT_EQ(address[3], 7);
}

class SocketPair : public testing::Test {
protected:
    // "STATUS BYTES" of a read of at most `most`.
    std::string read(int timeoutMs, int most = 4) {
        char bytes[4];
        int length = 9;
        const int status = peer_->read(bytes, most, &length, timeoutMs);
        const std::map<int, std::string> words = {
            {UT_NetSocket::kDone, "done "}, {UT_NetSocket::kGone, "gone "}, {UT_NetSocket::kTimedOut, "timed out "}};
        return words.at(status) + std::string(bytes, static_cast<std::size_t>(length));
    }
    std::unique_ptr<UT_NetSocket> server_{UT_NetSocket::newSocket(0, true, false)};
    Client client_{server_->port};
    std::unique_ptr<UT_NetSocket> peer_{server_->accept(-1, nullptr)};
};

// One left waiting would keep the listening socket readable for ever.
TEST_F(SocketPair, DropsAPeerWhenTheTableOfDescriptorsIsFull) {
    for (const int error : {EMFILE, ENFILE}) {
        const Client late(server_->port);
        const FaultPlan full(Call::Accept, 0, error);
        EXPECT_EQ(server_->accept(-1, nullptr), nullptr);
        EXPECT_TRUE(late.hasEnded());
    }
}

TEST_F(SocketPair, WaitsForPeersAndBytesAsLongAsItMay) {
    int status = 0, port = 0;
    char host[16];
    EXPECT_EQ(server_->accept(1, &status), nullptr);
    EXPECT_EQ(status, UT_NetSocket::kTimedOut);
    peer_->getRemoteSocket(nullptr, nullptr);
    peer_->getRemoteSocket(host, &port);
    EXPECT_STREQ(host, "127.0.0.1");
    EXPECT_GT(port, 0);
    EXPECT_EQ(read(1), "timed out ");
    EXPECT_EQ(read(-1, 0), "done ") << "what asks for nothing waits for nothing";
    ASSERT_TRUE(client_.send("abcdef"));
    EXPECT_EQ(read(-1), "done abcd");
    EXPECT_EQ(peer_->dataAvailable(0), 1);
    client_.close();
    for (const char* expected : {"done ef", "gone "}) EXPECT_EQ(read(-1), expected);
}

TEST_F(SocketPair, APortIsOpenOnAllAddressesAndFreeAgainAtOnce) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ASSERT_EQ(::getsockname(server_->getSocket(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_ANY));
    const int port = server_->port;
    server_.reset();
    server_.reset(UT_NetSocket::newSocket(port, true, false));
    ASSERT_TRUE(server_) << "a connection is left of the one before";
    EXPECT_EQ(server_->port, port);
}

TEST_F(SocketPair, AClosedSocketAnswersAtOnce) {
    int status = 0, count = 9;
    for (UT_NetSocket* socket : {server_.get(), peer_.get()}) {
        EXPECT_TRUE(socket->isValid());
        for (int i = 0; i < 2; ++i) socket->close();
        EXPECT_FALSE(socket->isValid());
        EXPECT_EQ(socket->getSocket(), -1);
        EXPECT_EQ(socket->dataAvailable(-1), 0);
    }
    EXPECT_EQ(server_->accept(-1, &status), nullptr);
    EXPECT_EQ(status, UT_NetSocket::kGone);
    EXPECT_EQ(read(-1, 0), "gone ");
    EXPECT_EQ(peer_->write("x", 1, &count, -1), UT_NetSocket::kGone);
    EXPECT_EQ(count, 0);
}

TEST_F(SocketPair, ASignalEndsNoWait) {
    static Client* sender;
    static int signals;
    sender = &client_;
    struct sigaction send {
    }, before;
    send.sa_handler = [](int) {
        if (++signals % 2 == 0) sender->send("late");
    };
    ASSERT_EQ(::sigaction(SIGALRM, &send, &before), 0);
    for (const int timeoutMs : {-1, 20'000}) {
        ::ualarm(10'000, 10'000);
        EXPECT_EQ(read(timeoutMs), "done late");
        ::ualarm(0, 0);
        signals = 0;
    }
    ::sigaction(SIGALRM, &before, nullptr);
}

TEST_F(SocketPair, WriteTellsHowMuchAPeerTookThatDoesNotReadOrHasGone) {
    const std::string much(64 << 20, 'x');
    const int length = static_cast<int>(much.size());
    int written = 0;
    EXPECT_EQ(peer_->write(much.data(), length, &written, 1), UT_NetSocket::kTimedOut);
    EXPECT_TRUE(0 < written && written < length) << written;
    EXPECT_EQ(client_.receive(static_cast<std::size_t>(written)).size(), static_cast<std::size_t>(written));
    EXPECT_EQ(peer_->write("end", 3, &written, -1), UT_NetSocket::kDone);
    EXPECT_EQ(written, 3);
    client_.close();
    int status = UT_NetSocket::kDone;
    for (int i = 0; status == UT_NetSocket::kDone && i < 1000; ++i)
        status = peer_->write(much.data(), 1000, &written, 1000);
    EXPECT_EQ(status, UT_NetSocket::kGone);
    // Without a signal: it would end this program.
    EXPECT_EQ(peer_->write("x", 1, &written, -1), UT_NetSocket::kGone);
}
