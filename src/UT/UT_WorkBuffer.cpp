#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr std::size_t kMostCharacters = std::numeric_limits<int>::max();
constexpr std::size_t kFirstCapacity = 63;  // with its NUL a block of 64 bytes

}  // namespace

char UT_WorkBuffer::nothing_[1] = "";

UT_WorkBuffer::~UT_WorkBuffer() {
    if (capacity_) std::free(text_);
}

UT_WorkBuffer& UT_WorkBuffer::operator=(const UT_WorkBuffer& other) {
    assign(other.view());
    return *this;
}

UT_WorkBuffer& UT_WorkBuffer::operator=(UT_WorkBuffer&& other) noexcept {
    swap(other);
    return *this;
}

void UT_WorkBuffer::swap(UT_WorkBuffer& other) noexcept {
    swapText(other);
    std::swap(lockCount_, other.lockCount_);
    std::swap(lockedLength_, other.lockedLength_);
}

void UT_WorkBuffer::swapText(UT_WorkBuffer& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(length_, other.length_);
    std::swap(capacity_, other.capacity_);
}

void UT_WorkBuffer::assign(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(capacity_)) {
        // Nothing old is needed, but `text` may be a piece of it.
        UT_WorkBuffer fresh;
        fresh.append(text);
        swapText(fresh);
    } else if (capacity_) {
        // An empty view may have no data.
        if (!text.empty()) std::memmove(text_, text.data(), text.size());
        length_ = static_cast<int>(text.size());
        text_[length_] = '\0';
    }
}

int UT_WorkBuffer::sprintf(const char* format, ...) {
    if (!format) {
        assign({});
        return -1;
    }
    // Formatted beside the content, into which the arguments may point.
    char small[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(small, sizeof small, format, arguments);
    va_end(arguments);
    if (length < 0) {
        assign({});
    } else if (static_cast<std::size_t>(length) < sizeof small) {
        assign({small, static_cast<std::size_t>(length)});
    } else {
        UT_WorkBuffer fresh;
        fresh.reserve(length);
        std::vsnprintf(fresh.text_, static_cast<std::size_t>(length) + 1, format, again);
        fresh.length_ = length;
        swapText(fresh);
    }
    va_end(again);
    return length;
}

char* UT_WorkBuffer::lock(int offset, unsigned length) {
    if (offset < 0 || offset > length_) return nullptr;
    // At least one, even where nothing is asked for: what is given may be written on, and nothing_ may not.
    const std::size_t wanted = std::max<std::size_t>({1, static_cast<std::size_t>(offset) + length, view().size()});
    if (wanted > static_cast<std::size_t>(capacity_)) {
        if (isLocked()) return nullptr;
        grow(wanted - view().size());
    }
    // A lock under another clears only what that one has not given out: its holder may have written there.
    if (!isLocked()) lockedLength_ = length_;
    const auto locked = static_cast<std::size_t>(lockedLength_);
    if (wanted > locked) {
        std::memset(text_ + locked, 0, wanted - locked + 1);
        lockedLength_ = static_cast<int>(wanted);
    }
    ++lockCount_;
    return text_ + offset;
}

void UT_WorkBuffer::release(int) {
    if (lockCount_ == 0 || --lockCount_ != 0) return;
    text_[std::min(lockedLength_, capacity_)] = '\0';
    length_ = static_cast<int>(std::strlen(text_));
}

bool UT_WorkBuffer::getline(std::FILE* file) {
    assign({});
    if (!file) return false;
    char* line = capacity_ ? text_ : nullptr;
    std::size_t size = capacity_ ? static_cast<std::size_t>(capacity_) + 1 : 0;
    errno = 0;
    const ssize_t count = ::getline(&line, &size, file);
    bool fits = count >= 0 || errno != ENOMEM;  // else it isn't the end of the file
    // The buffer may have moved also where reading then failed.
    if (line) {
        text_ = line;
        capacity_ = static_cast<int>(std::min(size - 1, kMostCharacters));
    }
    std::size_t kept = count > 0 ? static_cast<std::size_t>(count) : 0;
    if (kept > 0 && text_[kept - 1] == '\n') --kept;
    kept = strnlen(text_, kept);
    fits = fits && kept <= kMostCharacters;
    length_ = fits ? static_cast<int>(kept) : 0;
    if (capacity_) text_[length_] = '\0';
    if (!fits) throw std::bad_alloc();
    return count > 0;
}

void UT_WorkBuffer::copyIntoString(UT_String& text) const {
    text.harden(view());
}

void UT_WorkBuffer::grow(std::size_t more) {
    const auto length = static_cast<std::size_t>(length_), capacity = static_cast<std::size_t>(capacity_);
    if (more > kMostCharacters - length) throw std::bad_alloc();
    const std::size_t wanted = std::min(std::max({length + more, capacity * 2 + 1, kFirstCapacity}), kMostCharacters);
    void* const moved = std::realloc(capacity_ ? text_ : nullptr, wanted + 1);
    if (!moved) throw std::bad_alloc();
    text_ = static_cast<char*>(moved);
    text_[length] = '\0';
    capacity_ = static_cast<int>(wanted);
}

void UT_WorkBuffer::appendGrowing(std::string_view text) {
    // `text` may be a piece of the content, which moves.
    const bool own = !std::less<>()(text.data(), static_cast<const char*>(text_)) &&
                     std::less<>()(text.data(), static_cast<const char*>(text_ + length_));
    const std::size_t offset = own ? static_cast<std::size_t>(text.data() - text_) : 0;
    grow(text.size());
    append(own ? std::string_view(text_ + offset, text.size()) : text);
}
