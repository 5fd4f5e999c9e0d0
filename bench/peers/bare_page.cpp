// The floor under fetching a page: a socket, a request, and what comes behind the header, written to a file.
//
//     bare_page PORT PAGE
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

#include "Work.h"

int main(int argc, char** argv) {
    constexpr std::size_t kBlock = 256 * 1024;
    require(argc == 3, "usage: bare_page PORT PAGE");
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(argv[1])));
    require(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "no connection");
    const std::string request =
        "GET " + std::string(argv[2]) + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
    require(::send(fd, request.data(), request.size(), 0) == static_cast<ssize_t>(request.size()), "not sent");

    const ScratchFile file;
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    std::string header;
    Result result{.count = 1, .bytes = 0};
    bool inBody = false;
    for (ssize_t n; (n = ::recv(fd, block.get(), kBlock, 0)) > 0;) {
        std::string_view piece(block.get(), static_cast<std::size_t>(n));
        if (!inBody) {
            header += piece;
            const std::size_t end = header.find("\r\n\r\n");
            if (end == header.npos) continue;
            inBody = true;
            piece = std::string_view(header).substr(end + 4);
        }
        file.write(piece.data(), piece.size());
        result.bytes += static_cast<long long>(piece.size());
    }
    ::close(fd);
    return result.print();
}
