// Requests, answers and redirects. What an answer may look like is HttpResponse's; here are the socket and the clock.
#include <UT/HttpDate.h>
#include <UT/WebFetch.h>
#include <platform/Outcome.h>
#include <platform/Socket.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>

namespace {

constexpr std::size_t kPiece = 256 * 1024;
constexpr std::size_t kLongestStatus = 100;  // of the words that a server chooses and people may be shown

std::string requestFor(const HttpAddress& address) {
    // What stands behind "#" is the reader's, not the server's.
    return "GET " + address.page.substr(0, address.page.find('#')) + " HTTP/1.1\r\nHost: " + hostAndPort(address) +
           "\r\nConnection: close\r\nAccept-Encoding: identity\r\n\r\n";
}

// Whether bytes come fast enough.
class Pace {
public:
    explicit Pace(const WebLimits& limits) : limits_(limits) {}

    // False when too few came.
    bool count(std::size_t bytes) {
        bytes_ += static_cast<std::int64_t>(bytes);
        const auto now = Clock::now();
        if (now - begin_ < std::chrono::milliseconds(limits_.paceMs)) return true;
        const bool enough = bytes_ >= limits_.paceBytes;
        begin_ = now;
        bytes_ = 0;
        return enough;
    }

private:
    using Clock = std::chrono::steady_clock;
    const WebLimits& limits_;
    Clock::time_point begin_ = Clock::now();
    std::int64_t bytes_ = 0;
};

// One request and its answer. The results are a fault in words, empty if there is none.
class Exchange {
public:
    Exchange(HttpResponse& response, const PageSink& sink, const WebLimits& limits)
        : response_(response), sink_(sink), limits_(limits) {}

    std::string run(const HttpAddress& address) {
        platform::Connected connected = platform::connectTo(address.host, address.port, limits_.connectMs);
        if (!connected.fd) return connected.reason;
        fd_ = std::move(connected.fd);
        std::string fault = send(requestFor(address));
        return fault.empty() ? receive() : fault;
    }

private:
    std::string send(std::string_view request) {
        while (!request.empty()) {
            const platform::Transfer sent = platform::send(fd_.get(), request.data(), request.size());
            request.remove_prefix(sent.count);
            if (sent.error == 0) continue;
            if (sent.error != EAGAIN) return platform::errorWords(sent.error);
            if (!platform::waitFor(fd_.get(), platform::Ready::toWrite, limits_.silenceMs)) return kSilent;
        }
        return {};
    }

    std::string receive() {
        const auto buffer = std::make_unique_for_overwrite<char[]>(kPiece);
        Pace pace(limits_);
        while (!isOver()) {
            const platform::Transfer got = platform::receive(fd_.get(), buffer.get(), kPiece);
            if (got.error == EAGAIN) {
                if (!platform::waitFor(fd_.get(), platform::Ready::toRead, limits_.silenceMs)) return kSilent;
                continue;
            }
            if (got.error != 0) return platform::errorWords(got.error);
            if (got.count == 0) response_.end();
            if (!pass({buffer.get(), got.count})) return "the page can't be stored";
            if (!isOver() && !pace.count(got.count)) return "the server sends too slowly";
        }
        return std::string(response_.fault());
    }

    // Only a good answer's body is wanted.
    bool isOver() const {
        return response_.isDone() || response_.hasFailed() || (response_.hasHeader() && response_.status() != 200);
    }

    bool pass(std::string_view input) {
        while (!input.empty() && !isOver()) {
            const std::string_view piece = response_.next(input);
            if (!piece.empty() && response_.status() == 200 && !sink_(piece)) return false;
        }
        return true;
    }

    static constexpr char kSilent[] = "the server sends nothing";

    HttpResponse& response_;
    const PageSink& sink_;
    const WebLimits& limits_;
    platform::UniqueFd fd_;
};

bool isRedirect(int status) {
    return (status >= 301 && status <= 303) || status == 307 || status == 308;
}

}  // namespace

WebAnswer fetchPage(HttpAddress address, const PageSink& sink, const WebLimits& limits) {
    WebAnswer answer;
    const auto fail = [&answer](std::string_view error) {
        answer.error = error;
        return answer;
    };
    for (int redirects = 0;; ++redirects) {
        if (const auto why = whyUnsendable(address); !why.empty()) return fail(why);
        HttpResponse response(limits.answer);
        const std::string fault = Exchange(response, sink, limits).run(address);
        if (response.hasHeader()) answer.header = response.header();
        if (!fault.empty()) return fail(fault);
        if (response.status() == 200) {
            answer.modTime = parseHttpDate(response.field("last-modified").value_or("")).value_or(std::time(nullptr));
            return answer;
        }
        if (!isRedirect(response.status())) return fail(response.statusText().substr(0, kLongestStatus));
        if (redirects == limits.redirects) return fail("too many redirects");
        auto target = redirectTarget(response.field("location").value_or(""), address);
        if (!target) return fail("a redirect that leads to no http address");
        address = *std::move(target);
    }
}
