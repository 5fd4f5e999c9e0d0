// The lines of a text as a program reads them without the library.
//
//     lines c FILE | std FILE
#include <fstream>
#include <string>

#include "Work.h"

namespace {

int byGetline(const char* path) {
    std::FILE* const file = std::fopen(path, "re");
    require(file != nullptr, path);
    char* line = nullptr;
    std::size_t capacity = 0;
    Result result;
    for (ssize_t n; (n = ::getline(&line, &capacity, file)) > 0;) result.add(n - (line[n - 1] == '\n' ? 1 : 0));
    std::free(line);
    std::fclose(file);
    return result.print();
}

int byStdGetline(const char* path) {
    constexpr std::streamsize kBlock = 256 * 1024;
    const auto block = std::make_unique<char[]>(kBlock);
    std::ifstream file;
    file.rdbuf()->pubsetbuf(block.get(), kBlock);
    file.open(path, std::ios::binary);
    require(file.is_open(), path);
    Result result;
    for (std::string line; std::getline(file, line);) result.add(static_cast<long long>(line.size()));
    return result.print();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view way = argc > 1 ? argv[1] : "";
    if (argc == 3 && way == "c") return byGetline(argv[2]);
    if (argc == 3 && way == "std") return byStdGetline(argv[2]);
    die("usage: lines c FILE | std FILE");
}
