#pragma once
// A web server on 127.0.0.1 that answers as a test says, however badly.
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Network.h"

// Answers one connection after the other, in a thread of its own, until it goes.
class ScriptedServer {
public:
    using Answer = std::function<void(const Peer& peer, const std::string& request)>;

    explicit ScriptedServer(Answer answer)
        : listening_(listenSomewhere(port_)), thread_([this, answer = std::move(answer)] { serve(answer); }) {}
    // Says always the same.
    explicit ScriptedServer(std::string bytes)
        : ScriptedServer([bytes = std::move(bytes)](const Peer& peer, const std::string&) { peer.send(bytes); }) {}
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
            std::string request;
            for (std::string byte; !request.ends_with("\r\n\r\n") && !(byte = peer.receive(1)).empty();)
                request += byte;
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
