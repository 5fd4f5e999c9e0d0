// Sets pages read over http beside a bare socket, libcurl and curl, in turns: from a local nginx into a file, which
// goes again before the process ends, but with curl and with the copy by the command. bench/compare starts it and says
// more.
//
//     compare_pages COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "LocalNginx.h"
#include "Race.h"

namespace {

namespace fs = std::filesystem;

class Bench {
public:
    // The pages lie in `directory`, which `server` serves.
    Bench(std::string command, std::string programs, std::string directory, const LocalNginx& server)
        : tarvani_(std::move(command)),
          programs_(std::move(programs)),
          directory_(std::move(directory)),
          server_(server) {}

    std::vector<Work> works() const {
        return {
            {"a page of 4 KB from a local nginx",
             [this] {
                 return page(4096, {{"bare socket", 1.3}});
             }},
            {"a page of 210 MB from a local nginx",
             [this] {
                 return page(210'000'000, {{"libcurl", 1, 16}});
             }},
        };
    }

private:
    Race page(int size, std::vector<Reach> reaches) const {
        const std::string name = "/page" + std::to_string(size), url = server_.url(name);
        std::ofstream(directory_ + name, std::ios::binary) << std::string(4096, 'x');
        fs::resize_file(directory_ + name, static_cast<std::uintmax_t>(size));
        const std::string port = std::to_string(server_.port()), answer = "1 " + std::to_string(size);
        const auto fresh = [] { fs::remove("copy"); };
        return {{{"FS_Reader", {programs_ + "/library_pages", "copy", url}, answer},
                 {"WebConnection", {programs_ + "/library_pages", "retrieve", port, name}, answer},
                 {"tarvani cp", {tarvani_, "cp", url, "copy"}, "", fresh},
                 {"bare socket", {programs_ + "/bare_page", port, name}, answer},
                 {"libcurl", {programs_ + "/curl_page", url}, answer},
                 {"curl", {"curl", "-s", "-o", "copy", url}, "", fresh},
                 {"nothing", {programs_ + "/nothing"}}},
                std::move(reaches)};
    }

    const std::string tarvani_, programs_, directory_;
    const LocalNginx& server_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: compare_pages COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...\n");
        return 2;
    }
    if (!LocalNginx::isInstalled()) {
        std::fprintf(stderr, "compare_pages: nginx isn't installed, so pages are left out\n");
        return 0;
    }
    const std::string tarvani = fs::absolute(argv[1]).string(), programs = fs::absolute(argv[2]).string();
    fs::create_directories(argv[3]);
    fs::current_path(argv[3]);
    const std::string scratch = fs::current_path().string(), directory = scratch + "/pages";
    fs::create_directories(directory);
    ::setenv("TMPDIR", scratch.c_str(), 1);  // one disk for all
    const LocalNginx server(directory, scratch);
    run(Bench(tarvani, programs, directory, server).works(), std::max(1, std::atoi(argv[4])), {argv + 5, argv + argc});
    fs::remove("copy");
    return 0;
}
