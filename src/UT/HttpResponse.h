#pragma once
// Private: reads the answer of a web server, without a socket: it is fed with bytes as they come, in pieces of any
// size.
//
//     HttpResponse response;
//     while (!response.isDone() && !response.hasFailed()) {
//         std::string_view input = receive();
//         if (input.empty()) response.end();
//         while (!input.empty()) write(response.next(input));
//     }
//
// Strict: what isn't plainly an answer fails, and stays failed. The body is passed through and never kept, so that
// memory follows the header alone, which has a limit. A length that a server claims is held against the limit and never
// used for anything but counting.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class HttpResponse {
public:
    struct Limits {
        std::size_t header = 1 << 20;      // bytes of all that isn't body but chunk sizes: header lines, also those of
                                           // interim answers, and lines behind a chunked body
        std::int64_t body = 2147483647;    // bytes
        std::size_t chunkLine = 4 * 1024;  // bytes of one line that tells a chunk's size
    };
    HttpResponse() = default;
    explicit HttpResponse(const Limits& limits) : limits_(limits) {}

    // Takes bytes from the front of `input` and gives those of them that are body, which may be none. At least one is
    // taken unless the answer is done or has failed; then the rest is dropped.
    std::string_view next(std::string_view& input);
    // Tells that no more bytes come.
    void end();

    // The answer is there, whole.
    bool isDone() const { return phase_ == Phase::Done; }
    bool hasFailed() const { return !fault_.empty(); }
    // What is wrong with it; empty if nothing is.
    std::string_view fault() const { return fault_; }

    // The header is there, whole. It is that of the answer itself, not of an interim one ("100 Continue").
    bool hasHeader() const { return phase_ > Phase::Header; }
    // Valid once hasHeader(): the number, number and words ("404 Not Found"), and all lines as they came.
    int status() const { return status_; }
    std::string_view statusText() const;
    const std::string& header() const { return header_; }
    // The value of a field, of which `name` is in lower case. None if there is no such field, or there are several that
    // differ.
    std::optional<std::string_view> field(std::string_view name) const;

private:
    enum class Phase { Header, Sized, UntilEnd, ChunkSize, Chunk, ChunkEnd, Trailer, Done };

    bool takeLine(std::string& text, std::size_t limit, std::string_view& input);
    std::string_view takeBody(std::string_view& input, std::int64_t most);
    void headerLine();
    void beginBody();
    void chunkSize();
    void chunkEnd();
    void trailerLine();
    void fail(std::string_view fault) { fault_ = fault; }

    Limits limits_;
    Phase phase_ = Phase::Header;
    std::string_view fault_;  // a literal
    std::string header_;
    std::size_t lineStart_ = 0;  // in header_
    std::string line_;           // of what is between chunks and behind them
    int status_ = 0;
    std::int64_t left_ = 0;  // bytes of the body, or of the chunk
    std::int64_t body_ = 0;  // bytes so far
};
