// The service: its port, the child that it watches, and what it may cost in descriptors.
#include <sys/resource.h>
#include <sys/wait.h>

#include "../../examples/event_host/PollHost.h"
#include "../support/Child.h"
#include "Host.h"

using testing::ElementsAre;

namespace {

// A child that runs until it is told to end.
class WatchedChild {
public:
    WatchedChild() : pid_(::fork()) {
        if (pid_ == 0)
            for (;;) ::pause();
    }
    ~WatchedChild() {
        end();
        ::waitpid(pid_, nullptr, 0);
    }
    // It stays for its parent to wait for.
    void end() const {
        ::kill(pid_, SIGKILL);
        siginfo_t info;
        ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
    }
    int pid() const { return pid_; }

private:
    pid_t pid_;
};

std::vector<bool> told;
std::function<void(FS_ServerSocketListener&)> whenTold;

void tell(FS_ServerSocketListener& listener, void* data, bool destroyed) {
    EXPECT_EQ(data, &told);
    EXPECT_EQ(listener.getPort() != -1, destroyed) << "the socket is open only when the listener goes first";
    told.push_back(destroyed);
    if (whenTold) whenTold(listener);
}

void echo(void*, const char* text, int length, UT_NetSocket& socket) {
    socket.write(text, length, nullptr, 1000);
}

}  // namespace

class Server : public Listeners {
protected:
    Server() {
        told.clear();
        whenTold = nullptr;
    }
    FS_ServerSocketListener* serveBeside(const WatchedChild& child, bool deleteListener) {
        auto* const service = serve();
        EXPECT_EQ(service->getPollTime(), -1);
        service->closeSocketOnChildExit(child.pid(), deleteListener, tell, &told);
        EXPECT_EQ(service->getPollTime(), 1000);
        EXPECT_FALSE(service->areEventsWaiting());
        EXPECT_EQ(service->processEvents(), 1);
        return service;
    }
};

TEST_F(Server, KnowsThePortThatIsUsedAndTheOneThatWasAskedFor) {
    auto* const service = serve();
    EXPECT_STREQ(service->getClassName(), "FS_ServerSocketListener");
    EXPECT_EQ(service->getIPMask().view(), "+.+.+.+");
    EXPECT_EQ(service->getRequestedPort(), 0);
    ASSERT_GT(service->getPort(), 0);
    EXPECT_TRUE(isInstalled(service));
    for (const int port : {service->getPort(), -1, 65536})
        EXPECT_EQ(FS_ServerSocketListener::createSocketListener(port, take, this, nullptr, false), nullptr) << port;
    // One of these is free, whoever else listens on this machine.
    for (int port = 900; port < 1000; ++port)
        if (auto* const mapped = FS_ServerSocketListener::createSocketListener(port, take, this, "1.+.+.+", true)) {
            EXPECT_EQ(mapped->getRequestedPort(), port);
            EXPECT_EQ(mapped->getPort(), port + 10000);
            EXPECT_EQ(mapped->getIPMask().view(), "1.+.+.+");
            return;
        }
    FAIL() << "no port was mapped";
}

TEST_F(Server, TakesOneConnectionACallAndTheyOutliveIt) {
    auto* const service = serve();
    const Client first(service->getPort()), second(service->getPort());
    ASSERT_TRUE(comes(service->getFileDescriptor()));
    service->processEvents();
    EXPECT_EQ(installed.size(), 2u);
    ASSERT_TRUE(comes(service->getFileDescriptor()));
    service->processEvents();
    ASSERT_EQ(installed.size(), 3u);
    EXPECT_FALSE(service->areEventsWaiting());
    EXPECT_EQ(service->processEvents(), 1);
    delete service;
    arrive(second, *installed[1], "still\n");
    EXPECT_EQ(installed[1]->processEvents(), 1);
    EXPECT_THAT(messages, ElementsAre("still\n"));
}

TEST_F(Server, ClosesWhenItsChildHasExited) {
    for (const bool deleteListener : {false, true}) {
        told.clear();
        const WatchedChild child;
        auto* const service = serveBeside(child, deleteListener);
        child.end();
        // While it is told, a loop that the callback runs doesn't tell it again.
        whenTold = [](FS_ServerSocketListener& listener) {
            EXPECT_FALSE(listener.areEventsWaiting());
            EXPECT_EQ(listener.processEvents(), 1);
        };
        EXPECT_TRUE(service->areEventsWaiting());
        EXPECT_EQ(service->processEvents(), 0);
        EXPECT_THAT(told, ElementsAre(false));
        EXPECT_EQ(isInstalled(service), !deleteListener);
        if (deleteListener) continue;
        EXPECT_EQ(service->getPort(), -1);
        EXPECT_EQ(service->getFileDescriptor(), -1);
        EXPECT_EQ(service->getPollTime(), -1);
        EXPECT_FALSE(service->areEventsWaiting());
        EXPECT_EQ(service->processEvents(), 1);
        delete service;
        EXPECT_THAT(told, ElementsAre(false));
    }
}

