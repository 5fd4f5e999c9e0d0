#pragma once
// What is read from: a path of the library, or "-" for standard input.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class FS_Reader;

class Source {
public:
    // Throws Failure, with the reason, if there is nothing to read.
    explicit Source(std::string path);
    ~Source();

    // "standard input" or the path.
    const std::string& name() const { return name_; }
    // Bytes that will come, -1 if unknown.
    std::int64_t length() const;
    // Throws Failure if a section is known to end before its length: nothing good is written over with such a one.
    void requireWhole() const;
    // The next bytes, valid until the next call; none at the end. Throws Failure if reading fails, and if a section
    // ends before its length.
    std::string_view next();

private:
    std::size_t readSome();
    void requireLength(std::int64_t bytes) const;

    std::string path_;
    std::string name_;
    std::unique_ptr<FS_Reader> reader_;  // null for standard input
    std::vector<char> buffer_;
    std::int64_t done_ = 0;
};
