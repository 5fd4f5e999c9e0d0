// Generators, and the service: its port, the child that it watches, and what it may cost in descriptors.
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "Host.h"

// A child that runs until it is told to end, and then stays for its parent to wait for.
class WatchedChild {
public:
    WatchedChild() {
        if (pid == 0) ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // where the test crashes
        while (pid == 0) ::pause();
    }
    ~WatchedChild() {
        end();
        ::waitpid(pid, nullptr, 0);
    }
    void end() const {
        ::kill(pid, SIGKILL);
        siginfo_t info;
        ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
    }

    const pid_t pid = ::fork();
};

class Server : public Listeners {
protected:
    static void tell(FS_ServerSocketListener& listener, void* data, bool destroyed) {
        auto& self = *static_cast<Server*>(data);
        self.told += destroyed ? " goes" : " exited";
        if (listener.getPort() != -1) self.told += " open";
        if (const auto then = std::exchange(self.whenTold, nullptr)) then(listener);
    }
    // What a loop does with a listener that has nothing to do.
    static void passOver(FS_ServerSocketListener& listener) {
        EXPECT_FALSE(listener.areEventsWaiting());
        EXPECT_EQ(listener.processEvents(), 1);
    }

    std::string told;
    std::function<void(FS_ServerSocketListener&)> whenTold;
};

TEST(EventGenerator, ReachesTheHostThroughItsFunctionsAndWantsNothingItself) {
    struct Plain : FS_EventGenerator {
        const char* getClassName() const override { return "Plain"; }
        int processEvents() override { return 0; }
    } plain;
    EXPECT_EQ(plain.getFileDescriptor() + plain.getPollTime(), -2);
    EXPECT_FALSE(plain.areEventsWaiting() || FS_EventGenerator::isEventLoopPollCallbackSet());
    static std::string calls;
    EXPECT_EQ(plain.installGenerator(), 0) << "without a host";
    plain.uninstallGenerator();
    plain.pollEventLoop(true);
    FS_EventGenerator::setInstaller([](FS_EventGenerator* generator, int install) {
        calls += generator->getClassName() + std::to_string(install);
        return 7;
    });
    FS_EventGenerator::setEventLoopPollCallback([](bool value) { calls += value ? "+" : "-"; });
    EXPECT_TRUE(FS_EventGenerator::isEventLoopPollCallbackSet());
    EXPECT_EQ(plain.installGenerator(), 7);
    plain.uninstallGenerator();
    for (const bool value : {true, false}) plain.pollEventLoop(value);
    EXPECT_EQ(calls, "Plain1Plain0+-");
}

TEST_F(Server, KnowsThePortThatIsUsedAndTheOneThatWasAskedFor) {
    auto* const service = serve();
    EXPECT_EQ(service->getIPMask().view(), "+.+.+.+");
    EXPECT_EQ(service->getRequestedPort(), 0);
    ASSERT_GT(service->getPort(), 0);
    EXPECT_TRUE(isInstalled(service));
    for (const int port : {service->getPort(), -1, 65536})
        EXPECT_EQ(FS_ServerSocketListener::createSocketListener(port, take, this, nullptr, false), nullptr) << port;
    // One of these is free, whoever else listens on this machine.
    FS_ServerSocketListener* mapped = nullptr;
    for (int port = 900; !mapped && port < 1000; ++port)
        mapped = FS_ServerSocketListener::createSocketListener(port, take, this, "1.+.+.+", true);
    ASSERT_TRUE(mapped);
    EXPECT_EQ(mapped->getPort(), mapped->getRequestedPort() + 10000);
    EXPECT_EQ(mapped->getIPMask().view(), "1.+.+.+");
}

TEST_F(Server, TakesOneConnectionACallAndTheyOutliveIt) {
    auto* const service = serve();
    const Client first(service->getPort()), second(service->getPort());
    for (const std::size_t count : {2u, 3u}) {
        ASSERT_TRUE(comes(service->getFileDescriptor()));
        EXPECT_EQ(service->processEvents(), 1);
        ASSERT_EQ(installed.size(), count);
    }
    passOver(*service);
    delete service;
    serveText(second, *installed[1]);
}

TEST_F(Server, ASubclassMakesItsOwnConnections) {
    struct Own : FS_ServerSocketListener {
        explicit Own(UT_NetSocket* socket) : FS_ServerSocketListener(socket, 9, nullptr, nullptr, nullptr) {}
        void createConnectedSocketListener() override { peer.reset(getServerSocket()->accept(0, nullptr)); }
        std::unique_ptr<UT_NetSocket> peer;
    } service(UT_NetSocket::newSocket(0, true, false));
    const Client client = connect(service);
    EXPECT_TRUE(service.peer);
    EXPECT_TRUE(installed.empty());
}

