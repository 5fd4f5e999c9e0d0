// Lines of text with few and with many macros defined, and with calls in calls.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <benchmark/benchmark.h>
#include <preprocessor/CPP_Manager.h>

#include <string>
#include <string_view>

namespace {

constexpr int kLines = 1000;

// Reads all lines behind the first `given`, which define; those are not timed.
void preprocess(benchmark::State& state, const std::string& text, std::int64_t given) {
    for (auto _ : state) {
        state.PauseTiming();
        UT_IStream source(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY);
        CPP_Manager manager;
        manager.open(source, "text");
        std::string_view line;
        for (std::int64_t i = 0; i <= given; ++i) manager.getLine(line);  // and the marker in front
        state.ResumeTiming();
        int lines = 0;
        while (manager.getLine(line)) ++lines;
        if (lines != kLines || manager.hasError()) return state.SkipWithError("not the lines");
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}

// Four of that many macros in each line.
void lookUpMacros(benchmark::State& state) {
    const std::int64_t macros = state.range(0);
    const auto nameOf = [](std::int64_t number) { return "NAME_" + std::to_string(number); };
    std::string text;
    for (std::int64_t i = 0; i < macros; ++i) text += "#define " + nameOf(i) + " " + std::to_string(i) + "\n";
    for (std::int64_t i = 0; i < kLines; ++i) {
        for (std::int64_t use = 0; use < 4; ++use) text += "point " + nameOf((i * 7919 + use * 31) % macros) + " ";
        text += "\n";
    }
    preprocess(state, text, macros);
}
BENCHMARK(lookUpMacros)->ArgName("macros")->RangeMultiplier(10)->Range(10, 10'000)->Unit(benchmark::kMicrosecond);

// One call in each line, in whose text there is a call of the next macro, and so on.
void nestCalls(benchmark::State& state) {
    std::string text = "#define M0(a) (a)\n";
    for (std::int64_t i = 1; i < state.range(0); ++i) {
        text += "#define M" + std::to_string(i) + "(a) M" + std::to_string(i - 1) + "(a)\n";
    }
    for (int i = 0; i < kLines; ++i) text += "M" + std::to_string(state.range(0) - 1) + "(x)\n";
    preprocess(state, text, state.range(0));
}
BENCHMARK(nestCalls)->ArgName("depth")->RangeMultiplier(4)->Range(1, 64)->Unit(benchmark::kMicrosecond);

}  // namespace
