#include "ReadBytes.h"

#include <UT/UT_IStream.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

namespace {

// Takes what the stream gives, at most `most` bytes.
std::string readUpTo(UT_IStream& in, std::size_t most) {
    std::string bytes;
    while (bytes.size() < most) {
        const std::string_view ready = in.buffered().substr(0, most - bytes.size());
        if (ready.empty()) break;
        bytes += ready;
        in.consume(ready.size());
    }
    return bytes;
}

std::shared_ptr<char[]> copyOf(std::string_view bytes) {
    auto copy = std::make_shared_for_overwrite<char[]>(bytes.size());
    std::memcpy(copy.get(), bytes.data(), bytes.size());
    return copy;
}

}  // namespace

std::shared_ptr<char[]> readExactly(UT_IStream& in, int size) {
    const auto wanted = static_cast<std::size_t>(std::max(size, 0));
    const std::int64_t total = in.getSize();
    if (total < 0) {
        const std::string bytes = readUpTo(in, wanted);
        return bytes.size() == wanted ? copyOf(bytes) : nullptr;
    }
    if (total - in.tellg() < size) return nullptr;
    auto bytes = std::make_shared_for_overwrite<char[]>(wanted);
    return size <= 0 || in.bread(bytes.get(), size) == size ? bytes : nullptr;
}

std::shared_ptr<char[]> readToEnd(UT_IStream& in, std::int64_t& size) {
    const std::string bytes = readUpTo(in, std::size_t{INT_MAX} + 1);
    size = static_cast<std::int64_t>(bytes.size());
    return size <= INT_MAX ? copyOf(bytes) : nullptr;
}
