// Containers from 10 to 1,000,000 sections: opened, listed, read whole and by path, edited, and nested.
#include <UT/UT_IStream.h>
#include <benchmark/benchmark.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <memory>
#include <string>
#include <vector>

#include "Scratch.h"

namespace {

constexpr int kSectionSize = 200;

std::string nameOf(std::int64_t number) {
    return "part" + std::to_string(number) + ".geo";
}

// A container of that many sections at "x.idx".
std::string pack(const Scratch& scratch, std::int64_t count) {
    const std::string content(kSectionSize, 'x');
    FS_IndexFile index;
    for (std::int64_t i = 0; i < count; ++i) index.addSection(nameOf(i).c_str(), content.data(), kSectionSize, 1);
    const std::string path = scratch.path("x.idx");
    return index.save(path.c_str()) ? path : std::string();
}

int bytesOf(UT_IStream& in) {
    char bytes[kSectionSize + 1];
    return in.bread(bytes, sizeof bytes);
}

int bytesOf(const std::string& path) {
    FS_Reader reader(path.c_str());
    return reader.isGood() ? bytesOf(*reader.getStream()) : -1;
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("sections")->Arg(10)->Arg(1000)->Arg(100'000)->Arg(1'000'000);
}

void openAndReadOne(benchmark::State& state) {
    const Scratch scratch;
    const std::string path = pack(scratch, state.range(0)) + "?" + nameOf(state.range(0) - 1);
    for (auto _ : state)
        if (bytesOf(path) != kSectionSize) return state.SkipWithError("section unreadable");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(openAndReadOne)->Apply(sizes);

void list(benchmark::State& state) {
    const Scratch scratch;
    const std::string path = pack(scratch, state.range(0));
    for (auto _ : state) {
        const FS_IndexFile index(path.c_str());
        std::int64_t bytes = 0;
        for (int i = 0; i < index.getNumSections(); ++i) bytes += index.getSectionDataSizeAt(i);
        if (bytes != state.range(0) * kSectionSize) return state.SkipWithError("sections lost");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(list)->Apply(sizes);

void readAll(benchmark::State& state) {
    const Scratch scratch;
    const std::string path = pack(scratch, state.range(0));
    for (auto _ : state) {
        const FS_IndexFile index(new FS_Reader(path.c_str()));
        for (int i = 0; i < index.getNumSections(); ++i) {
            const std::unique_ptr<FS_ReaderStream> section(index.getSectionStream(index.getSectionName(i)));
            if (bytesOf(*section->getStream()) != kSectionSize) return state.SkipWithError("section unreadable");
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * kSectionSize);
}
BENCHMARK(readAll)->Apply(sizes);

void replaceOneAndSave(benchmark::State& state) {
    const Scratch scratch;
    const std::string path = pack(scratch, state.range(0));
    const std::string content(kSectionSize, 'y');
    for (auto _ : state) {
        FS_IndexFile index(path.c_str());
        index.modifySection(nameOf(0).c_str(), content.data(), kSectionSize, 2);
        if (!index.save(path.c_str())) return state.SkipWithError("not saved");
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * kSectionSize);
}
BENCHMARK(replaceOneAndSave)->Apply(sizes);

// A section path of that many levels; each level holds nine sections beside the next one.
void openNested(benchmark::State& state) {
    const Scratch scratch;
    std::string content(kSectionSize, 'x');
    std::string path;
    for (std::int64_t level = 0; level < state.range(0); ++level) {
        FS_IndexFile index;
        for (int i = 0; i < 9; ++i) index.addSection(nameOf(i).c_str(), "beside", 6, 1);
        index.addSection("in", content.data(), static_cast<int>(content.size()), 1);
        const std::string file = scratch.path("level.idx");
        if (!index.save(file.c_str())) return state.SkipWithError("not saved");
        std::ifstream in(file, std::ios::binary);
        content.assign(std::istreambuf_iterator<char>(in), {});
        path += "?in";
    }
    path.insert(0, scratch.write("nested.idx", content));
    for (auto _ : state)
        if (bytesOf(path) != kSectionSize) return state.SkipWithError("section unreadable");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(openNested)->ArgName("levels")->Arg(1)->Arg(4)->Arg(16);

}  // namespace
