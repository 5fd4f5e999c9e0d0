#include "Measure.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

extern char** environ;

namespace {

constexpr char kOutput[] = "output";

struct Run {
    double seconds = 0;
    double megabytes = 0;
};

[[noreturn]] void fail(const Contender& contender, const char* what) {
    std::fprintf(stderr, "%s: %s:", contender.name.c_str(), what);
    for (const std::string& word : contender.command) std::fprintf(stderr, " %s", word.c_str());
    std::fprintf(stderr, "\n");
    std::exit(1);
}

// The peak that the system tells of a child is at least what this program uses itself, some 4 MB.
Run runOnce(const Contender& contender) {
    std::vector<char*> words;
    for (const std::string& word : contender.command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, kOutput, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    ::unlink(kOutput);  // freeing what the last one wrote is no work of this one
    pid_t child = 0;
    const auto begin = std::chrono::steady_clock::now();
    if (::posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ) != 0)
        fail(contender, "can't be started");
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) fail(contender, "failed");
    return {time.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

void checkAnswer(const Contender& contender) {
    if (contender.answer.empty()) return;
    char line[128] = "";
    if (std::FILE* const file = std::fopen(kOutput, "re")) {
        if (std::fgets(line, sizeof line, file) == nullptr) line[0] = '\0';
        std::fclose(file);
    }
    if (line != contender.answer + "\n") fail(contender, "wrong answer");
}

Timing summary(std::vector<Run> runs) {
    if (runs.empty()) return {};
    std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.seconds < b.seconds; });
    Timing timing{runs[runs.size() / 2].seconds, runs.front().seconds, runs.back().seconds};
    for (const Run& run : runs) timing.peakMegabytes = std::max(timing.peakMegabytes, run.megabytes);
    return timing;
}

}  // namespace

std::vector<Timing> measure(const std::vector<Contender>& contenders, int runs) {
    std::vector<std::vector<Run>> all(contenders.size());
    for (int round = 0; round <= runs; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            contenders[i].prepare();
            const Run run = runOnce(contenders[i]);
            if (round == 0)
                checkAnswer(contenders[i]);
            else
                all[i].push_back(run);
        }
    }
    std::vector<Timing> timings;
    for (std::vector<Run>& one : all) timings.push_back(summary(std::move(one)));
    return timings;
}

bool isWanted(const std::string& name, const std::vector<std::string>& parts) {
    for (const std::string& part : parts)
        if (name.find(part) != std::string::npos) return true;
    return parts.empty();
}
