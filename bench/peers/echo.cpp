// A service that sends each line back, in three ways: on the library with a host's loop over poll, with poll by hand,
// with libevent's buffered events. Its client is a process of its own, the same for all.
//
//     echo library|poll|libevent CONNECTIONS OUTSTANDING MESSAGES
//
// Each connection sends so many lines and reads them back before it sends the next; at the end each has sent its share
// of MESSAGES. Prints "LINES BYTES" of what came back, and to standard error the lines a second and the server's time.
#include <UT/UT_NetSocket.h>
#include <arpa/inet.h>
#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>
#include <events/FS_ServerSocketListener.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "../../examples/event_host/PollHost.h"
#include "Work.h"

namespace {

constexpr std::string_view kLine = "a line of thirty-two characters\n";

// The client. Its descriptors block: it is to cost as little as it can.
Result converse(int port, int connections, int outstanding, int messages) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::vector<int> sockets;
    for (int i = 0; i < connections; ++i) {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0), on = 1;
        require(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "connect");
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        sockets.push_back(fd);
    }
    Result result;
    std::string answer(kLine.size() * static_cast<std::size_t>(outstanding), '\0');
    while (result.count < messages) {
        for (const int fd : sockets)
            for (int i = 0; i < outstanding; ++i)
                require(::send(fd, kLine.data(), kLine.size(), 0) == static_cast<ssize_t>(kLine.size()), "send");
        for (const int fd : sockets) {
            require(::recv(fd, answer.data(), answer.size(), MSG_WAITALL) == static_cast<ssize_t>(answer.size()),
                    "recv");
            for (std::size_t at = 0; at < answer.size(); at += kLine.size()) {
                require(answer.compare(at, kLine.size(), kLine) == 0, "another line came back");
                result.add(static_cast<long long>(kLine.size()));
            }
        }
    }
    return result;
}

int listenSomewhere(int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t size = sizeof address;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);  // passes on to what is accepted
    require(::bind(fd, reinterpret_cast<const sockaddr*>(&address), size) == 0 && ::listen(fd, SOMAXCONN) == 0 &&
                ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0,
            "listen");
    port = ntohs(address.sin_port);
    return fd;
}

// Each server tells its port, and serves until the process is ended.
using Tell = void (*)(int port);

[[noreturn]] void serveByLibrary(Tell tell) {
    PollHost host;
    const auto* const service = FS_ServerSocketListener::createSocketListener(
        0, [](void*, const char* text, int length, UT_NetSocket& socket) { socket.write(text, length, nullptr, -1); },
        nullptr, nullptr, false);
    require(service, "listen");
    tell(service->getPort());
    for (;;) host.turn();
}

[[noreturn]] void serveByPoll(Tell tell) {
    int port = 0;
    std::vector<pollfd> watched = {{listenSomewhere(port), POLLIN, 0}};
    std::vector<std::string> inputs(1);
    tell(port);
    char buffer[8192];
    for (;;) {
        ::poll(watched.data(), watched.size(), -1);
        // The oldest first, as the others do: the client waits for its answers in that order.
        for (std::size_t i = 1; i < watched.size(); ++i) {
            if (!watched[i].revents) continue;
            const ssize_t count = ::recv(watched[i].fd, buffer, sizeof buffer, MSG_DONTWAIT);
            if (count <= 0) {
                ::close(watched[i].fd);
                watched[i] = watched.back();
                inputs[i] = inputs.back();
                watched.pop_back();
                inputs.pop_back();
                --i;
                continue;
            }
            std::string& input = inputs[i];
            input.append(buffer, static_cast<std::size_t>(count));
            if (input.back() != '\n') continue;
            require(
                ::send(watched[i].fd, input.data(), input.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(input.size()),
                "send");
            input.clear();
        }
        if (watched[0].revents) {
            watched.push_back({::accept4(watched[0].fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC), POLLIN, 0});
            inputs.emplace_back();
        }
    }
}

[[noreturn]] void serveByLibevent(Tell tell) {
    int port = 0;
    const int listening = listenSomewhere(port);
    event_base* const base = event_base_new();
    event* const accepting = event_new(
        base, listening, EV_READ | EV_PERSIST,
        [](evutil_socket_t fd, short, void* data) {
            const int peer = ::accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            bufferevent* const buffered =
                bufferevent_socket_new(static_cast<event_base*>(data), peer, BEV_OPT_CLOSE_ON_FREE);
            bufferevent_setcb(
                buffered, [](bufferevent* each, void*) { bufferevent_write_buffer(each, bufferevent_get_input(each)); },
                nullptr, [](bufferevent* each, short, void*) { bufferevent_free(each); }, nullptr);
            bufferevent_enable(buffered, EV_READ | EV_WRITE);
        },
        base);
    event_add(accepting, nullptr);
    tell(port);
    event_base_dispatch(base);
    die("libevent has ended");
}

int toParent;

}  // namespace

int main(int argc, char** argv) {
    require(argc == 5, "usage: echo library|poll|libevent CONNECTIONS OUTSTANDING MESSAGES");
    const std::string_view way = argv[1];
    int ends[2], port = 0;
    require(::pipe(ends) == 0, "pipe");
    toParent = ends[1];
    const pid_t server = ::fork();
    if (server == 0) {
        const Tell tell = [](int number) { require(::write(toParent, &number, sizeof number) > 0, "write"); };
        if (way == "library") serveByLibrary(tell);
        if (way == "poll") serveByPoll(tell);
        if (way == "libevent") serveByLibevent(tell);
        die("no such way");
    }
    ::close(ends[1]);
    require(::read(ends[0], &port, sizeof port) == static_cast<ssize_t>(sizeof port), "no server");
    const auto start = std::chrono::steady_clock::now();
    const Result result = converse(port, std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]));
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    ::kill(server, SIGKILL);
    rusage used{};
    ::wait4(server, nullptr, 0, &used);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    const auto count = static_cast<double>(result.count);
    std::fprintf(stderr, "%s: %.0f lines/s, server %.2f us a line\n", argv[1], count / time.count(),
                 1e6 * (seconds(used.ru_utime) + seconds(used.ru_stime)) / count);
    return result.print();
}
