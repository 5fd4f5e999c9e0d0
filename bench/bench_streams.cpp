// Lines, reads and windows of UT_IStream over memory and over files.
#include <UT/UT_IStream.h>
#include <UT/UT_WorkBuffer.h>
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "Scratch.h"

namespace {

constexpr std::size_t kTextSize = 8'000'000;

std::string textOfLines(std::size_t lineLength) {
    std::string text;
    while (text.size() < kTextSize) text.append(lineLength, 'x') += '\n';
    return text;
}

void rateBytes(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void linesOfFile(benchmark::State& state) {
    const Scratch scratch;
    const std::string text = textOfLines(static_cast<std::size_t>(state.range(0)));
    const std::string path = scratch.write("text", text);
    UT_WorkBuffer line;
    for (auto _ : state) {
        UT_IFStream in(path.c_str(), UT_ISTREAM_BINARY);
        std::size_t bytes = 0;
        while (in.getLine(line, '\n')) bytes += static_cast<std::size_t>(line.length()) + 1;
        if (bytes != text.size()) return state.SkipWithError("lines lost");
    }
    rateBytes(state, text.size());
}
BENCHMARK(linesOfFile)->ArgName("length")->Arg(8)->Arg(64)->Arg(1000)->Arg(100'000);

void readsOfFile(benchmark::State& state) {
    const Scratch scratch;
    const std::string text = textOfLines(80);
    const std::string path = scratch.write("text", text);
    std::vector<char> piece(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        UT_IFStream in(path.c_str(), UT_ISTREAM_BINARY);
        std::size_t bytes = 0;
        while (const int n = in.bread(piece.data(), static_cast<int>(piece.size())))
            bytes += static_cast<std::size_t>(n);
        if (bytes != text.size()) return state.SkipWithError("bytes lost");
    }
    rateBytes(state, text.size());
}
BENCHMARK(readsOfFile)->ArgName("bytes")->RangeMultiplier(16)->Range(16, 1 << 20);

// Neighbouring windows of one file, each read whole: they share the source's read-ahead.
void neighbouringWindows(benchmark::State& state) {
    const Scratch scratch;
    const std::string text = textOfLines(80);
    const std::string path = scratch.write("text", text);
    const std::int64_t window = state.range(0);
    const auto size = static_cast<std::int64_t>(text.size());
    UT_IFStream in(path.c_str(), UT_ISTREAM_BINARY);
    std::vector<char> piece(static_cast<std::size_t>(window));
    for (auto _ : state) {
        std::int64_t bytes = 0;
        for (std::int64_t at = 0; at < size; at += window) {
            const std::unique_ptr<UT_IStream> part(in.getSubStream(at, window));
            bytes += part->bread(piece.data(), static_cast<int>(window));
        }
        if (bytes != size) return state.SkipWithError("bytes lost");
    }
    rateBytes(state, text.size());
}
BENCHMARK(neighbouringWindows)->ArgName("bytes")->RangeMultiplier(8)->Range(256, 128 * 1024);

// A window of a window of a window costs what one costs.
void deepWindow(benchmark::State& state) {
    const std::string text = textOfLines(80);
    std::vector<std::unique_ptr<UT_IStream>> levels;
    levels.push_back(std::make_unique<UT_IStream>(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY));
    for (int i = 0; i < state.range(0); ++i) levels.emplace_back(levels.back()->getSubStream(1, 1 << 30));
    for (auto _ : state) {
        levels.back()->seekg(0, 0);
        char c;
        benchmark::DoNotOptimize(levels.back()->bread(&c, 1));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(deepWindow)->ArgName("depth")->Arg(0)->Arg(16);

}  // namespace
