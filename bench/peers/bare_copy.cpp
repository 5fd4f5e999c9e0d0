// The floor under changing a text line by line: read, memchr, one copy of every line to what is written, and write.
//
//     bare_copy FILE >OUTPUT
#include <cstring>
#include <string>

#include "Work.h"

int main(int argc, char** argv) {
    constexpr std::size_t kBlock = 64 * 1024;
    require(argc == 2, "usage: bare_copy FILE");
    const int fd = ::open(argv[1], O_RDONLY | O_CLOEXEC);
    require(fd >= 0, argv[1]);
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    std::string output;
    output.reserve(2 * kBlock);
    const auto flush = [&] {
        require(::write(STDOUT_FILENO, output.data(), output.size()) == static_cast<ssize_t>(output.size()), "output");
        output.clear();
    };
    for (ssize_t n; (n = ::read(fd, block.get(), kBlock)) > 0;) {
        const char* at = block.get();
        const char* const end = at + n;
        while (at != end) {
            const void* const found = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
            const char* const next = found ? static_cast<const char*>(found) + 1 : end;
            output.append(at, next);
            at = next;
        }
        if (output.size() >= kBlock) flush();
    }
    flush();
    return 0;
}
