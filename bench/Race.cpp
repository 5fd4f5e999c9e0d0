#include "Race.h"

#include <cstdio>
#include <cstdlib>

namespace {

const Timing& timingOf(const Race& race, const std::vector<Timing>& timings, std::string_view name) {
    for (std::size_t i = 0; i < timings.size(); ++i)
        if (race.contenders[i].name == name) return timings[i];
    std::abort();
}

void print(const Work& work, const Race& race, const std::vector<Timing>& timings) {
    std::printf("%s\n", work.name.c_str());
    const Timing& ours = timings.front();
    for (std::size_t i = 0; i < timings.size(); ++i) {
        const Timing& t = timings[i];
        std::printf("    %-14s %9.1f ms  (%.1f to %.1f)", race.contenders[i].name.c_str(), t.median * 1e3,
                    t.least * 1e3, t.most * 1e3);
        std::printf("  %7.1f MB", t.peakMegabytes);
        if (i > 0) std::printf("   ours is %.2f times that", ours.median / t.median);
        std::printf("\n");
    }
    for (const Reach& reach : race.reaches) {
        const double times = ours.median / timingOf(race, timings, reach.than).median;
        std::printf("    reach: at most %.1f times %.*s: %s", reach.times, static_cast<int>(reach.than.size()),
                    reach.than.data(), times <= reach.times ? "yes" : "NO");
        if (reach.megabytes > 0)
            std::printf("; at most %.0f MB: %s", reach.megabytes, ours.peakMegabytes <= reach.megabytes ? "yes" : "NO");
        std::printf("\n");
    }
    if (const auto& memory = race.memory) {
        const double more = ours.peakMegabytes - timingOf(race, timings, memory->above).peakMegabytes;
        const double bytes = more * 1024 * 1024 / memory->entries;
        std::printf("    reach: at most %.0f bytes an entry: %s, %.0f\n", memory->bytes,
                    bytes <= memory->bytes ? "yes" : "NO", bytes);
    }
    std::fflush(stdout);
}

}  // namespace

void run(const std::vector<Work>& works, int runs, const std::vector<std::string>& parts,
         const std::function<void()>& afterwards) {
    for (const Work& work : works) {
        if (!isWanted(work.name, parts)) continue;
        const Race race = work.prepare();
        print(work, race, measure(race.contenders, runs));
        afterwards();
    }
}
