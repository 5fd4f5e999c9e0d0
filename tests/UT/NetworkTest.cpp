#include <UT/UT_NetPacket.h>
#include <UT/UT_NetSocket.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <memory>

#include "../support/Network.h"

TEST(NetPacket, AMaskHasFourFieldsAndMasksAreAList) {
    const struct {
        const char *mask, *address;
        bool matches;
    } cases[] = {
        {"+.+.+.+", "10.1.2.3", true},
        {"10.*.+.3", "10.1.2.3", true},
        {"10.1.2.4", "10.1.2.3", false},
        {"010.1.2.3", "10.1.2.3", true},
        {"1.1.1.1,10.1.2.3", "10.1.2.3", true},
        {" ,, 1.1.1.1 ,\t10.+.+.+ ", "10.1.2.3", true},
        {"10.1.2.256, +.+.+.+.+, 10.1.2, 10..2.3, 10.1.2.-3, 10.1.2.3x, ++.+.+.+, -", "10.1.2.3", false},
        {"bad +.+.+.+", "10.1.2.3", true},
        {"", "10.1.2.3", false},
        {nullptr, "10.1.2.3", false},
        {"+.+.+.+", "", false},
        {"+.+.+.+", nullptr, false},
        {"+.+.+.+", "+.1.2.3", false},
        {"+.+.+.+", "10.1.2.256", false},
        {"+.+.+.+", "10.1.2.3 ", false},
        {"+.+.+.+", "::1", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(UT_NetPacket::matchIPMask(c.mask, c.address, nullptr) != 0, c.matches)
            << (c.mask ? c.mask : "null") << " and " << (c.address ? c.address : "null");
}

TEST(NetSocket, MapsPrivilegedPortsAlone) {
    const struct {
        int port, mapped;
    } cases[] = {{-1, -1}, {0, 0}, {1, 10001}, {1023, 11023}, {1024, 1024}, {65535, 65535}};
    for (const auto& c : cases) EXPECT_EQ(UT_NetSocket::mapToUnprivilegedPort(c.port), c.mapped);
}

TEST(NetSocket, DoesNotListenWithTheLastDescriptor) {
    // It could never take a peer, nor drop one, which would then be found waiting for ever.
    const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(next);
    rlimit before;
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    for (const int left : {1, 8}) {
        const rlimit few = {static_cast<rlim_t>(next + left), before.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        const std::unique_ptr<UT_NetSocket> server(UT_NetSocket::newSocket(0, true, false));
        ::setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(server != nullptr, left > 1);
    }
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
    std::unique_ptr<UT_NetSocket> server_{UT_NetSocket::newSocket(0, true, false)};
    Client client_{server_->port};
    std::unique_ptr<UT_NetSocket> peer_{server_->accept(-1, nullptr)};
};

TEST_F(SocketPair, WaitsForPeersAndBytesAsLongAsItMay) {
    int status = 0;
    EXPECT_EQ(server_->accept(1, &status), nullptr);
    EXPECT_EQ(status, UT_NetSocket::kTimedOut);
    char bytes[4], host[16];
    int length = 9, port = 0;
    EXPECT_EQ(peer_->read(bytes, 4, &length, 1), UT_NetSocket::kTimedOut);
    EXPECT_EQ(length, 0);
    peer_->getRemoteSocket(host, &port);
    EXPECT_STREQ(host, "127.0.0.1");
    EXPECT_GT(port, 0);
    ASSERT_TRUE(client_.send("abcdef"));
    EXPECT_EQ(peer_->read(bytes, 4, &length, -1), UT_NetSocket::kDone);
    EXPECT_EQ(std::string(bytes, 4), "abcd");
    EXPECT_EQ(peer_->dataAvailable(0), 1);
    client_.close();
    EXPECT_EQ(peer_->read(bytes, 4, &length, -1), UT_NetSocket::kDone);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(peer_->read(bytes, 4, &length, -1), UT_NetSocket::kGone);
    EXPECT_EQ(length, 0);
    for (int i = 0; i < 2; ++i) server_->close();
    EXPECT_FALSE(server_->isValid());
    EXPECT_EQ(server_->getSocket(), -1);
    EXPECT_EQ(server_->dataAvailable(0), 0);
    EXPECT_EQ(server_->accept(0, &status), nullptr);
    EXPECT_EQ(status, UT_NetSocket::kGone);
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
    // Without a signal: it would end this program.
    int status = UT_NetSocket::kDone;
    for (int i = 0; status == UT_NetSocket::kDone && i < 1000; ++i)
        status = peer_->write(much.data(), 1000, &written, 1000);
    EXPECT_EQ(status, UT_NetSocket::kGone);
}
