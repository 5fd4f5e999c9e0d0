#pragma once
// The service of both programs: every message goes back to its peer.
#include <UT/UT_NetSocket.h>
#include <events/FS_ServerSocketListener.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

inline void echo(void*, const char* text, int length, UT_NetSocket& socket) {
    // The whole loop waits for this peer, so it doesn't wait long; one that doesn't read is given up.
    if (socket.write(text, length, nullptr, 100) != UT_NetSocket::kDone) socket.close();
}

// A listener on the port of the command line, else on any that is free, which is printed. Null if it can't be had.
inline std::unique_ptr<FS_ServerSocketListener> startService(int argc, char** argv) {
    const int port = argc > 1 ? std::atoi(argv[1]) : 0;
    std::unique_ptr<FS_ServerSocketListener> service(
        FS_ServerSocketListener::createSocketListener(port, echo, nullptr, nullptr, false));
    if (service) {
        std::printf("%d\n", service->getPort());
        std::fflush(stdout);
    } else {
        std::fprintf(stderr, "no listener on port %d\n", port);
    }
    return service;
}
