// What a host must bear of descriptors, where its loop keeps a record of their numbers.
#include <UT/UT_NetSocket.h>
#include <events/FS_ServerSocketListener.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "../../examples/event_host/LibeventHost.h"
#include "../support/Network.h"

namespace {
int messages = 0;

FS_ServerSocketListener* start() {
    const auto take = [](void*, const char*, int, UT_NetSocket& socket) {
        ++messages;
        socket.close();
    };
    return FS_ServerSocketListener::createSocketListener(0, take, nullptr, nullptr, false);
}
}  // namespace

TEST(LibeventHost, ServesWhatGetsTheDescriptorOfAServiceThatItsChildHasClosed) {
    LibeventHost host;
    std::unique_ptr<FS_ServerSocketListener> next;
    const std::unique_ptr<FS_ServerSocketListener> service(start());
    const int descriptor = service->getFileDescriptor();
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    const auto restart = [](FS_ServerSocketListener&, void* place, bool) {
        static_cast<decltype(next)*>(place)->reset(start());
    };
    service->closeSocketOnChildExit(child, false, restart, &next);
    while (!next) event_base_loop(host.base(), EVLOOP_ONCE);
    ::waitpid(child, nullptr, 0);
    ASSERT_EQ(next->getFileDescriptor(), descriptor);
    const Client client(next->getPort());
    EXPECT_TRUE(client.send("text\n"));
    for (int turn = 0; turn < 5 && messages == 0; ++turn) event_base_loop(host.base(), EVLOOP_ONCE);
    EXPECT_EQ(messages, 1);
}
