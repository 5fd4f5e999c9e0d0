// Matching of patterns and of names in a directory, and path files of many entries.
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <benchmark/benchmark.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>

#include <memory>
#include <string>

#include "Scratch.h"

namespace {

// `products` is the rate of the product of both lengths; where it doesn't sink, the cost grows no faster than that.
void match(benchmark::State& state, const std::string& text, const std::string& pattern) {
    for (auto _ : state)
        if (UT_String::match(text, pattern)) return state.SkipWithError("a wrong match");
    const double product = static_cast<double>(text.size()) * static_cast<double>(pattern.size());
    state.counters["products"] =
        benchmark::Counter(product * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// What stands behind each "*" fits everywhere but at the end.
void matchManyStars(benchmark::State& state) {
    const auto length = static_cast<std::size_t>(state.range(0));
    std::string pattern;
    while (pattern.size() < length / 2) pattern += "*aaa";
    match(state, std::string(length, 'a'), pattern + "*b");
}
BENCHMARK(matchManyStars)->ArgName("length")->RangeMultiplier(8)->Range(64, 32'768);

// What stands behind the "*" has to be tried to its end at every place.
void matchLongTail(benchmark::State& state) {
    const auto length = static_cast<std::size_t>(state.range(0));
    match(state, std::string(length, 'a'), "*" + std::string(length / 2, 'a') + "b");
}
BENCHMARK(matchLongTail)->ArgName("length")->RangeMultiplier(8)->Range(64, 32'768);

// The directory of the search path.
const Scratch& directory() {
    static const Scratch scratch;
    static const bool isSet = ::setenv("TARVANI_PATH", scratch.path("").c_str(), 1) == 0;
    if (!isSet) std::abort();
    return scratch;
}

int byName(UT_PathFileInfo* const* a, UT_PathFileInfo* const* b) {
    return UT_String::compareNumberedString((*a)->getFileName(), (*b)->getFileName(), true);
}

// Entries that are taken apart while they are sorted: at their first comparison, since a later one would pay for it
// again, some 17 times for each of 100,000.
void sortEntries(benchmark::State& state) {
    const Scratch& scratch = directory();
    const auto count = static_cast<int>(state.range(0));
    const auto nameOf = [](long long number) { return "part" + std::to_string(number) + ".pic"; };
    for (auto _ : state) {
        state.PauseTiming();
        auto files = std::make_unique<UT_PathFile>();
        files->setSearchPath(UT_PATH_DEFAULT, "*.txt *.geo *.pic");
        for (int i = 0; i < count; ++i) files->appendFileInfo(scratch.path(nameOf(i * 7919LL % count)).c_str(), 0);
        state.ResumeTiming();
        files->sortFileInfos(byName);
        if (files->getFileInfo(count - 1, 0)->getFileName() != nameOf(count - 1))
            return state.SkipWithError("not sorted");
        state.PauseTiming();
        files.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(sortEntries)->ArgName("entries")->RangeMultiplier(10)->Range(100, 100'000)->Unit(benchmark::kMillisecond);

// The lines of the first file, in front of any number of other entries.
void readLines(benchmark::State& state) {
    constexpr int kLines = 10'000;
    std::string text;
    for (int i = 0; i < kLines; ++i) text += "surface smooth" + std::to_string(i) + " width 0.25\n";
    directory().write("first.txt", text);
    UT_WorkBuffer line;
    for (auto _ : state) {
        state.PauseTiming();
        auto files = std::make_unique<UT_PathFile>();
        files->setSearchPath(UT_PATH_DEFAULT, "first.txt");
        files->applyStandardFilter();
        for (int i = 1; i < state.range(0); ++i) files->appendFileInfo("/none", 0);
        if (files->getFileInfoCount(1) != state.range(0)) return state.SkipWithError("entries lost");
        state.ResumeTiming();
        int lines = 0;
        while (lines < kLines && files->getLine(line)) ++lines;
        if (lines < kLines) return state.SkipWithError("lines lost");
        state.PauseTiming();
        files.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(readLines)->ArgName("entries")->RangeMultiplier(100)->Range(1, 100'000)->Unit(benchmark::kMillisecond);

// All names of a directory, each against a pattern that half of them match.
void matchNames(benchmark::State& state) {
    const std::string name = "names" + std::to_string(state.range(0));
    std::filesystem::create_directory(directory().path(name));
    for (std::int64_t i = 0; i < state.range(0); ++i)
        directory().write(name + "/part" + std::to_string(i) + (i % 2 ? ".pic" : ".geo"), "");
    for (auto _ : state) {
        UT_PathFile files;
        files.setSearchPath(UT_PATH_DEFAULT, (name + "/*.geo").c_str());
        files.applyStandardFilter();
        if (files.getFileInfoCount(1) != state.range(0) / 2) return state.SkipWithError("entries lost");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(matchNames)->ArgName("names")->Arg(1000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
