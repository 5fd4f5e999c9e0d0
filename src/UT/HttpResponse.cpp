// The answer of a web server, line by line and piece by piece. The rules are those of RFC 9112, and of two readings
// that it allows always the one that refuses; only a header line may end in a line feed alone, as old servers have it.
#include <UT/HttpResponse.h>
#include <UT/TextScan.h>

#include <algorithm>

namespace {

using textscan::digitValue;
using textscan::equalsLower;
using textscan::isDigit;
using textscan::isLetter;

bool isTokenCharacter(char c) {
    return isLetter(c) || isDigit(c) ||
           (c != '\0' && std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos);
}

bool isControl(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
}

std::string_view trimmed(std::string_view text) {
    const auto begin = std::min(text.find_first_not_of(" \t"), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

struct Field {
    std::string_view name, value;
};

// A line that goes on from the one before, and a blank in front of the colon, fail as names.
std::optional<Field> parseField(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == 0 || colon == line.npos) return std::nullopt;
    const Field field{line.substr(0, colon), trimmed(line.substr(colon + 1))};
    if (!std::all_of(field.name.begin(), field.name.end(), isTokenCharacter)) return std::nullopt;
    if (std::any_of(field.value.begin(), field.value.end(), isControl)) return std::nullopt;
    return field;
}

// The status of "HTTP/1.1 200 OK", 0 if the line isn't one.
int parseStatus(std::string_view line) {
    constexpr std::string_view kVersion = "HTTP/1.";
    constexpr std::size_t kNumber = kVersion.size() + 2, kEnd = kNumber + 3;
    if (!line.starts_with(kVersion) || line.size() < kEnd || !isDigit(line[kNumber - 2]) || line[kNumber - 1] != ' ')
        return 0;
    if (line.size() > kEnd && line[kEnd] != ' ') return 0;
    if (std::any_of(line.begin(), line.end(), isControl)) return 0;
    int status = 0;
    for (const char c : line.substr(kNumber, 3)) {
        if (!isDigit(c)) return 0;
        status = status * 10 + (c - '0');
    }
    return status >= 100 ? status : 0;
}

// Takes the digits in front of `text`. None if there is no digit or the number is above `most`.
std::optional<std::int64_t> takeNumber(std::string_view& text, int base, std::int64_t most) {
    std::int64_t number = 0;
    std::size_t at = 0;
    for (; at < text.size() && digitValue(text[at]) < base; ++at) {
        const int digit = digitValue(text[at]);
        if (digit > most || number > (most - digit) / base) return std::nullopt;
        number = number * base + digit;
    }
    text.remove_prefix(at);
    return at > 0 ? std::optional(number) : std::nullopt;
}

std::string_view withoutEnd(std::string_view line) {
    line.remove_suffix(1);
    return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

// Calls `use` with each field of a header that was found good.
template <class Use>
void forEachField(std::string_view header, Use use) {
    for (std::size_t at = header.find('\n') + 1; at < header.size();) {
        const std::size_t end = header.find('\n', at) + 1;
        if (const auto field = parseField(withoutEnd(header.substr(at, end - at)))) use(*field);
        at = end;
    }
}

}  // namespace

std::string_view HttpResponse::next(std::string_view& input) {
    while (!input.empty() && !hasFailed()) {
        switch (phase_) {
            case Phase::Header:
                if (takeLine(header_, limits_.header, input)) headerLine();
                break;
            case Phase::Sized: {
                const auto piece = takeBody(input, left_);
                if (left_ == 0) phase_ = Phase::Done;
                return piece;
            }
            case Phase::UntilEnd:
                if (body_ == limits_.body) {
                    fail("the page is too long");
                    break;
                }
                return takeBody(input, limits_.body - body_);
            case Phase::ChunkSize:
                if (takeLine(line_, limits_.chunkLine, input)) chunkSize();
                break;
            case Phase::Chunk: {
                const auto piece = takeBody(input, left_);
                if (left_ == 0) phase_ = Phase::ChunkEnd;
                return piece;
            }
            case Phase::ChunkEnd:
                if (takeLine(line_, 2, input)) chunkEnd();
                break;
            case Phase::Trailer:
                if (takeLine(line_, limits_.header - header_.size(), input)) trailerLine();
                break;
            case Phase::Done:
                input = {};
                break;
        }
    }
    if (hasFailed()) input = {};
    return {};
}

void HttpResponse::end() {
    if (hasFailed() || isDone()) return;
    if (phase_ == Phase::UntilEnd)
        phase_ = Phase::Done;
    else if (phase_ != Phase::Header)
        fail("the page is cut short");
    else
        fail(header_.empty() ? "no answer" : "the header is cut short");
}

std::string_view HttpResponse::statusText() const {
    const std::string_view line = withoutEnd(std::string_view(header_).substr(0, header_.find('\n') + 1));
    return trimmed(line.substr(std::min(line.find(' '), line.size())));
}

std::optional<std::string_view> HttpResponse::field(std::string_view name) const {
    std::optional<std::string_view> found;
    bool differ = false;
    forEachField(header_, [&](const Field& field) {
        if (!equalsLower(field.name, name)) return;
        differ |= found && *found != field.value;
        found = field.value;
    });
    return differ ? std::nullopt : found;
}

// Moves bytes to the end of `text`, up to a line's end. True if that came.
bool HttpResponse::takeLine(std::string& text, std::size_t limit, std::string_view& input) {
    const std::size_t end = input.find('\n');
    const std::size_t count = end == input.npos ? input.size() : end + 1;
    if (count > limit - text.size()) {
        fail(phase_ == Phase::ChunkEnd    ? "a chunk is longer than it says"
             : phase_ == Phase::ChunkSize ? "a chunk whose line is too long"
                                          : "the header is too long");
        return false;
    }
    text.append(input.substr(0, count));
    input.remove_prefix(count);
    return end != input.npos;
}

std::string_view HttpResponse::takeBody(std::string_view& input, std::int64_t most) {
    const std::string_view piece = input.substr(0, static_cast<std::size_t>(most));
    input.remove_prefix(piece.size());
    left_ -= static_cast<std::int64_t>(piece.size());
    body_ += static_cast<std::int64_t>(piece.size());
    return piece;
}

void HttpResponse::headerLine() {
    const std::string_view line = withoutEnd(std::string_view(header_).substr(lineStart_));
    const bool isFirst = lineStart_ == 0;
    lineStart_ = header_.size();
    if (isFirst) {
        status_ = parseStatus(line);
        if (status_ == 0) fail("not an answer over http");
    } else if (!line.empty()) {
        if (!parseField(line)) fail("a header line that is none");
    } else if (status_ < 200 && status_ != 101) {
        // The answer itself is still to come, and all interim ones together have one limit.
        limits_.header -= header_.size();
        header_.clear();
        lineStart_ = 0;
    } else {
        beginBody();
    }
}

// Finds out where the body ends. Two fields that could be read as two ends are how answers are forged.
void HttpResponse::beginBody() {
    std::optional<std::int64_t> length;
    bool chunked = false;
    forEachField(header_, [&](const Field& field) {
        if (equalsLower(field.name, "content-length")) {
            std::string_view digits = field.value;
            const auto number = takeNumber(digits, 10, limits_.body);
            if (!number) return fail("a length that is none, or too long a page");
            if (!digits.empty() || (length && *length != *number)) return fail("contradictory lengths");
            length = number;
        } else if (equalsLower(field.name, "transfer-encoding")) {
            if (chunked || !equalsLower(field.value, "chunked")) return fail("an encoding that wasn't asked for");
            chunked = true;
        }
    });
    if (chunked && length) fail("contradictory lengths");
    if (chunked && header_.starts_with("HTTP/1.0")) fail("an encoding that wasn't asked for");
    if (hasFailed()) return;
    if (chunked)
        phase_ = Phase::ChunkSize;
    else if (length) {
        left_ = *length;
        phase_ = left_ > 0 ? Phase::Sized : Phase::Done;
    } else
        phase_ = Phase::UntilEnd;
}

void HttpResponse::chunkSize() {
    std::string_view rest(line_);
    const auto size = takeNumber(rest, 16, limits_.body - body_);
    if (!size) return fail("a chunk without a size, or too long a page");
    // What may stand behind the size means nothing to us.
    const bool isExtended = trimmed(withoutEnd(rest)).starts_with(';');
    if (!rest.ends_with("\r\n") || !(rest.size() == 2 || isExtended)) return fail("a chunk whose size is none");
    left_ = *size;
    phase_ = left_ > 0 ? Phase::Chunk : Phase::Trailer;
    line_.clear();
}

void HttpResponse::chunkEnd() {
    if (line_ != "\r\n") fail("a chunk is longer than it says");
    line_.clear();
    phase_ = Phase::ChunkSize;
}

void HttpResponse::trailerLine() {
    const std::string_view line = withoutEnd(line_);
    if (line.empty())
        phase_ = Phase::Done;
    else if (!parseField(line))
        return fail("a header line that is none");
    limits_.header -= line_.size();
    line_.clear();
}
