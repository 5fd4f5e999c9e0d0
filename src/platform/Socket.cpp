// Sockets over the system's calls.
#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <platform/Deadline.h>
#include <platform/Socket.h>
#include <platform/Uninterrupted.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace platform {
namespace {

template <class Call>
Transfer transfer(Call call) {
    const ssize_t count = uninterrupted(call);
    return count < 0 ? Transfer{.error = errno} : Transfer{.count = static_cast<std::size_t>(count)};
}

bool setOption(int fd, int level, int option) {
    const int on = 1;
    return ::setsockopt(fd, level, option, &on, sizeof on) == 0;
}

void copyAddress(unsigned char address[4], const sockaddr* from) {
    sockaddr_in ipv4;
    std::memcpy(&ipv4, from, sizeof ipv4);
    std::memcpy(address, &ipv4.sin_addr, 4);
}

template <class Name>
Address addressBy(Name name, int fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    char host[INET_ADDRSTRLEN];
    if (name(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0 || address.sin_family != AF_INET) return {};
    if (!::inet_ntop(AF_INET, &address.sin_addr, host, sizeof host)) return {};
    return {host, ntohs(address.sin_port)};
}

}  // namespace

Transfer receive(int fd, void* buffer, std::size_t size) {
    return transfer([&] { return ::recv(fd, buffer, size, MSG_DONTWAIT); });
}

Transfer receiveAndLook(int fd, void* buffer, std::size_t size) {
    iovec place{buffer, size};
    alignas(cmsghdr) char beside[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = beside;
    message.msg_controllen = sizeof beside;
    Transfer result = transfer([&] { return ::recvmsg(fd, &message, MSG_DONTWAIT); });
    const cmsghdr* const first = result.error ? nullptr : CMSG_FIRSTHDR(&message);
    if (first && first->cmsg_level == IPPROTO_TCP && first->cmsg_type == TCP_CM_INQ) {
        int left = 1;  // the end counts as a byte
        std::memcpy(&left, CMSG_DATA(first), sizeof left);
        result.isLast = left == 0;
    }
    return result;
}

Transfer send(int fd, const void* data, std::size_t size) {
    return transfer([&] { return ::send(fd, data, size, MSG_DONTWAIT | MSG_NOSIGNAL); });
}

bool waitFor(int fd, Ready ready, int timeoutMs) {
    if (fd < 0) return false;
    const Deadline deadline(timeoutMs);
    pollfd watched{fd, static_cast<short>(ready == Ready::toRead ? POLLIN : POLLOUT), 0};
    const int result = uninterrupted([&] { return ::poll(&watched, 1, deadline.leftMs()); });
    return result > 0 && !(watched.revents & POLLNVAL);
}

UniqueFd listenAt(int port) {
    if (port < 0 || port > 65535) return {};
    UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd) return {};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    // These pass on to what is accepted. An older kernel doesn't know the last one, without which nothing is lost.
    setOption(fd.get(), IPPROTO_TCP, TCP_INQ);
    const bool listens = setOption(fd.get(), SOL_SOCKET, SO_REUSEADDR) &&
                         setOption(fd.get(), IPPROTO_TCP, TCP_NODELAY) &&
                         setOption(fd.get(), SOL_SOCKET, SO_KEEPALIVE) &&
                         ::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                         ::listen(fd.get(), SOMAXCONN) == 0;
    return listens ? std::move(fd) : UniqueFd();
}

OpenResult acceptFrom(int listening) {
    const int fd = uninterrupted([&] { return ::accept4(listening, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC); });
    if (fd < 0) return {.fd = {}, .error = errno};
    return {.fd = UniqueFd(fd)};
}

Address localAddress(int fd) {
    return addressBy(::getsockname, fd);
}

Address peerAddress(int fd) {
    return addressBy(::getpeername, fd);
}

bool machineAddress(unsigned char address[4]) {
    ifaddrs* found = nullptr;
    if (::getifaddrs(&found) != 0) return false;
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(found, &::freeifaddrs);
    for (const ifaddrs* each = found; each; each = each->ifa_next)
        if (each->ifa_addr && each->ifa_addr->sa_family == AF_INET && (each->ifa_flags & IFF_UP) &&
            !(each->ifa_flags & IFF_LOOPBACK)) {
            copyAddress(address, each->ifa_addr);
            return true;
        }
    const unsigned char loopback[4] = {127, 0, 0, 1};
    std::memcpy(address, loopback, sizeof loopback);
    return true;
}

bool hostAddress(const char* host, unsigned char address[4]) {
    addrinfo wanted{}, *found = nullptr;
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;
    if (::getaddrinfo(host, nullptr, &wanted, &found) != 0 || !found) return false;
    copyAddress(address, found->ai_addr);
    ::freeaddrinfo(found);
    return true;
}

UniqueFd reserveFd() {
    return UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace platform
