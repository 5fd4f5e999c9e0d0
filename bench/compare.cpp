// Sets the command and the library beside what a user has otherwise, in turns, and prints one table. bench/compare
// starts it and says more.
//
//     compare COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...
//
// COMMAND is the command tarvani, PROGRAMS the directory of the programs that bench/CMakeLists.txt builds, SCRATCH a
// directory for the inputs, which are made when they are missing.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Inputs.h"
#include "Race.h"

namespace {

namespace fs = std::filesystem;

class Bench {
public:
    Bench(std::string command, std::string programs) : tarvani_(std::move(command)), programs_(std::move(programs)) {}

    std::vector<Work> works() const {
        return {
            {"open 1 of 100,000 sections by name", [this] { return openOne(); }},
            {"list 100,000 sections", [this] { return list(); }},
            {"list 100,000 sections by the command", [this] { return listByCommand(); }},
            {"read 10,000 sections (21 MB)", [this] { return readAll(10'000); }},
            {"read 100,000 sections (210 MB)", [this] { return readAll(100'000); }},
            {"create from 10,000 files (21 MB)", [this] { return create(smallFiles(10'000)); }},
            {"create from 100,000 files (210 MB)", [this] { return create(smallFiles(100'000)); }},
            {"create from 200 files (1 GB)", [this] { return create(largeFiles(200)); }},
            {"replace 1 section in 210 MB", [this] { return replace(); }},
            {"lines of a text of 504 MB", [this] { return lines(); }},
        };
    }

private:
    std::vector<std::string> program(const std::string& name, std::vector<std::string> words) const {
        words.insert(words.begin(), (fs::path(programs_) / name).string());
        return words;
    }

    // A container and the archives of the same files, as each program makes its own.
    struct Archives {
        FileSet files;
        std::string idx, tar, zip, sqlite;
    };
    Archives archives(int count) const {
        const Archives made = {smallFiles(count), name(count, "idx"), name(count, "tar"), name(count, "zip"),
                               name(count, "sqlar")};
        const std::string& list = made.files.list;
        makeOnce(made.idx, {tarvani_, "index", "create", made.idx, "--files-from", list});
        makeOnce(made.tar, program("tar", {"create", made.tar, list}));
        makeOnce(made.zip, program("zip", {"create", made.zip, list}));
        makeOnce(made.sqlite, program("sqlite", {"create", made.sqlite, list}));
        return made;
    }
    static std::string name(int count, const char* ending) { return "all" + std::to_string(count) + "." + ending; }
    static void makeOnce(const std::string& path, std::vector<std::string> command) {
        if (!fs::exists(path)) measure({{path, std::move(command)}}, 0);
    }

    Race openOne() const {
        constexpr int kWanted = 70'000;
        const Archives in = archives(100'000);
        const std::string wanted = smallFileName(kWanted);
        const std::string answer = "1 " + std::to_string(smallFileSize(kWanted));
        return {{{"FS_Reader", program("library", {"open", in.idx + "?" + wanted}), answer},
                 {"SQLite", program("sqlite", {"open", in.sqlite, wanted}), answer},
                 {"tar", program("tar", {"open", in.tar, wanted}), answer},
                 {"zip", program("zip", {"open", in.zip, wanted}), answer},
                 {"bare", program("bare_container", {"open", in.idx, wanted}), answer}},
                {{"SQLite", 1.3, 12}}};
    }

    Race list() const {
        const Archives in = archives(100'000);
        const std::string answer = in.files.answer();
        return {{{"FS_IndexFile", program("library", {"list", in.idx}), answer},
                 {"SQLite", program("sqlite", {"list", in.sqlite}), answer},
                 {"tar", program("tar", {"list", in.tar}), answer},
                 {"zip", program("zip", {"list", in.zip}), answer},
                 {"bare", program("bare_container", {"list", in.idx}), answer}},
                {{"bare", 2}}};
    }

    Race listByCommand() const {
        const Archives in = archives(100'000);
        return {{{"tarvani", {tarvani_, "index", "list", in.idx}},
                 {"bare", program("bare_container", {"list", in.idx}), in.files.answer()}},
                {{"bare", 3}}};
    }

    Race readAll(int count) const {
        const Archives in = archives(count);
        const std::string answer = in.files.answer();
        return {{{"FS_IndexFile", program("library", {"read", in.idx}), answer},
                 {"tar", program("tar", {"read", in.tar}), answer},
                 {"SQLite", program("sqlite", {"read", in.sqlite}), answer},
                 {"zip", program("zip", {"read", in.zip}), answer},
                 {"bare", program("bare_container", {"read", in.idx})}},
                {{"tar", 1}}};
    }

    Race create(const FileSet& files) const {
        const auto fresh = [](const char* path) { return [path] { fs::remove(path); }; };
        const std::string answer = files.answer();
        return {
            {{"tarvani", {tarvani_, "index", "create", "new.idx", "--files-from", files.list}, "", fresh("new.idx")},
             {"tar", program("tar", {"create", "new.tar", files.list}), answer, fresh("new.tar")},
             {"SQLite", program("sqlite", {"create", "new.sqlar", files.list}), answer, fresh("new.sqlar")},
             {"bare", program("bare_container", {"create", "bare.idx", files.list}), answer, fresh("bare.idx")}},
            {{"bare", 1.2, 64}}};
    }

    Race replace() const {
        const Archives in = archives(100'000);
        const std::string wanted = smallFileName(50'000), content = smallFileName(7);
        const auto again = [](std::string from, const char* to) {
            return [from = std::move(from), to] {
                if (!fs::exists(to)) fs::copy_file(from, to);
            };
        };
        return {{{"tarvani", {tarvani_, "cp", content, "edit.idx?" + wanted}, "", again(in.idx, "edit.idx")},
                 {"zip", program("zip", {"replace", "edit.zip", wanted, content}), "", again(in.zip, "edit.zip")},
                 {"SQLite", program("sqlite", {"replace", "edit.sqlar", wanted, content}), "",
                  again(in.sqlite, "edit.sqlar")},
                 {"cp", {"cp", "--reflink=never", in.idx, "copy.idx"}, "", [] { fs::remove("copy.idx"); }}},
                {{"cp", 2.5, 32}}};
    }

    Race lines() const {
        std::string answer;
        const std::string text = textFile(answer);
        return {{{"getLine", program("library", {"lines", text}), answer},
                 {"getline", program("lines", {"c", text}), answer},
                 {"std::getline", program("lines", {"std", text}), answer},
                 {"bare", program("bare_lines", {text}), answer}},
                {{"getline", 1}, {"std::getline", 1}, {"bare", 1.5}}};
    }

    const std::string tarvani_;
    const std::string programs_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: compare COMMAND PROGRAMS SCRATCH RUNS [PART OF A WORK'S NAME]...\n");
        return 2;
    }
    const Bench bench(fs::absolute(argv[1]).string(), fs::absolute(argv[2]).string());
    const int runs = std::max(1, std::atoi(argv[4]));
    const std::vector<std::string> parts(argv + 5, argv + argc);
    fs::create_directories(argv[3]);
    fs::current_path(argv[3]);
    run(bench.works(), runs, parts, [] {
        for (const char* left : {"new.idx", "new.tar", "new.sqlar", "bare.idx", "edit.idx", "edit.zip", "edit.sqlar",
                                 "copy.idx", "output"})
            fs::remove(left);
    });
    return 0;
}
