#pragma once
// nginx on 127.0.0.1, at a port that was free.
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "../tests/support/Network.h"

// Serves a directory for as long as the object lives.
class LocalNginx {
public:
    static bool isInstalled() { return ::access(kProgram, X_OK) == 0; }

    // The server's own files go to `scratch`. Nobody else can have the port: the server gets the socket that was bound
    // to it.
    LocalNginx(const std::string& directory, const std::string& scratch) {
        const int listening = listenSomewhere(port_);
        const std::string fd = std::to_string(listening), settings = scratch + "/nginx.conf";
        std::ofstream(settings)
            << (::geteuid() == 0 ? "user root; " : "")  // who else could not read what root serves
            << "daemon off; worker_processes 1; pid nginx.pid; error_log stderr crit; events {}\n"
            << "http { access_log off; client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t;\n"
            << "uwsgi_temp_path t; scgi_temp_path t; server { listen 127.0.0.1:" << port_ << ";\n"
            << "root '" << directory << "'; autoindex on; } }\n";
        child_ = ::fork();
        if (child_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            ::dup2(::open("/dev/null", 1), 2);
            ::setenv("NGINX", (fd + ";").c_str(), 1);  // how nginx is told of sockets that are open already
            const int kept = ::dup(listening);         // without close-on-exec, and then under its old number
            ::dup2(kept, listening);
            ::close(kept);
            ::execl(kProgram, kProgram, "-p", scratch.c_str(), "-c", settings.c_str(), "-e", "stderr", nullptr);
            ::_exit(127);
        }
        ::close(listening);
    }
    ~LocalNginx() {
        ::kill(child_, SIGTERM);
        ::waitpid(child_, nullptr, 0);
    }
    LocalNginx(const LocalNginx&) = delete;
    LocalNginx& operator=(const LocalNginx&) = delete;

    int port() const { return port_; }
    std::string url(const std::string& page) const { return "http://127.0.0.1:" + std::to_string(port_) + page; }

private:
    static constexpr const char* kProgram = "/usr/sbin/nginx";

    int port_ = 0;
    pid_t child_ = -1;
};
