#include <UT/UT_OStrStream.h>

#include <algorithm>

// The base gets its buffer only when that exists.
UT_OStrStream::UT_OStrStream() : std::ostream(nullptr) {
    init(&buffer_);
}

UT_OStrStream::UT_OStrStream(int size) : std::ostream(nullptr), buffer_(std::max(size, 0)) {
    init(&buffer_);
}

UT_OStrStream::~UT_OStrStream() = default;
