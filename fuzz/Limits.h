#pragma once
// What one run of a target may use, from the start of its function to the end. Beyond it the program aborts on the
// spot, so that the stack shows who asked for more, and one that doesn't come to an end is found, too.
//
//     const Limits limits(size);
//
// Memory is what lives at the same time, the copies that the target itself makes included. Time is that of the
// processor, so that a busy machine makes no difference.
#include <chrono>
#include <cstddef>

#include <sys/time.h>

class Limits {
public:
    static constexpr std::size_t kMemory = std::size_t{1} << 20;
    static constexpr std::size_t kMemoryPerByte = 8;
    // A small run still makes a few files, and sanitizers are slow at first.
    static constexpr std::chrono::microseconds kTime = std::chrono::milliseconds(250);
    static constexpr long kBytesPerSecond = 64 * 1024;

    // `moreBytes` and `moreTime` are for what a target gets by right whatever the size of its input; it tells why.
    explicit Limits(std::size_t inputSize, std::size_t moreBytes = 0, std::chrono::microseconds moreTime = {});
    ~Limits();
    Limits(const Limits&) = delete;
    Limits& operator=(const Limits&) = delete;

    // Time that isn't the library's: a model, which is plain rather than fast. Does nothing outside a run.
    class Pause {
    public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        itimerval rest_ = {};
    };
};
