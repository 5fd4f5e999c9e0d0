// The symbol table and the work buffer.
#include <UT/UT_SymbolTable.h>
#include <UT/UT_WorkBuffer.h>
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> names(std::int64_t count) {
    std::vector<std::string> made;
    for (std::int64_t i = 0; i < count; ++i) made.push_back("textures/page" + std::to_string(i) + ".tex");
    return made;
}

void fillTable(benchmark::State& state) {
    const auto keys = names(state.range(0));
    for (auto _ : state) {
        UT_SymbolTable table;
        for (const std::string& key : keys) table.addSymbol(key, UT_Thing());
        if (table.entries() != keys.size()) return state.SkipWithError("names lost");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(fillTable)->ArgName("names")->RangeMultiplier(10)->Range(10, 100'000);

void findInTable(benchmark::State& state) {
    const auto keys = names(state.range(0));
    UT_SymbolTable table;
    for (const std::string& key : keys) table.addSymbol(key, UT_Thing());
    for (auto _ : state) {
        int found = 0;
        for (const std::string& key : keys) found += table.findSymbol(key, nullptr);
        if (found != state.range(0)) return state.SkipWithError("names lost");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(findInTable)->ArgName("names")->RangeMultiplier(10)->Range(10, 100'000);

void emptyTable(benchmark::State& state) {
    const auto keys = names(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        UT_SymbolTable table;
        for (const std::string& key : keys) table.addSymbol(key, UT_Thing());
        state.ResumeTiming();
        for (const std::string& key : keys) table.deleteSymbol(key);
        if (table.entries() != 0) return state.SkipWithError("names left");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(emptyTable)->ArgName("names")->RangeMultiplier(10)->Range(1000, 100'000);

void appendToBuffer(benchmark::State& state) {
    const std::string piece(static_cast<std::size_t>(state.range(0)), 'x');
    UT_WorkBuffer buffer;
    for (auto _ : state) {
        buffer.clear();
        for (int i = 0; i < 1000; ++i) buffer.append(std::string_view(piece));
        benchmark::DoNotOptimize(buffer.buffer());
    }
    state.SetBytesProcessed(state.iterations() * 1000 * state.range(0));
}
BENCHMARK(appendToBuffer)->ArgName("bytes")->Arg(1)->Arg(16)->Arg(256);

void formatIntoBuffer(benchmark::State& state) {
    UT_WorkBuffer buffer;
    for (auto _ : state) benchmark::DoNotOptimize(buffer.sprintf("%s/%d.%s", "textures", 1234, "tex"));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(formatIntoBuffer);

}  // namespace
