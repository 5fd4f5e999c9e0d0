#pragma once
// Private: where a page is to be had.
#include <optional>
#include <string>
#include <string_view>

struct HttpAddress {
    std::string host;  // a name, or an address without brackets
    int port = 80;
    std::string page = "/";  // begins with "/"
};

// Why nothing can be asked for at an address, in words; empty if it can. No address that passes can put a word of its
// own into a request.
std::string_view whyUnsendable(const HttpAddress& address);
// "host", or "host:port" where the port isn't 80, with an address of IPv6 in brackets.
std::string hostAndPort(const HttpAddress& address);
// Where a redirect leads that an answer from `from` gave: to a http address, or to a page relative to that of `from`.
// None for other schemes, for what names a user, and for an address that can't be sent.
std::optional<HttpAddress> redirectTarget(std::string_view location, const HttpAddress& from);
