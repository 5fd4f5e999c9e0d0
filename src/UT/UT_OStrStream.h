#pragma once
// An output stream into memory on std::strstreambuf, whose bytes are taken straight from the buffer with freeze around
// the use:
//
//     UT_OStrStream out;
//     out << "v 0 0 1";
//     index.addSection("geo", out, -1);
#include <UT/UT_Export.h>

#include <cstddef>
#include <ostream>

// The standard marks <strstream> as deprecated; whoever includes this header gets no warning of it.
#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <strstream>

class TARVANI_EXPORT UT_OStrStream : public std::ostream {
public:
    UT_OStrStream();
    // With a buffer of `size` bytes to begin with.
    explicit UT_OStrStream(int size);
    ~UT_OStrStream() override;

    // The buffer, owned by the stream.
    std::strstreambuf* rdbuf() { return &buffer_; }
    // The bytes written so far, pcount() of them, not NUL-terminated, frozen: the stream doesn't release or move them
    // until rdbuf()->freeze(false).
    char* str() { return buffer_.str(); }
    // Number of bytes written so far.
    std::size_t pcount() const { return buffer_.written(); }

private:
    // The standard's own count is an int, which large output wraps.
    class Buffer : public std::strstreambuf {
    public:
        using std::strstreambuf::strstreambuf;
        std::size_t written() const { return static_cast<std::size_t>(pptr() - pbase()); }
    };
    Buffer buffer_;
};
#pragma GCC diagnostic pop
#pragma pop_macro("__DEPRECATED")
