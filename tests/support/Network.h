#pragma once
// The other end of a connection, and the descriptors of the process.
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

// Whether `fd` becomes readable, or what else is asked for, in a time that no working test takes.
inline bool comes(int fd, short events = POLLIN) {
    pollfd watched{fd, events, 0};
    return ::poll(&watched, 1, 20000) == 1;
}

// A socket that listens; `port` becomes its port.
inline int listenSomewhere(int& port, int backlog = 64) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(fd, backlog) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        std::abort();
    port = ntohs(address.sin_port);
    return fd;
}

// A client of a service at 127.0.0.1.
class Client {
public:
    explicit Client(int port) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) close();
    }
    Client(Client&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Client& operator=(Client&&) = delete;
    ~Client() { close(); }

    bool isConnected() const { return fd_ >= 0; }
    bool send(std::string_view bytes) const {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // The next `length` bytes, fewer if the connection ends before.
    std::string receive(std::size_t length) const {
        std::string bytes(length, '\0');
        std::size_t done = 0;
        for (ssize_t count = 1; done < length && count > 0 && comes(fd_); done += static_cast<std::size_t>(count)) {
            count = ::recv(fd_, bytes.data() + done, length - done, 0);
            if (count < 0) break;
        }
        bytes.resize(done);
        return bytes;
    }
    // Waits for the end of the connection, with nothing in front of it.
    bool hasEnded() const {
        char byte;
        return comes(fd_) && ::recv(fd_, &byte, 1, 0) <= 0;
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_;
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
