#pragma once
// Private: sockets over TCP. Every descriptor made here is non-blocking and not inherited by programs that are started.
#include <platform/UniqueFd.h>

#include <cstddef>
#include <string>

namespace platform {

// One call of the system. EINTR never shows.
struct [[nodiscard]] Transfer {
    std::size_t count = 0;  // bytes; with an error of 0 a count of 0 from `receive` is the end of what the peer sends
    int error = 0;          // errno of the failed call, EAGAIN while the call would have to wait
    bool isLast = false;    // it is known that neither a byte nor the end of what the peer sends waits behind it
};
Transfer receive(int fd, void* buffer, std::size_t size);
// The same, and asks in the same call what is left behind; for sockets that were accepted here.
Transfer receiveAndLook(int fd, void* buffer, std::size_t size);
// A peer that has gone gives EPIPE or ECONNRESET and raises no signal.
Transfer send(int fd, const void* data, std::size_t size);

enum class Ready { toRead, toWrite };
// Waits until a call on `fd` would not wait any more: for something to come or go, or because of an end or an error.
// False after `timeoutMs` milliseconds (0: looks and doesn't wait; negative: waits for ever), and for no descriptor.
bool waitFor(int fd, Ready ready, int timeoutMs);

// A socket that listens on all IPv4 addresses of this machine; port 0 picks one. What it accepts sends small pieces at
// once, notices in the end a peer that vanished, and tells what is left behind a call of receiveAndLook.
UniqueFd listenAt(int port);
// EAGAIN if nobody waits.
OpenResult acceptFrom(int listening);

// Connects to the first address of a host that answers, of IPv4 or IPv6, in the order in which the system tells them.
// Each gets its share of the `timeoutMs` milliseconds that are left, so that a dead one keeps none from being tried.
// How long it takes to learn the addresses is up to the system.
struct [[nodiscard]] Connected {
    UniqueFd fd;
    std::string reason;  // in words; empty while fd is open
};
Connected connectTo(const std::string& host, int port, int timeoutMs);

struct Address {
    std::string host;  // dotted
    int port = 0;
};
// IPv4. Empty and 0 if it can't be told.
Address localAddress(int fd);
Address peerAddress(int fd);

// The first IPv4 address of an interface that is up and isn't loopback, else 127.0.0.1. False if the system doesn't
// tell its interfaces.
bool machineAddress(unsigned char address[4]);
// The first IPv4 address of a host by its name. False if it has none.
bool hostAddress(const char* host, unsigned char address[4]);

// A descriptor that is good for nothing but being held; none if there is no more.
UniqueFd reserveFd();

}  // namespace platform
