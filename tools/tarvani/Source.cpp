#include "Source.h"

#include <UT/UT_IStream.h>
#include <stream/FS_Reader.h>
#include <unistd.h>

#include <cerrno>

#include "Console.h"
#include "Explain.h"

namespace {

constexpr std::size_t kPiece = 128 * 1024;

}  // namespace

Source::Source(std::string path) : path_(std::move(path)), name_(path_ == "-" ? "standard input" : path_) {
    if (path_ != "-") {
        reader_ = std::make_unique<FS_Reader>(path_.c_str());
        if (!reader_->isGood()) throw Failure{name_, whyUnreadable(path_)};
    } else if (::read(STDIN_FILENO, nullptr, 0) < 0) {
        throw Failure{name_, errorWords(errno)};
    }
    buffer_.resize(kPiece);
}

Source::~Source() = default;

std::int64_t Source::length() const {
    return reader_ ? reader_->getStream()->getSize() : -1;
}

void Source::requireWhole() const {
    if (length() >= 0) requireLength(length());
}

std::string_view Source::next() {
    const std::size_t got = readSome();
    done_ += static_cast<std::int64_t>(got);
    if (got == 0) requireLength(done_);
    return {buffer_.data(), got};
}

std::size_t Source::readSome() {
    errno = 0;
    ssize_t got = 0;
    if (reader_) {
        UT_IStream& stream = *reader_->getStream();
        got = stream.bread(buffer_.data(), static_cast<int>(kPiece));
        if (got == 0 && stream.hasFailed()) got = -1;
    } else {
        do got = ::read(STDIN_FILENO, buffer_.data(), kPiece);
        while (got < 0 && errno == EINTR);
    }
    if (got < 0) throw Failure{name_, errno ? errorWords(errno) : "reading failed"};
    return static_cast<std::size_t>(got);
}

// A table may promise more than the file holds.
void Source::requireLength(std::int64_t bytes) const {
    if (!reader_ || path_.find('?') == std::string::npos || bytes == reader_->getLength()) return;
    throw Failure{name_, "cut short: " + std::to_string(bytes) + " of " + std::to_string(reader_->getLength()) +
                             " bytes are there"};
}
