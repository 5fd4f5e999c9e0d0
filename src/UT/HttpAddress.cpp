// Addresses of pages, and where relative ones lead (RFC 3986, 5.2).
#include <UT/HttpAddress.h>
#include <UT/TextScan.h>

#include <algorithm>

namespace {

constexpr int kLastPort = 65535;

bool isControlOrBlank(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == 0x7f;
}

bool hasControlOrBlank(std::string_view text) {
    return std::any_of(text.begin(), text.end(), isControlOrBlank);
}

// Takes a scheme off, with its colon. False if it is there and isn't that of an address over http.
bool takeScheme(std::string_view& location) {
    const std::size_t colon = location.find_first_of(":/?");
    if (colon == location.npos || location[colon] != ':') return true;
    const std::string_view scheme = location.substr(0, colon);
    location.remove_prefix(colon + 1);
    return location.starts_with("//") && textscan::equalsLower(scheme, "http");
}

// The port behind a host: "" or ":8080". 0 if it is none.
int parsePort(std::string_view text) {
    if (text.empty() || text == ":") return 80;
    if (text.front() != ':') return 0;
    int port = 0;
    for (const char c : text.substr(1)) {
        if (!textscan::isDigit(c)) return 0;
        port = port * 10 + (c - '0');
        if (port > kLastPort) return 0;
    }
    return port;
}

// Of "host:port" or "[address]:port".
bool parseHost(std::string_view text, HttpAddress& address) {
    if (text.find('@') != text.npos) return false;
    std::size_t end = text.find(':');
    if (text.starts_with('[')) {
        end = text.find(']');
        if (end == text.npos) return false;
        address.host = text.substr(1, end - 1);
        ++end;
    } else {
        address.host = text.substr(0, end);
    }
    address.port = parsePort(text.substr(std::min(end, text.size())));
    return true;
}

// A path without "." and "..", of which none leads above the top.
std::string withoutDots(std::string_view path) {
    std::string out;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/', 1), path.size());
        const std::string_view part = path.substr(0, end);
        path.remove_prefix(end);
        const bool up = part == "/..";
        if (!up && part != "/.") {
            out += part;
            continue;
        }
        if (up) out.resize(out.empty() ? 0 : out.rfind('/'));
        if (path.empty()) out += '/';
    }
    return out;
}

std::string_view pathOf(std::string_view page) {
    return page.substr(0, page.find_first_of("?#"));
}

}  // namespace

std::string_view whyUnsendable(const HttpAddress& address) {
    if (address.host.empty()) return "no host in the address";
    if (hasControlOrBlank(address.host)) return "a blank or a control character in the host";
    if (address.port < 1 || address.port > kLastPort) return "no such port";
    if (!address.page.starts_with('/')) return "a page that doesn't begin with \"/\"";
    if (hasControlOrBlank(address.page)) return "a blank or a control character in the page";
    return {};
}

std::string hostAndPort(const HttpAddress& address) {
    std::string text = address.host.find(':') != std::string::npos ? "[" + address.host + "]" : address.host;
    if (address.port != 80) text += ":" + std::to_string(address.port);
    return text;
}

std::optional<HttpAddress> redirectTarget(std::string_view location, const HttpAddress& from) {
    location = location.substr(0, location.find('#'));
    if (location.empty() || !takeScheme(location)) return std::nullopt;
    HttpAddress target = from;
    std::string page;
    if (location.starts_with("//")) {
        location.remove_prefix(2);
        const std::size_t end = std::min(location.find_first_of("/?"), location.size());
        if (!parseHost(location.substr(0, end), target)) return std::nullopt;
        page = location.substr(end);
        if (!page.starts_with('/')) page.insert(0, "/");
    } else if (location.starts_with('/')) {
        page = location;
    } else {
        const std::string_view path = pathOf(from.page);
        page = path.substr(0, location.starts_with('?') ? path.size() : path.rfind('/') + 1);
        page += location;
    }
    const std::size_t query = pathOf(page).size();
    target.page = withoutDots(std::string_view(page).substr(0, query)) + page.substr(query);
    return whyUnsendable(target).empty() ? std::optional(std::move(target)) : std::nullopt;
}