TEST_F(Server, ClosesWhenItsChildHasExited) {
    using Listener = FS_ServerSocketListener;
    const auto changesItsMind = [](Listener& l) { l.closeSocketOnChildExit(-1, false, nullptr, nullptr); };
    const struct {
        bool deletes;
        std::function<void(Listener&)> whenTold;
        const char* told;  // nothing without a callback
        bool stays;
    } cases[] = {
        {false, passOver, " exited", true},  // a loop that the callback runs doesn't tell it again
        {true, passOver, " exited", false},
        {true, changesItsMind, " exited", true},
        {true, [](Listener& listener) { delete &listener; }, " exited goes", false},
        {true, nullptr, "", false},
        {false, nullptr, "", true},
    };
    for (const auto& c : cases) {
        told.clear();
        whenTold = c.whenTold;
        const WatchedChild child;
        auto* const service = serve();
        EXPECT_EQ(service->getPollTime(), -1);
        service->closeSocketOnChildExit(child.pid, c.deletes, *c.told ? tell : nullptr, this);
        EXPECT_EQ(service->getPollTime(), 1000);
        passOver(*service);
        child.end();
        EXPECT_TRUE(service->areEventsWaiting());
        EXPECT_EQ(service->processEvents(), 0);
        ASSERT_EQ(isInstalled(service), c.stays);
        if (c.stays) {
            EXPECT_EQ(service->getPort(), -1);
            EXPECT_EQ(service->getFileDescriptor(), -1);
            EXPECT_EQ(service->getPollTime(), -1);
            passOver(*service);
            delete service;
        }
        EXPECT_EQ(told, c.told);
    }
}

TEST_F(Server, TellsAgainWhatItsCallbackCouldNotTakeIn) {
    const WatchedChild child;
    child.end();
    auto* const service = serve();
    service->closeSocketOnChildExit(child.pid, true, tell, this);
    whenTold = [](FS_ServerSocketListener&) { throw std::bad_alloc(); };
    EXPECT_THROW(service->processEvents(), std::bad_alloc);
    EXPECT_TRUE(service->areEventsWaiting());
    EXPECT_EQ(service->processEvents(), 0);
    EXPECT_EQ(told, " exited exited");
}

TEST_F(Server, TellsThatItGoesBeforeItsChild) {
    const WatchedChild child, ended;
    ended.end();
    auto* const service = serve();
    service->closeSocketOnChildExit(ended.pid, true, tell, this);
    service->closeSocketOnChildExit(child.pid, true, tell, this);  // replaced without a word
    EXPECT_EQ(service->processEvents(), 1);
    delete service;
    EXPECT_EQ(told, " goes open");

    // A loop that this callback runs doesn't find the exit any more.
    told.clear();
    whenTold = passOver;
    auto* const late = serve();
    late->closeSocketOnChildExit(ended.pid, true, tell, this);
    delete late;
    EXPECT_EQ(told, " goes open");
}

TEST_F(Server, ACopyBorrows) {
    const WatchedChild child;
    auto* const service = serve();
    auto* const assigned = FS_ServerSocketListener::createSocketListener(0, nullptr, nullptr, "1.+.+.+", false);
    const int closed = assigned->getPort();
    service->closeSocketOnChildExit(child.pid, true, tell, this);
    {
        const FS_ServerSocketListener copy(*service);
        *assigned = copy;
    }
    EXPECT_FALSE(Client(closed).isConnected()) << "assigning closes what it had";
    EXPECT_EQ(told, "");
    const Client client(service->getPort());
    ASSERT_TRUE(comes(assigned->getFileDescriptor()));
    EXPECT_EQ(assigned->processEvents(), 1);
    child.end();
    EXPECT_EQ(assigned->processEvents(), 0);
    EXPECT_EQ(told, " exited");
    ASSERT_EQ(installed.size(), 2u) << "the copy has deleted itself";
    serveText(client, *installed[1]);
    EXPECT_NE(service->getPort(), -1);
    service->closeSocketOnChildExit(-1, false, nullptr, nullptr);
}

TEST_F(Server, NeitherLeaksDescriptorsNorLeavesThemToPrograms) {
    const auto inherited = descriptors(true);
    auto* const service = serve();
    const auto before = descriptors();
    for (int i = 0; i < 100; ++i) {
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
}

// With no descriptor left the peers that come are dropped, so that a host's loop doesn't spin, and the old ones served.
TEST_F(Server, WithoutDescriptorsDropsNewPeersAndKeepsTheOldOnes) {
    constexpr std::size_t kClients = 40, kDescriptors = 5;
    auto* const service = serve();
    std::vector<Client> clients;
    for (std::size_t i = 0; i < kClients; ++i) clients.emplace_back(service->getPort());
    rlimit all;
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &all), 0);
    const int next = ::open("/dev/null", O_RDONLY);
    ::close(next);
    rlimit few = {static_cast<rlim_t>(next) + 1, all.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(serve(), nullptr) << "it could not even drop a peer";
    few.rlim_cur += kDescriptors - 1;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    std::size_t turns = 0;
    for (; service->areEventsWaiting() && turns < 10 * kClients; ++turns) service->processEvents();
    EXPECT_EQ(turns, kClients);
    const std::size_t taken = installed.size() - 1;
    EXPECT_TRUE(0 < taken && taken <= kDescriptors) << taken;
    for (std::size_t i = 0; i < taken; ++i) serveText(clients[i], *installed[1 + i]);
    for (std::size_t i = taken; i < kClients; ++i) EXPECT_TRUE(clients[i].hasEnded());
    ::setrlimit(RLIMIT_NOFILE, &all);
}
