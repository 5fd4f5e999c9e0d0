// The way to a host that is known by its name.
#include <netdb.h>
#include <platform/Deadline.h>
#include <platform/Outcome.h>
#include <platform/Socket.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>

namespace platform {
namespace {

using Addresses = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

OpenResult tryAddress(const addrinfo& address, int timeoutMs) {
    UniqueFd fd(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol));
    if (!fd) return {.fd = {}, .error = errno};
    int error = ::connect(fd.get(), address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS || error == EINTR) {
        socklen_t size = sizeof error;
        if (!waitFor(fd.get(), Ready::toWrite, timeoutMs))
            error = ETIMEDOUT;
        else if (::getsockopt(fd.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0)
            error = errno;
    }
    if (error != 0) return {.fd = {}, .error = error};
    return {.fd = std::move(fd)};
}

}  // namespace

Connected connectTo(const std::string& host, int port, int timeoutMs) {
    addrinfo wanted{}, *list = nullptr;
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_NUMERICSERV;
    const int fault = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &list);
    if (fault != 0) {
        const int error = errno;
        return {.fd = {}, .reason = fault == EAI_SYSTEM ? errorWords(error) : ::gai_strerror(fault)};
    }
    const Addresses addresses(list, &::freeaddrinfo);

    const Deadline deadline(timeoutMs);
    int untried = 0;
    for (const addrinfo* each = list; each != nullptr; each = each->ai_next) ++untried;
    OpenResult attempt;
    for (const addrinfo* each = list; each != nullptr && !attempt.fd; each = each->ai_next, --untried)
        attempt = tryAddress(*each, deadline.leftMs() / untried);
    if (!attempt.fd) return {.fd = {}, .reason = errorWords(attempt.error)};
    return {.fd = std::move(attempt.fd), .reason = {}};
}

}  // namespace platform
