#pragma once
// Text that is being put together, or a line that is read again and again into the same storage.
//
//     UT_WorkBuffer path;
//     path.sprintf("%s/%s", directory, name);
//     path.append(".idx");
//     open(path.buffer());
//
// The characters are never null and always ended by a NUL that the length doesn't count. By its counted forms the
// buffer takes any bytes, NUL too. An empty buffer costs no allocation; a grown one keeps its storage when it is
// emptied.
#include <UT/UT_Export.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

class UT_String;

class TARVANI_EXPORT UT_WorkBuffer {
public:
    UT_WorkBuffer() = default;
    // A copy of `text`.
    explicit UT_WorkBuffer(std::string_view text) { append(text); }
    UT_WorkBuffer(const UT_WorkBuffer& other) : UT_WorkBuffer(other.view()) {}
    UT_WorkBuffer(UT_WorkBuffer&& other) noexcept { swap(other); }
    ~UT_WorkBuffer();
    UT_WorkBuffer& operator=(const UT_WorkBuffer& other);
    UT_WorkBuffer& operator=(UT_WorkBuffer&& other) noexcept;
    // Exchanges the contents, copying nothing.
    void swap(UT_WorkBuffer& other) noexcept;

    // The characters. Valid until the buffer changes.
    const char* buffer() const { return text_; }
    // In characters, the ending NUL not counted.
    int length() const { return length_; }
    // True if there are no characters.
    bool isEmpty() const { return length_ == 0; }
    // The characters without the ending NUL. Valid until the buffer changes.
    std::string_view view() const { return {text_, static_cast<std::size_t>(length_)}; }
    // The last character, NUL if there is none.
    char last() const { return length_ ? text_[length_ - 1] : '\0'; }

    // Empties the buffer and keeps its storage. Nothing happens while it is locked.
    void clear() {
        if (lockCount_ == 0) truncate(0);
    }
    // Cuts the content to its first `length` characters. A length out of range does nothing.
    void truncate(int length) {
        if (length < 0 || length >= length_) return;
        length_ = length;
        text_[length] = '\0';
    }
    // Overwrites `count` characters of the content from `offset` on. What lies behind it isn't touched.
    void fill(std::size_t offset, std::size_t count, char character) {
        const std::size_t length = view().size();
        if (offset < length) std::memset(text_ + offset, character, std::min(count, length - offset));
    }
    // Makes room for `length` characters in all, so that appending up to there moves nothing.
    void reserve(int length) {
        if (length > capacity_) grow(static_cast<std::size_t>(length) - static_cast<std::size_t>(length_));
    }

    // Replaces the content. `text` may be a piece of this very buffer.
    void assign(std::string_view text);
    void strcpy(const char* text) { assign(text ? std::string_view(text) : std::string_view()); }

    // Appends. The text may be a piece of this very buffer; null and a negative length append nothing.
    void append(char character) {
        if (length_ == capacity_) grow(1);
        text_[length_++] = character;
        text_[length_] = '\0';
    }
    void append(std::string_view text) {
        if (text.empty()) return;
        if (text.size() > static_cast<std::size_t>(capacity_ - length_)) return appendGrowing(text);
        std::memcpy(text_ + length_, text.data(), text.size());
        length_ += static_cast<int>(text.size());
        text_[length_] = '\0';
    }
    void append(const char* text) {
        if (text) append(std::string_view(text));
    }
    // Exactly `length` characters, NUL among them.
    void append(const char* text, int length) {
        if (text && length > 0) append(std::string_view(text, static_cast<std::size_t>(length)));
    }
    // Up to the NUL.
    void strcat(const char* text) { append(text); }

    // Replaces the content by the formatted text, of any length. The arguments may point into this very buffer. Gives
    // the number of characters; negative, with the buffer empty, when the format can't be followed.
    int sprintf(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // A place to write on, from character `offset`, with room for at least `length` characters; those behind the
    // content are NUL. Until release the buffer must not be changed in another way. Null for an offset out of range,
    // and for a second lock that would have to move the characters.
    char* lock(int offset = 0, unsigned length = 0);
    // Ends lock: the length becomes what stands in front of the first NUL. The argument is not used.
    void release(int = 0);
    // True between lock and release.
    bool isLocked() const { return lockCount_ != 0; }

    // Replaces the content by the next line of a C file, up to a line feed, which is not kept, or to a NUL, which hides
    // the rest of the line. A last line without its end is a line. False at the end of the file, with the buffer empty;
    // std::bad_alloc for a line that memory or the buffer cannot hold.
    bool getline(std::FILE* file);

    // Makes `text` an owned copy, never null. It ends at the first NUL.
    void copyIntoString(UT_String& text) const;

private:
    void swapText(UT_WorkBuffer& other) noexcept;
    void grow(std::size_t more);
    void appendGrowing(std::string_view text);

    static char nothing_[1];  // what every buffer without storage shows; never written

    char* text_ = nothing_;
    int length_ = 0;
    int lockCount_ = 0;
    int lockedLength_ = 0;  // characters that the locks have given out; those behind the content started as NUL
    int capacity_ = 0;      // characters that fit in front of the ending NUL; 0 if text_ is nothing_
};
