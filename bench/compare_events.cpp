// Sets a service on the library beside poll by hand and libevent, in turns: lines that are sent back. bench/compare
// starts it and says more.
//
//     compare_events COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Race.h"

namespace {

// By messages a second: at least 0.8 of poll by hand, 1.5 times libevent.
const std::vector<Reach> kReaches = {{"poll by hand", 1 / 0.8}, {"libevent", 1 / 1.5}};

Work echo(const std::string& programs, int connections, int outstanding, int messages) {
    const auto by = [=](const std::string& way) {
        return std::vector<std::string>{programs + "/echo", way, std::to_string(connections),
                                        std::to_string(outstanding), std::to_string(messages)};
    };
    return {"echo " + std::to_string(messages) + " lines, " + std::to_string(connections) + " connections, " +
                std::to_string(outstanding) + " outstanding",
            [=] {
                return Race{{{"listener", by("library")}, {"poll by hand", by("poll")}, {"libevent", by("libevent")}},
                            kReaches};
            }};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: compare_events COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...\n");
        return 2;
    }
    namespace fs = std::filesystem;
    const std::string programs = fs::absolute(argv[2]).string();
    fs::create_directories(argv[3]);
    fs::current_path(argv[3]);
    run({echo(programs, 1, 1, 100'000), echo(programs, 50, 1, 300'000), echo(programs, 500, 1, 300'000),
         echo(programs, 1, 32, 640'000), echo(programs, 50, 32, 640'000)},
        std::max(1, std::atoi(argv[4])), {argv + 5, argv + argc});
    return 0;
}
