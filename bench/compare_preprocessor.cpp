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
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Measure.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSource[] = "source.c";
constexpr char kExpanded[] = "expanded.c";
constexpr double kMostMegabytes = 16;

struct Work {
    std::string name;
    std::function<void(std::ostream&)> write;  // the source, and files that it includes
    double timesPeer;                          // of the fastest peer, at most
    double timesBare;                          // of the bare program, at most; 0: no matter
    std::vector<std::string> bare;             // what does no more than read the text, or nothing at all
};

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

std::vector<Work> works(const std::string& programs) {
    const std::string lines = programs + "/bare_lines";
    return {
        {"1,000,000 plain lines with comments", writePlain, 0.5, 3, {lines, kSource}},
        {"300,000 lines of macros three deep", writeMacros, 0.5, 0, {lines, kExpanded}},
        {"300,000 lines of conditionals", writeConditionals, 1, 0, {lines, kSource}},
        {"2,000 guarded headers three deep", writeHeaders, 1, 0, {"grep", "-rc", "level1_0_h", "headers"}},
        {"one line", [](std::ostream& out) { out << "one line\n"; }, 1, 1.5, {"true"}},
    };
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

void run(const Work& work, const std::string& tarvani, int runs) {
    {
        std::ofstream source(kSource, std::ios::binary | std::ios::trunc);
        work.write(source);
    }
    std::vector<Contender> contenders = {{"tarvani", {tarvani, "cpp", "-P", kSource}},
                                         {"GNU cpp", {"cpp", "-P", kSource}},
                                         {"clang", {"clang", "-E", "-P", kSource}},
                                         {"mcpp", {"mcpp", "-P", "-W0", kSource}}};
    const std::uint64_t text = textOf(contenders[0]);
    for (const Contender& contender : contenders) {
        if (textOf(contender) == text) continue;
        std::fprintf(stderr, "%s: %s has other text\n", work.name.c_str(), contender.name.c_str());
        std::exit(1);
    }
    contenders.push_back({"bare", work.bare});
    const std::vector<Timing> timings = measure(contenders, runs);

    std::printf("%s (%.1f MB)\n", work.name.c_str(), static_cast<double>(fs::file_size(kSource)) / 1e6);
    const Timing& ours = timings[0];
    double fastest = timings[1].median;
    for (std::size_t i = 0; i < timings.size(); ++i) {
        const Timing& t = timings[i];
        std::printf("    %-8s %8.1f ms  (%.1f to %.1f)  %6.1f MB", contenders[i].name.c_str(), t.median * 1e3,
                    t.least * 1e3, t.most * 1e3, t.peakMegabytes);
        if (i > 0) std::printf("   ours is %.2f times that", ours.median / t.median);
        std::printf("\n");
        if (i > 0 && i + 1 < timings.size()) fastest = std::min(fastest, t.median);
    }
    const auto answer = [](bool reached) { return reached ? "yes" : "NO"; };
    std::printf("    reach: at most %.1f times the fastest: %s; ", work.timesPeer,
                answer(ours.median <= work.timesPeer * fastest));
    if (work.timesBare > 0)
        std::printf("at most %.1f times bare: %s; ", work.timesBare,
                    answer(ours.median <= work.timesBare * timings.back().median));
    std::printf("below %.0f MB: %s\n", kMostMegabytes, answer(ours.peakMegabytes < kMostMegabytes));
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: compare_preprocessor COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...\n");
        return 2;
    }
    const std::string tarvani = fs::absolute(argv[1]).string(), programs = fs::absolute(argv[2]).string();
    const int runs = std::max(1, std::atoi(argv[4]));
    const std::vector<std::string> parts(argv + 5, argv + argc);
    fs::create_directories(argv[3]);
    fs::current_path(argv[3]);
    for (const Work& work : works(programs))
        if (isWanted(work.name, parts)) run(work, tarvani, runs);
    return 0;
}
