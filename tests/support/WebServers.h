#pragma once
// A web server on 127.0.0.1 that answers as a test says, however badly.
#include <gtest/gtest.h>
#include <poll.h>

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Network.h"

// The server's end of one connection.
class Peer {
public:
    explicit Peer(int fd) : fd_(fd) {}
    ~Peer() { ::close(fd_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // False once the client has gone.
    bool say(std::string_view bytes) const {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // Says the same until the client goes, one piece a `pause`.
    void repeat(std::string_view bytes, int pauseMs = 0) const {
        while (say(bytes)) ::poll(nullptr, 0, pauseMs);
    }
    std::string hear() const {
        std::string request;
        char part[4096];
        for (ssize_t n; request.find("\r\n\r\n") == request.npos && (n = ::recv(fd_, part, sizeof part, 0)) > 0;)
            request.append(part, static_cast<std::size_t>(n));
        return request;
    }
    // Says nothing until the client goes.
    void wait() const {
        for (char byte; ::recv(fd_, &byte, 1, 0) > 0;) continue;
    }
    // Ends the connection so that the client's next read fails.
    void reset() const {
        const linger now{1, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    }

private:
    const int fd_;
};

// Answers one connection after the other, in a thread of its own, until it goes.
class ScriptedServer {
public:
    using Answer = std::function<void(const Peer& peer, const std::string& request)>;

    explicit ScriptedServer(Answer answer)
        : listening_(listenSomewhere(port_)), thread_([this, answer = std::move(answer)] { serve(answer); }) {}
    // Says always the same.
    explicit ScriptedServer(std::string bytes)
        : ScriptedServer([bytes = std::move(bytes)](const Peer& peer, const std::string&) { peer.say(bytes); }) {}
    ~ScriptedServer() {
        ::shutdown(listening_, SHUT_RDWR);
        thread_.join();
        ::close(listening_);
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    int port() const { return port_; }
    std::string url(const std::string& page) const { return "http://127.0.0.1:" + std::to_string(port_) + page; }
    // What clients have sent so far.
    std::vector<std::string> requests() {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    void serve(const Answer& answer) {
        for (int fd; (fd = ::accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            const Peer peer(fd);
            const std::string request = peer.hear();
            {
                const std::lock_guard lock(mutex_);
                requests_.push_back(request);
            }
            answer(peer, request);
        }
    }

    int port_ = 0;
    const int listening_;
    std::mutex mutex_;
    std::vector<std::string> requests_;
    std::thread thread_;
};
