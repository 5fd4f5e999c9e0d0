#pragma once
// What bench/compare works on, made once in a scratch directory and the same on every machine.
#include <string>

// A set of files, and the file that lists their names, one a line.
struct FileSet {
    std::string list;
    int count = 0;
    long long bytes = 0;

    // As the programs print it.
    std::string answer() const { return std::to_string(count) + " " + std::to_string(bytes); }
};

// All make what isn't there yet, below the current directory.
// The first `count` (at most 100,000) of small files, 2,100 bytes on average.
FileSet smallFiles(int count);
// `count` files of 5 MB.
FileSet largeFiles(int count);
// The name of the small file of that number, and its size in bytes.
std::string smallFileName(int number);
long long smallFileSize(int number);
// A text of 504 MB in lines of 0 to 126 characters; `answer` becomes the number of lines and of their characters.
std::string textFile(std::string& answer);
