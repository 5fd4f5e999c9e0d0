#pragma once
// Web servers on 127.0.0.1, each at a port that was free: one that answers as a test says, however badly, and real
// ones.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// A socket that listens; `port` becomes its port.
inline int listenSomewhere(int& port, int backlog = 64) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::listen(fd, backlog), 0);
    EXPECT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
    port = ntohs(address.sin_port);
    return fd;
}

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

// A program that serves a directory for as long as the object lives.
class RealServer {
public:
    enum Kind { Python, Nginx };

    static bool isInstalled(Kind kind) {
        return ::access(kind == Nginx ? "/usr/sbin/nginx" : "/usr/bin/python3", X_OK) == 0;
    }

    // The server's own files go to `scratch`. Nobody else can have the port: the server gets the socket that was bound
    // to it.
    RealServer(Kind kind, const std::string& directory, const std::string& scratch) {
        const int listening = listenSomewhere(port_);
        const std::string fd = std::to_string(listening);
        std::vector<std::string> words;
        if (kind == Python) {
            words = {"/usr/bin/python3", "-c",
                     "import functools, http.server, socket, sys\n"
                     "Handler = functools.partial(http.server.SimpleHTTPRequestHandler, directory=sys.argv[1])\n"
                     "server = http.server.HTTPServer(('127.0.0.1', 0), Handler, bind_and_activate=False)\n"
                     "server.socket = socket.socket(fileno=int(sys.argv[2]))\n"
                     "server.serve_forever()\n",
                     directory, fd};
        } else {
            std::ofstream(scratch + "/nginx.conf")
                << (::geteuid() == 0 ? "user root; " : "")  // who else could not read what root serves
                << "daemon off; worker_processes 1; pid nginx.pid; error_log stderr crit; events {}\n"
                << "http { access_log off; client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t;\n"
                << "uwsgi_temp_path t; scgi_temp_path t; server { listen 127.0.0.1:" << port_ << ";\n"
                << "root '" << directory << "'; autoindex on; } }\n";
            words = {"/usr/sbin/nginx", "-p", scratch, "-c", scratch + "/nginx.conf", "-e", "stderr"};
        }
        child_ = ::fork();
        if (child_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            ::dup2(::open("/dev/null", 1), 2);
            ::setenv("NGINX", (fd + ";").c_str(), 1);  // how nginx is told of sockets that are open already
            const int kept = ::dup(listening);         // without close-on-exec, and then under its old number
            ::dup2(kept, listening);
            ::close(kept);
            std::vector<char*> arguments;
            for (std::string& word : words) arguments.push_back(word.data());
            arguments.push_back(nullptr);
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
        ::close(listening);
    }
    ~RealServer() {
        ::kill(child_, SIGTERM);
        ::waitpid(child_, nullptr, 0);
    }
    RealServer(const RealServer&) = delete;
    RealServer& operator=(const RealServer&) = delete;

    std::string url(const std::string& page) const { return "http://127.0.0.1:" + std::to_string(port_) + page; }

private:
    int port_ = 0;
    pid_t child_ = -1;
};
