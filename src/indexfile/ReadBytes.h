#pragma once
// Private: reading content into memory of its own. A size that came from a file is a promise that nobody has checked:
// memory is taken for what is there.
#include <cstdint>
#include <memory>

class UT_IStream;

// Exactly `size` bytes from where the stream stands, or null.
std::shared_ptr<char[]> readExactly(UT_IStream& in, int size);
// All that is left of the stream, and in `size` how much it is. Null, with a size above 2147483647, if it is more than
// that.
std::shared_ptr<char[]> readToEnd(UT_IStream& in, std::int64_t& size);
