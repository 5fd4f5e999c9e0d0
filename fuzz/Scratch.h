#pragma once
// One directory in memory for the files that a target must hand over by path.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

class Scratch {
public:
    Scratch() {
        std::string pattern = std::filesystem::exists("/dev/shm") ? "/dev/shm/fuzz-XXXXXX" : "/tmp/fuzz-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern;
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string path(const std::string& name) const { return path_ + "/" + name; }
    void write(const std::string& name, const std::uint8_t* data, std::size_t size) const {
        std::ofstream out(path(name), std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    // Removes what a run has made.
    void clear() const {
        for (const auto& entry : std::filesystem::directory_iterator(path_)) std::filesystem::remove_all(entry);
    }

private:
    std::string path_;
};
