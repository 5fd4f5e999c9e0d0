#include "Inputs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string_view>

namespace {

constexpr int kFilesInDirectory = 1000;
constexpr long long kTextSize = 504'000'000;
constexpr long long kLargeSize = 5'000'000;

bool isThere(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

// A file that bears its name only when it is whole.
void makeFile(const std::string& path, const std::function<void(std::FILE*)>& write) {
    const std::string unfinished = path + ".part";
    std::FILE* const file = std::fopen(unfinished.c_str(), "we");
    if (file != nullptr) write(file);
    if (file == nullptr || std::fclose(file) != 0 || std::rename(unfinished.c_str(), path.c_str()) != 0) {
        std::perror(path.c_str());
        std::exit(1);
    }
}

// Letters that don't compress well.
std::string letters(std::size_t count) {
    std::string text(count, ' ');
    std::uint32_t state = 1;
    for (char& c : text) {
        state = state * 1664525u + 1013904223u;
        c = static_cast<char>('a' + (state >> 24) % 26);
    }
    return text;
}

FileSet fileSet(const std::string& name, int count, const std::function<std::string(int)>& nameOf,
                const std::function<long long(int)>& sizeOf) {
    FileSet set{name + ".list", count};
    for (int i = 0; i < count; ++i) set.bytes += sizeOf(i);
    if (isThere(set.list)) return set;
    const std::string content = letters(static_cast<std::size_t>(kLargeSize) + 1000);
    makeFile(set.list, [&](std::FILE* list) {
        for (int i = 0; i < count; ++i) {
            const std::string file = nameOf(i);
            std::fprintf(list, "%s\n", file.c_str());
            if (isThere(file)) continue;
            ::mkdir(file.substr(0, file.find('/')).c_str(), 0777);
            ::mkdir(file.substr(0, file.rfind('/')).c_str(), 0777);
            makeFile(file, [&](std::FILE* out) {
                const auto first = static_cast<std::size_t>(i % 1000);
                std::fwrite(content.data() + first, 1, static_cast<std::size_t>(sizeOf(i)), out);
            });
        }
    });
    return set;
}

std::string numbered(const char* format, int a, int b) {
    char name[64];
    std::snprintf(name, sizeof name, format, a, b);
    return name;
}

}  // namespace

std::string smallFileName(int number) {
    return numbered("small/%03d/part%06d.geo", number / kFilesInDirectory, number);
}

long long smallFileSize(int number) {
    return 600 + static_cast<long long>(number) * 7919 % 3001;
}

FileSet smallFiles(int count) {
    return fileSet("small" + std::to_string(count), count, smallFileName, smallFileSize);
}

FileSet largeFiles(int count) {
    return fileSet(
        "large" + std::to_string(count), count, [](int i) { return numbered("large/%02d/page%03d.tex", i / 100, i); },
        [](int) { return kLargeSize; });
}

std::string textFile(std::string& answer) {
    const std::string path = "lines.txt";
    const std::string content = letters(1127);
    long long lines = 0, characters = 0;
    const auto eachLine = [&](const std::function<void(std::string_view)>& use) {
        std::uint32_t state = 1;
        for (long long bytes = 0; bytes < kTextSize; bytes = characters + ++lines) {
            state = state * 1664525u + 1013904223u;
            const std::string_view line = std::string_view(content).substr((state >> 8) % 1000, (state >> 20) % 127);
            characters += static_cast<long long>(line.size());
            use(line);
        }
    };
    if (isThere(path)) {
        eachLine([](std::string_view) {});
    } else {
        makeFile(path, [&](std::FILE* file) {
            eachLine([&](std::string_view line) {
                std::fwrite(line.data(), 1, line.size(), file);
                std::fputc('\n', file);
            });
        });
    }
    answer = std::to_string(lines) + " " + std::to_string(characters);
    return path;
}
