#pragma once
// A directory of its own for one test, removed at the end with all that it holds. Offers the verbs that tests of files
// need.
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    // The absolute path of the directory, or of `name` in it.
    const std::string& path() const { return path_; }
    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }
    // Writes a file, with the directories that it needs. Gives its path.
    std::string write(std::string_view name, std::string_view bytes) const;
    // The bytes of a file; fails the test when it can't be read.
    std::string read(std::string_view name) const;
    bool exists(std::string_view name) const;
    // Makes a directory and its parents. Gives its path.
    std::string makeDirectory(std::string_view name) const;
    // Cuts a file to `length` bytes, or lengthens it with a hole.
    void cutAt(std::string_view name, std::uintmax_t length) const;
    // Sets the modification time, in seconds since the epoch.
    void setTime(std::string_view name, long seconds) const;
    // The names in the directory, or in `name` in it, sorted.
    std::vector<std::string> names(std::string_view name = "") const;

private:
    std::string path_;
};

// Goes to a directory for as long as it lives.
class InDirectory {
public:
    explicit InDirectory(const std::string& path) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~InDirectory() { std::filesystem::current_path(before_); }
    InDirectory(const InDirectory&) = delete;
    InDirectory& operator=(const InDirectory&) = delete;

private:
    std::filesystem::path before_;
};
