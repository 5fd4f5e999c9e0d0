#pragma once
// What the command says: results to standard output, one line for each failure to standard error, and how far a long
// copy has come where a person watches.
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

// Ends the work on one path. Whoever catches it prints "tarvani: PATH: reason".
struct Failure {
    std::string path;
    std::string reason;
};

// Nobody reads standard output any more: the program ends without a word.
struct ClosedPipe {};

// Writes the line of a failure to standard error.
void complain(const Failure& failure);
// The same for want of memory, which takes none.
void complainOfMemory();
// The text, bold if it goes to a terminal that shows it: not to a file, and not where NO_COLOR is set.
enum class StandardStream { Output, Error };
std::string inBold(std::string_view text, StandardStream stream);
// A text for one line of a terminal: control characters as \n, \t or \x1b, a backslash doubled.
std::string printable(std::string_view text);
// The system's words for an errno value.
std::string errorWords(int error);

// Standard output, buffered. Throws Failure or ClosedPipe when it can't be written.
class StandardOutput {
public:
    // The name under which it appears in failures.
    static constexpr const char* kName = "standard output";

    void write(std::string_view bytes);
    // A name, escaped if a terminal would obey what is in it.
    void writeName(std::string_view name);
    void writeNumber(std::int64_t number);
    // Writes what is buffered; the program's last step, since a full disk may show only here.
    void flush();

private:
    void writeThrough(std::string_view bytes);

    std::string buffer_;
};
StandardOutput& standardOutput();

// Shows on standard error, if that is a terminal, how far a copy has come. Nothing shows in its first second; the line
// is wiped off at the end.
class Progress {
public:
    enum class Unit { Bytes, Files };

    // `total` is what is to come, -1 if unknown.
    Progress(std::string name, std::int64_t total, bool wanted, Unit unit = Unit::Bytes);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void advance(std::size_t count);

private:
    using Clock = std::chrono::steady_clock;

    std::string figure(std::int64_t value) const;

    std::string name_;
    std::int64_t total_;
    Unit unit_;
    std::int64_t done_ = 0;
    bool shown_ = false;
    bool wanted_;
    Clock::time_point next_;
};
