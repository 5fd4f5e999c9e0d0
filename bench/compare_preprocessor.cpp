// Sets "tarvani cpp" beside other preprocessors, in turns, and prints one table. All take the same sources, and what
// they make of them must be the same but for white space.
//
//     compare_preprocessor COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...
//
// COMMAND is the command tarvani, PROGRAMS the directory of the programs that bench/CMakeLists.txt builds, SCRATCH a
// directory for the sources. They and the outputs take 200 MB and are made again each time.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Race.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSource[] = "source.c";
constexpr char kExpanded[] = "expanded.c";
constexpr double kMostMegabytes = 16;

void writePlain(std::ostream& out) {
    for (int i = 0; i < 250'000; ++i) {
        out << "point " << i << " at " << i % 97 << " of the plain text  // said once\n"
            << "    normal 0.25 0.5 0.75 and weight " << i % 7 << ";\n"
            << "/* a comment of one line */ surface smooth" << i << "\n"
            << "    width = height + depth; /* the rest */\n";
    }
}

void writeMacros(std::ostream& out) {
    out << "#define WIDTH (COLUMNS)\n#define COLUMNS CELLS + 1\n#define CELLS 640\n"
           "#define SCALE(v, s) (SHIFT(v) * s)\n#define SHIFT(a) (KEEP(a) + WIDTH)\n#define KEEP(x) (x)\n";
    for (int i = 0; i < 300'000; ++i)
        out << "at[" << i << "] = SCALE(" << i << ", 3) + WIDTH - SHIFT(low) * COLUMNS;\n";
}

void writeConditionals(std::ostream& out) {
    out << "#define LEVEL 2\n#define GIVEN 1\n";
    for (int i = 0; i < 30'000; ++i) {
        out << "#ifdef GIVEN\n#if LEVEL > 3\nskipped in a branch that is not taken " << i << "\n"
            << "#elif LEVEL == 2 && defined(GIVEN)\ntaken in a branch that is live, with text " << i << "\n"
            << "#else\nskipped again, in a branch behind the one that was taken " << i << "\n"
            << "#endif\nbehind the inner conditional, in the outer one " << i << "\n#endif\n";
    }
}

void writeHeaders(std::ostream& out) {
    constexpr int kOnEachLevel = 667;
    fs::create_directories("headers");
    const auto nameOf = [](int level, int i) { return "level" + std::to_string(level) + "_" + std::to_string(i); };
    for (int level = 1; level <= 3; ++level) {
        for (int i = 0; i < kOnEachLevel; ++i) {
            const std::string name = nameOf(level, i);
            std::ofstream header("headers/" + name + ".h", std::ios::binary);
            header << "#ifndef " << name << "\n#define " << name << "\n";
            if (level < 3) header << "#include \"" << nameOf(level + 1, i) << ".h\"\n";
            header << "text of " << name << "_h\n#endif\n";
        }
    }
    for (int i = 0; i < kOnEachLevel; ++i) out << "#include \"headers/" << nameOf(1, i) << ".h\"\n";
}

// Tells apart what programs make of the source, white space left out. The output stays under the name kExpanded. It is
// read piece by piece: what this program takes in memory at most would count as the peak of all that it starts.
std::uint64_t textOf(const Contender& contender) {
    measure({contender}, 0);
    fs::rename("output", kExpanded);
    std::ifstream file(kExpanded, std::ios::binary);
    std::uint64_t hash = 14695981039346656037u;  // FNV-1a
    for (std::string word; file >> word;)
        for (const char c : word) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return hash;
}

class Bench {
public:
    Bench(std::string command, std::string programs) : tarvani_(std::move(command)), programs_(std::move(programs)) {}

    std::vector<Work> works() const {
        // A pass over the text, and one that writes it, too.
        const auto bare = [this](const char* text) {
            return std::vector<Contender>{{"bare", {programs_ + "/bare_lines", text}},
                                          {"bare copy", {programs_ + "/bare_copy", text}}};
        };
        return {
            {"1,000,000 plain lines with comments (45 MB)",
             [=, this] {
                 return race(writePlain, {kGnu, kClang, kMcpp}, bare(kSource),
                             {{"clang", 0.5, kMostMegabytes}, {"mcpp", 0.5}, {"bare", 3}, {"bare copy", 3}});
             }},
            // Without mcpp, which takes and returns memory by system calls for each macro: 0.14 ms a line.
            {"300,000 lines of macros three deep (18 MB)",
             [=, this] {
                 return race(writeMacros, {kGnu, kClang}, bare(kExpanded),
                             {{"GNU cpp", 0.5, kMostMegabytes}, {"clang", 0.5}});
             }},
            {"300,000 lines of conditionals (9 MB)",
             [=, this] {
                 return race(writeConditionals, {kGnu, kClang, kMcpp}, bare(kSource),
                             {{"GNU cpp", 1, kMostMegabytes}, {"clang", 1}, {"mcpp", 1}});
             }},
            {"2,000 guarded headers three deep",
             [this] {
                 return race(writeHeaders, {kGnu, kClang, kMcpp}, {{"grep", {"grep", "-rc", "level1_0_h", "headers"}}},
                             {{"GNU cpp", 1, kMostMegabytes}, {"clang", 1}, {"mcpp", 1}});
             }},
            // Beside programs that do nothing, one in C and one in C++.
            {"one line",
             [this] {
                 return race([](std::ostream& out) { out << "one line\n"; }, {kGnu, kClang, kMcpp},
                             {{"true", {"true"}}, {"nothing", {programs_ + "/nothing"}}},
                             {{"true", 1.5, kMostMegabytes}, {"nothing", 1.5}});
             }},
        };
    }

private:
    inline static const Contender kGnu = {"GNU cpp", {"cpp", "-P", kSource}};
    inline static const Contender kClang = {"clang", {"clang", "-E", "-P", kSource}};
    inline static const Contender kMcpp = {"mcpp", {"mcpp", "-P", "-W0", kSource}};

    Race race(void (*write)(std::ostream&), std::vector<Contender> peers, std::vector<Contender> bare,
              std::vector<Reach> reaches) const {
        {
            std::ofstream source(kSource, std::ios::binary | std::ios::trunc);
            write(source);
        }
        Race race{{{"tarvani", {tarvani_, "cpp", "-P", kSource}}}, std::move(reaches)};
        const std::uint64_t text = textOf(race.contenders.front());
        for (Contender& peer : peers) {
            if (textOf(peer) != text) {
                std::fprintf(stderr, "%s has other text\n", peer.name.c_str());
                std::exit(1);
            }
            race.contenders.push_back(std::move(peer));
        }
        for (Contender& one : bare) race.contenders.push_back(std::move(one));
        return race;
    }

    const std::string tarvani_, programs_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: compare_preprocessor COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...\n");
        return 2;
    }
    const Bench bench(fs::absolute(argv[1]).string(), fs::absolute(argv[2]).string());
    const int runs = std::max(1, std::atoi(argv[4]));
    const std::vector<std::string> parts(argv + 5, argv + argc);
    ::setenv("LC_ALL", "C", 1);  // mcpp knows no other encoding and says so
    fs::create_directories(argv[3]);
    fs::current_path(argv[3]);
    run(bench.works(), runs, parts);
    return 0;
}
