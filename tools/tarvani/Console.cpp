#include "Console.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;
constexpr auto kFirstReport = std::chrono::seconds(1);
constexpr auto kNextReport = std::chrono::milliseconds(200);

void writeError(std::string_view text) {
    while (!text.empty()) {
        const ssize_t n = ::write(STDERR_FILENO, text.data(), text.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(n));
    }
}

std::string megabytes(std::int64_t bytes) {
    constexpr std::int64_t kTenth = 100'000;
    return std::to_string(bytes / (10 * kTenth)) + "." + std::to_string(bytes / kTenth % 10);
}

}  // namespace

std::string printable(std::string_view text) {
    constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (byte < 0x20 || byte == 0x7f) {
            out += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
        } else {
            out += c;
        }
    }
    return out;
}

std::string inBold(std::string_view text, StandardStream stream) {
    const auto variable = [](const char* name) {
        const char* const value = std::getenv(name);
        return std::string_view(value != nullptr ? value : "");
    };
    const bool isTerminal = ::isatty(stream == StandardStream::Output ? STDOUT_FILENO : STDERR_FILENO) == 1;
    const bool isPlain =
        !isTerminal || !variable("NO_COLOR").empty() || variable("TERM").empty() || variable("TERM") == "dumb";
    return isPlain ? std::string(text) : "\033[1m" + std::string(text) + "\033[0m";
}

void complain(const Failure& failure) {
    // One write, so that lines of several processes don't mix.
    const std::string path = failure.path.empty() ? "\"\"" : printable(failure.path);
    writeError(inBold("tarvani:", StandardStream::Error) + " " + path + ": " + printable(failure.reason) + "\n");
}

void complainOfMemory() {
    writeError("tarvani: memory: there is not enough of it for this work\n");
}

std::string errorWords(int error) {
    return error ? std::strerror(error) : "failed";
}

StandardOutput& standardOutput() {
    static StandardOutput output;
    return output;
}

void StandardOutput::write(std::string_view bytes) {
    if (buffer_.size() + bytes.size() > kBufferSize) flush();
    if (bytes.size() >= kBufferSize) return writeThrough(bytes);
    buffer_ += bytes;
}

void StandardOutput::writeName(std::string_view name) {
    static const bool terminal = ::isatty(STDOUT_FILENO) == 1;
    if (terminal)
        write(printable(name));
    else
        write(name);
}

void StandardOutput::writeNumber(std::int64_t number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number);
    write(std::string_view(digits, static_cast<std::size_t>(end.ptr - digits)));
}

void StandardOutput::flush() {
    // Emptied first: after a failure nobody must try these bytes again.
    std::string bytes;
    bytes.swap(buffer_);
    writeThrough(bytes);
    bytes.clear();
    buffer_.swap(bytes);
}

void StandardOutput::writeThrough(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno == EPIPE) throw ClosedPipe{};
        if (n < 0) throw Failure{kName, errorWords(errno)};
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
}

Progress::Progress(std::string name, std::int64_t total, bool wanted, Unit unit)
    : name_(std::move(name)),
      total_(total),
      unit_(unit),
      wanted_(wanted && ::isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + kFirstReport) {}

Progress::~Progress() {
    if (shown_) writeError("\r\033[K");
}

std::string Progress::figure(std::int64_t value) const {
    return unit_ == Unit::Bytes ? megabytes(value) : std::to_string(value);
}

void Progress::advance(std::size_t count) {
    done_ += static_cast<std::int64_t>(count);
    if (!wanted_ || Clock::now() < next_) return;
    next_ = Clock::now() + kNextReport;
    std::string line = "\r\033[K" + printable(name_) + ": " + figure(done_);
    const bool isKnown = total_ > 0 && done_ <= total_;
    if (isKnown) line += " of " + figure(total_);
    line += unit_ == Unit::Bytes ? " MB" : " files";
    if (isKnown) line += " (" + std::to_string(done_ * 100 / total_) + "%)";
    writeError(line);
    shown_ = true;
}
