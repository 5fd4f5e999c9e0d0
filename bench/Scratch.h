#pragma once
// A directory for the files of one benchmark, removed with its object.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

class Scratch {
public:
    Scratch() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tarvani-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        directory_ = pattern;
    }
    ~Scratch() { std::filesystem::remove_all(directory_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string path(std::string_view name) const { return (directory_ / name).string(); }
    // Gives the path of the new file.
    std::string write(std::string_view name, std::string_view content) const {
        std::ofstream(path(name), std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
        return path(name);
    }

private:
    std::filesystem::path directory_;
};
