// Matching of patterns, and the list of a path file.
#include <UT/UT_String.h>
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

int byName(UT_PathFileInfo* const* a, UT_PathFileInfo* const* b) {
    return UT_String::compareNumberedString((*a)->getFileName(), (*b)->getFileName(), true);
}

// Entries that are taken apart while they are sorted. The search path has directories that none of them lies in, so
// that taking one apart twice would show.
void sortEntries(benchmark::State& state) {
    static const Scratch scratch;
    static const bool isSet = ::setenv("TARVANI_PATH", (scratch.path("a") + ":" + scratch.path("b")).c_str(), 1) == 0;
    const auto count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto files = std::make_unique<UT_PathFile>();
        files->setSearchPath(isSet ? 0 : -1, "*.txt *.geo *.pic");
        for (int i = 0; i < count; ++i) {
            const std::string name = "part" + std::to_string(i * 7919LL % count) + ".pic";
            files->appendFileInfo(scratch.path("a/" + name).c_str());
        }
        state.ResumeTiming();
        files->sortFileInfos(byName);
        if (std::string(files->getFileInfo(count - 1, 0)->getFileName()) != "part" + std::to_string(count - 1) + ".pic")
            return state.SkipWithError("not sorted");
        state.PauseTiming();
        files.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(sortEntries)->ArgName("entries")->RangeMultiplier(10)->Range(100, 100'000)->Unit(benchmark::kMillisecond);

}  // namespace
