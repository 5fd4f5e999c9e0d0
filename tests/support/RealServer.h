#pragma once
// Real web servers on 127.0.0.1, each at a port that was free, for tests and benchmarks.
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

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

    int port() const { return port_; }
    std::string url(const std::string& page) const { return "http://127.0.0.1:" + std::to_string(port_) + page; }

private:
    int port_ = 0;
    pid_t child_ = -1;
};
