#pragma once
// Works at which contenders run in turns, and the table that is printed of them.
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Measure.h"

// What a work should reach: the time of ours at most `times` that of contender `than`, the peak at most `megabytes`.
struct Reach {
    std::string_view than;
    double times = 1;
    double megabytes = 0;  // 0: no matter
};

// Or the bytes for each of `entries`, by which the peak of ours passes that of contender `above`.
struct Memory {
    std::string_view above;
    double bytes = 0;
    int entries = 0;
};

// Ours is the first.
struct Race {
    std::vector<Contender> contenders;
    std::vector<Reach> reaches;
    std::optional<Memory> memory = {};
};

struct Work {
    std::string name;
    std::function<Race()> prepare;  // makes the inputs
};

// Runs those of the works that `parts` name, and prints what each took and whether it reached what it should.
// `afterwards` follows each work.
void run(
    const std::vector<Work>& works, int runs, const std::vector<std::string>& parts,
    const std::function<void()>& afterwards = [] {});
