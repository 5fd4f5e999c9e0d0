#pragma once
// Private: fetches a page over http and passes its bytes on as they come, with limits that tests can make small.
//
//     const WebAnswer answer = fetchPage({.host = "example.org", .page = "/x"}, [&](std::string_view piece) {
//         return out.write(piece);
//     });
//     if (!answer.error.empty()) return failure(answer.error);
#include <UT/HttpAddress.h>
#include <UT/HttpResponse.h>

#include <cstdint>
#include <functional>
#include <string>

struct WebLimits {
    HttpResponse::Limits answer = {};
    int redirects = 5;
    int connectMs = 10'000;  // over all addresses of a host
    int silenceMs = 30'000;  // until the next byte
    // What is slower than so many bytes in so long a time is given up: a server must not hold us for ever by a byte now
    // and then. Every such time counts, from the connection on, and not the rest behind the last whole one.
    int paceMs = 60'000;
    std::int64_t paceBytes = 60 * 1024;
};

struct [[nodiscard]] WebAnswer {
    std::string error;         // in words; empty if the page came whole
    std::string header;        // the lines of the last answer that was whole so far, as they came
    std::int64_t modTime = 0;  // of the page, in seconds since the epoch
};

// Takes a piece of the page. False, if that can't be done, ends the fetch.
using PageSink = std::function<bool(std::string_view)>;

// What has been passed on is the page only if there is no error; only bytes of an answer "200" are.
WebAnswer fetchPage(HttpAddress address, const PageSink& sink, const WebLimits& limits = {});