TEST_F(Server, TellsThatItGoesBeforeItsChild) {
    const WatchedChild child, ended;
    ended.end();
    auto* service = serve();
    service->closeSocketOnChildExit(ended.pid(), true, tell, &told);
    service->closeSocketOnChildExit(child.pid(), true, tell, &told);  // replaced without a word
    EXPECT_EQ(service->processEvents(), 1);
    delete service;
    EXPECT_THAT(told, ElementsAre(true));
}

TEST_F(Server, TheCallbackDecidesWhetherItIsDeleted) {
    const WatchedChild child;
    auto* const service = serveBeside(child, true);
    child.end();
    whenTold = [](FS_ServerSocketListener& listener) { listener.closeSocketOnChildExit(-1, false, nullptr, nullptr); };
    EXPECT_EQ(service->processEvents(), 0);
    ASSERT_TRUE(isInstalled(service));

    auto* const other = serve();
    other->closeSocketOnChildExit(
        child.pid(), true,
        [](FS_ServerSocketListener& listener, void*, bool goes) { goes ? void() : delete &listener; }, nullptr);
    EXPECT_EQ(other->processEvents(), 0);
    EXPECT_FALSE(isInstalled(other));
}

TEST_F(Server, NeitherLeaksDescriptorsNorLeavesThemToPrograms) {
    const auto inherited = descriptors(true);
    auto* const service = serve();
    const auto before = descriptors();
    for (int i = 0; i < 2000; ++i) {
        Client client = connect(*service);
        ASSERT_EQ(installed.size(), 2u);
        ASSERT_TRUE(client.send(i % 2 ? "no end" : ""));
        client.close();
        ASSERT_TRUE(comes(installed[1]->getFileDescriptor(), POLLRDHUP));
        ASSERT_EQ(installed[1]->processEvents(), 0);
    }
    EXPECT_EQ(descriptors(), before);
    const Client client = connect(*service);
    EXPECT_EQ(descriptors(true), inherited);
    delete service;
}

// With no descriptor left the peers that come are dropped at once, the old ones are served, and the loop doesn't spin.
TEST(ServerWithoutDescriptors, DropsNewPeersAndKeepsTheOldOnes) {
    constexpr int kLimit = 20, kClients = 40;
    int report[2];
    ASSERT_EQ(::pipe(report), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        PollHost host;
        const auto* const service = FS_ServerSocketListener::createSocketListener(0, echo, nullptr, nullptr, false);
        const int port = service ? service->getPort() : 0;
        // Through a pipe by number, since the standard streams may be anything.
        if (::write(report[1], &port, sizeof port) < 0) ::_exit(1);
        const rlimit few = {kLimit, kLimit};
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int turns = 1;; ++turns) {
            host.turn();
            if (::write(report[1], &turns, sizeof turns) < 0) ::_exit(1);
        }
    }
    int port = 0, turns = 0;
    ASSERT_EQ(::read(report[0], &port, sizeof port), static_cast<ssize_t>(sizeof port));
    std::vector<Client> served;
    int dropped = 0;
    for (int i = 0; i < kClients; ++i) {
        Client client(port);
        ASSERT_TRUE(client.isConnected());
        if (client.send("x\n") && client.receive(2) == "x\n")
            served.push_back(std::move(client));
        else
            ++dropped;
    }
    EXPECT_GT(served.size(), 5u);
    EXPECT_LT(served.size(), std::size_t{kLimit});
    EXPECT_EQ(dropped, kClients - static_cast<int>(served.size()));
    for (const Client& client : served) {
        EXPECT_TRUE(client.send("again\n"));
        EXPECT_EQ(client.receive(6), "again\n");
    }
    while (comes(report[0]) && ::read(report[0], &turns, sizeof turns) > 0) {
        int waiting = 0;
        if (::ioctl(report[0], FIONREAD, &waiting) != 0 || waiting == 0) break;
    }
    // One for each peer that came and for each message, and one a second; a loop that spins makes thousands.
    EXPECT_LT(turns, 4 * kClients);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (const int fd : report) ::close(fd);
}
