// The floor under reading by lines: read and memchr, without a copy of any line but those across two blocks.
//
//     bare_lines FILE
#include <cstring>
#include <string>

#include "Work.h"

int main(int argc, char** argv) {
    constexpr std::size_t kBlock = 256 * 1024;
    require(argc == 2, "usage: bare_lines FILE");
    const int fd = ::open(argv[1], O_RDONLY | O_CLOEXEC);
    require(fd >= 0, argv[1]);
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    Result result;
    std::string begun;
    for (ssize_t n; (n = ::read(fd, block.get(), kBlock)) > 0;) {
        const char* at = block.get();
        const char* const end = at + n;
        for (const void* found; (found = std::memchr(at, '\n', static_cast<std::size_t>(end - at))) != nullptr;) {
            const char* const line = static_cast<const char*>(found);
            result.add(static_cast<long long>(begun.size()) + (line - at));
            begun.clear();
            at = line + 1;
        }
        begun.append(at, end);
    }
    if (!begun.empty()) result.add(static_cast<long long>(begun.size()));
    return result.print();
}
