// The string as a value: who owns the characters, and the changes that need nothing but them.
#include <UT/TextScan.h>
#include <UT/UT_String.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

// `first` and `second` in one new buffer, ended by a NUL.
char* joined(std::string_view first, std::string_view second) {
    char* const text = static_cast<char*>(std::malloc(first.size() + second.size() + 1));
    if (!text) throw std::bad_alloc();
    std::copy(first.begin(), first.end(), text);
    std::copy(second.begin(), second.end(), text + first.size());
    text[first.size() + second.size()] = '\0';
    return text;
}

std::string_view upToNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

}  // namespace

UT_String::UT_String(const char* text, int harden, int length) {
    if (harden != 0 || length >= 0) {
        this->harden(text, length);
    } else if (text) {
        // Never written through while notOwned_ is set.
        text_ = const_cast<char*>(text);
        notOwned_ = true;
    }
}

UT_String::UT_String(const UT_String& other) {
    harden(other.view());
}

UT_String::UT_String(UT_String&& other) noexcept
    : text_(std::exchange(other.text_, nullptr)), notOwned_(std::exchange(other.notOwned_, false)) {}

UT_String::~UT_String() {
    release();
}

UT_String& UT_String::operator=(const UT_String& other) {
    // A string that only refers to its characters stays that way when it is assigned to itself.
    if (this != &other) harden(other.view());
    return *this;
}

UT_String& UT_String::operator=(UT_String&& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(notOwned_, other.notOwned_);
    return *this;
}

UT_String& UT_String::operator=(const char* text) {
    harden(text);
    return *this;
}

UT_String& UT_String::operator=(std::string_view text) {
    harden(text);
    return *this;
}

char* UT_String::writable() {
    harden();
    return text_;
}

int UT_String::length() const {
    return static_cast<int>(std::min<std::size_t>(view().size(), INT_MAX));
}

void UT_String::clear() {
    release();
}

void UT_String::harden() {
    if (!isReference()) return;
    text_ = joined(view(), {});
    notOwned_ = false;
}

void UT_String::harden(const char* text, int length) {
    harden(textscan::viewOf(text, length));
}

void UT_String::harden(std::string_view text) {
    // Copied before the old characters go: the text may be a piece of them.
    char* const copy = text.data() ? joined(upToNul(text), {}) : nullptr;
    release();
    text_ = copy;
}

void UT_String::adopt(UT_String& other) {
    if (this == &other) return;
    // Two strings over the same characters: the duty moves, the characters must not go.
    if (text_ != other.text_) {
        release();
        text_ = other.text_;
        notOwned_ = other.notOwned_;
    } else if (!other.notOwned_) {
        notOwned_ = false;
    }
    other.notOwned_ = text_ != nullptr;
}

void UT_String::adopt(char* text) {
    if (text != text_) release();
    text_ = text;
    notOwned_ = false;
}

char* UT_String::steal() {
    harden();
    notOwned_ = text_ != nullptr;
    return text_;
}

UT_String& UT_String::operator+=(const char* text) {
    return *this += textscan::viewOf(text);
}

UT_String& UT_String::operator+=(std::string_view text) {
    text = upToNul(text);
    if (text.data())
        adopt(joined(view(), text));
    else
        harden();
    return *this;
}

void UT_String::toLower() {
    harden();
    for (char* at = text_; at && *at; ++at) *at = textscan::toLower(*at);
}

bool UT_String::endsWith(const char* text) const {
    return text && view().ends_with(text);
}

int UT_String::replaceSuffix(const char* oldSuffix, const char* newSuffix) {
    if (!endsWith(oldSuffix)) return 0;
    const std::string_view kept = view().substr(0, view().size() - std::strlen(oldSuffix));
    adopt(joined(kept, textscan::viewOf(newSuffix)));
    return 1;
}

void UT_String::release() noexcept {
    if (!notOwned_) std::free(text_);
    text_ = nullptr;
    notOwned_ = false;
}
