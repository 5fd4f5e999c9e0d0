// Sets files along search paths beside what a program does by hand, by glob(3) and by std::filesystem, in turns, and
// prints one table.
//
//     compare_paths COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...
//
// COMMAND isn't used, PROGRAMS is the directory of the programs that bench/CMakeLists.txt builds, SCRATCH a directory
// for the inputs, 350,000 files with 220 MB, which are made when they are missing.
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "Race.h"

namespace {

namespace fs = std::filesystem;

constexpr double kMostBytesOfEntry = 300;

std::string nameOf(int number, std::string_view ending = ".txt") {
    std::string digits = std::to_string(number);
    digits.insert(0, 6 - digits.size(), '0');
    return "part" + digits + std::string(ending);
}

void write(const std::string& path, std::string_view content) {
    std::ofstream out(path, std::ios::binary);
    if (!out.write(content.data(), static_cast<std::streamsize>(content.size())).flush()) {
        std::fprintf(stderr, "%s can't be written\n", path.c_str());
        std::exit(1);
    }
}

// About `size` bytes of lines of 40 characters on average, which differ by `seed`.
std::string lines(std::size_t size, unsigned seed) {
    std::string text;
    while (text.size() < size) {
        seed = seed * 1664525u + 1013904223u;
        text.append((seed >> 16) % 80, static_cast<char>('a' + seed % 26)) += '\n';
    }
    return text;
}

// Makes a directory, whole or not at all, unless it is there.
template <class Make>
void makeOnce(const std::string& directory, Make make) {
    if (fs::exists(directory)) return;
    const std::string unfinished = directory + ".part";
    fs::remove_all(unfinished);
    fs::create_directory(unfinished);
    make(unfinished + "/");
    fs::rename(unfinished, directory);
}

class Bench {
public:
    explicit Bench(std::string programs) : programs_(std::move(programs)) {}

    std::vector<Work> works() const {
        return {
            {"*.txt of 1 directory of 100,000 names", [this] { return list(1, 100'000); }},
            {"*.txt along 20 directories of 5,000 names", [this] { return list(20, 5'000); }},
            {"where 20,000 names lie along 20 directories", [this] { return find(); }},
            {"5,000 files along 3 directories as one text", [this] { return text(); }},
            {"lines of 1,000 files of 200 KB", [this] { return lineByLine(); }},
        };
    }

private:
    std::vector<std::string> program(const char* name, std::vector<std::string> words) const {
        words.insert(words.begin(), (fs::path(programs_) / name).string());
        return words;
    }
    std::vector<std::string> ours(std::vector<std::string> words) const { return program("library_paths", words); }
    std::vector<std::string> peer(std::vector<std::string> words) const { return program("paths", words); }

    // The same names in each directory.
    Race list(int directories, int names) const {
        const std::string path =
            makePath("names" + std::to_string(directories) + "-", directories, [&](const std::string& in, int) {
                for (int i = 0; i < names; ++i) write(in + nameOf(i), "");
            });
        const std::string first = path.substr(0, path.find(':'));
        makeOnce("empty", [](const std::string&) {});
        const auto bytes = static_cast<long long>(first.size() + 1 + nameOf(0).size()) * names;
        const std::string answer = std::to_string(names) + " " + std::to_string(bytes);
        return {{{"UT_PathFile", ours({"list", path}), answer},
                 {"readdir", peer({"hand", "list", path}), answer},
                 {"glob", peer({"glob", "list", path}), answer},
                 {"std::filesystem", peer({"filesystem", "list", path}), answer},
                 {"no entry", ours({"list", fs::absolute("empty").string()})}},
                {{"readdir", 5}},
                Memory{"no entry", kMostBytesOfEntry, directories * names}};
    }

    // Each name in one of them.
    Race find() const {
        constexpr int kNames = 20'000, kDirectories = 20;
        const std::string path = makePath("find", kDirectories, [](const std::string& in, int place) {
            for (int i = place; i < kNames; i += kDirectories) write(in + nameOf(i, ".inc"), "");
        });
        std::string names;
        for (int i = 0; i < kNames; ++i) names += nameOf(i, ".inc") + "\n";
        write("find.list", names);
        return {{{"findFile", ours({"find", path, "find.list"})},
                 {"faccessat", peer({"faccessat", "find", path, "find.list"})},
                 {"stat", peer({"stat", "find", path, "find.list"})}},
                {{"stat", 1.1}}};
    }

    // The last directory has 3,000 files. The middle one replaces 1,000 of them, the first one appends to 1,000.
    Race text() const {
        constexpr int kFiles[] = {1000, 1000, 3000};
        const std::string path = makePath("text", 3, [&](const std::string& in, int place) {
            for (int i = 0; i < kFiles[place]; ++i)
                write(in + nameOf(i * 3, place == 0 ? ".txt.append" : ".txt"), lines(1000, static_cast<unsigned>(i)));
        });
        return {{{"getLine", ours({"text", path})},
                 {"by hand", peer({"hand", "text", path})},
                 {"std::filesystem", peer({"filesystem", "text", path})}},
                {{"by hand", 2}}};
    }

    Race lineByLine() const {
        const std::string path = makePath("lines", 1, [](const std::string& in, int) {
            for (int i = 0; i < 1000; ++i) write(in + nameOf(i), lines(200'000, static_cast<unsigned>(i)));
        });
        return {{{"getLine", ours({"text", path})}, {"getline", peer({"hand", "lines", path})}},
                {{"getline", 1 / 0.6}}};
    }

    // A path of directories, each filled by `make(directory, place on the path)`.
    template <class Make>
    static std::string makePath(const std::string& name, int directories, Make make) {
        std::string path;
        for (int i = 0; i < directories; ++i) {
            const std::string directory = name + std::to_string(i);
            makeOnce(directory, [&](const std::string& in) { make(in, i); });
            path.append(i == 0 ? "" : ":").append(fs::absolute(directory).string());
        }
        return path;
    }

    const std::string programs_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: compare_paths COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...\n");
        return 2;
    }
    const Bench bench(fs::absolute(argv[2]).string());
    const int runs = std::max(1, std::atoi(argv[4]));
    const std::vector<std::string> parts(argv + 5, argv + argc);
    fs::create_directories(argv[3]);
    fs::current_path(argv[3]);
    run(bench.works(), runs, parts);
    return 0;
}
