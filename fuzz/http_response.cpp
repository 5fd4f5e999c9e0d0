// Answers of web servers. One answer has one meaning however its bytes are cut; what passes on stays within the limits;
// and where it redirects to can be asked for without a word of the server's own in the request.
#include "Check.h"
#include "Limits.h"

#include <UT/HttpAddress.h>
#include <UT/HttpDate.h>
#include <UT/HttpResponse.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kLongestInput = 16 * 1024;
constexpr HttpResponse::Limits kLimits{.header = 2048, .body = 4096, .chunkLine = 64};

struct Answer {
    std::string header, body;
    std::string_view fault;
    bool isDone = false;

    bool operator==(const Answer&) const = default;
};

// Fed in pieces whose sizes the input itself chooses, or in one.
Answer read(std::string_view bytes, bool inPieces, HttpResponse& response) {
    Answer answer;
    while (!bytes.empty()) {
        const std::size_t size = inPieces ? static_cast<unsigned char>(bytes.front()) % 7 + 1u : bytes.size();
        std::string_view input = bytes.substr(0, size);
        bytes.remove_prefix(input.size());
        while (!input.empty()) {
            const std::size_t before = input.size();
            const bool isOver = response.isDone() || response.hasFailed();
            const std::string_view piece = response.next(input);
            check(input.size() < before, "every call takes something");
            check(piece.empty() || (response.hasHeader() && !isOver), "a body stands behind a header, and ends");
            answer.body += piece;
        }
    }
    response.end();
    check(response.isDone() != response.hasFailed(), "in the end an answer is whole or wrong");
    if (response.hasHeader()) answer.header = response.header();
    answer.fault = response.fault();
    answer.isDone = response.isDone();
    return answer;
}

void checkRedirect(std::string_view location) {
    const HttpAddress from{.host = "host", .port = 8080, .page = "/a/b?c"};
    const auto target = redirectTarget(location, from);
    if (!target) return;
    check(whyUnsendable(*target).empty(), "a target can be asked for");
    const std::string sent = hostAndPort(*target) + target->page;
    check(std::none_of(sent.begin(), sent.end(), [](unsigned char c) { return c <= ' ' || c == 0x7f; }),
          "a target adds no word to a request");
    const std::string_view path = std::string_view(target->page).substr(0, target->page.find('?'));
    check(path.find("/../") == path.npos && !path.ends_with("/.."), "a target leads to no place above the top");
    // One that begins with "//" would name a host when it stands alone.
    check(target->page.starts_with("//") || redirectTarget(target->page, *target)->page == target->page,
          "a target leads to itself");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    HttpResponse whole(kLimits), cut(kLimits);
    const Answer answer = read(bytes, false, whole);
    check(answer == read(bytes, true, cut), "it doesn't matter how the bytes are cut");
    check(answer.header.size() <= kLimits.header, "the header keeps its limit");
    check(answer.body.size() <= static_cast<std::size_t>(kLimits.body), "the body keeps its limit");
    if (answer.isDone) {
        check(whole.status() >= 100 && whole.status() <= 999, "a status has three digits");
        checkRedirect(whole.field("location").value_or(""));
        static_cast<void>(parseHttpDate(whole.field("last-modified").value_or("")));
    }
    checkRedirect(bytes);
    static_cast<void>(parseHttpDate(bytes));
    return 0;
}
