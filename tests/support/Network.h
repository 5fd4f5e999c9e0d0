#pragma once
// The ends of connections, and the descriptors of the process.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <utility>

// Whether `fd` becomes readable, or what else is asked for, in a time that no working test takes.
inline bool comes(int fd, short events = POLLIN) {
    pollfd watched{fd, events, 0};
    return ::poll(&watched, 1, 20000) == 1;
}

inline sockaddr_in localAddress(int port) {
    const auto number = htons(static_cast<std::uint16_t>(port));
    return {.sin_family = AF_INET, .sin_port = number, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
}

// A socket that listens; `port` becomes its port.
inline int listenSomewhere(int& port, int backlog = 64) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = localAddress(0);
    socklen_t size = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(fd, backlog) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        std::abort();
    port = ntohs(address.sin_port);
    return fd;
}

// One end of a connection.
class Peer {
public:
    explicit Peer(int fd) : fd_(fd) {}
    Peer(Peer&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Peer& operator=(Peer&&) = delete;
    ~Peer() { close(); }

    bool isConnected() const { return fd_ >= 0; }
    // False once the other end has gone.
    bool send(std::string_view bytes) const {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // The next `length` bytes, fewer if the connection ends before.
    std::string receive(std::size_t length) const {
        std::string bytes(length, '\0');
        std::size_t done = 0;
        for (ssize_t count = 1; done < length && comes(fd_); done += static_cast<std::size_t>(count)) {
            count = ::recv(fd_, bytes.data() + done, length - done, 0);
            if (count <= 0) break;
        }
        bytes.resize(done);
        return bytes;
    }
    // Waits for the end of the connection, with nothing in front of it.
    bool hasEnded() const {
        char byte;
        return comes(fd_) && ::recv(fd_, &byte, 1, 0) <= 0;
    }
    // Lets the next read of the other end fail once this one is closed.
    void reset() const {
        const linger now{1, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

protected:
    int fd_;
};

// A client of a service at 127.0.0.1.
struct Client : Peer {
    explicit Client(int port) : Peer(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const sockaddr_in address = localAddress(port);
        if (::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) close();
    }
};

// The open descriptors, or those of them that a program would inherit.
inline std::set<int> descriptors(bool inherited = false) {
    std::set<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        found.insert(std::stoi(entry.path().filename()));
    std::erase_if(found, [=](int fd) {
        const int flags = ::fcntl(fd, F_GETFD);
        return flags < 0 || (inherited && (flags & FD_CLOEXEC));
    });
    return found;
}
