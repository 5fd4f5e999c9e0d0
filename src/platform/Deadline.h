#pragma once
// Private: a time that several waits share.
#include <algorithm>
#include <chrono>

namespace platform {

class Deadline {
public:
    // So many milliseconds from now; 0 has passed already, and a negative one never comes.
    explicit Deadline(int timeoutMs) : timeoutMs_(timeoutMs) {
        if (timeoutMs > 0) end_ = Clock::now() + std::chrono::milliseconds(timeoutMs);
    }
    // Milliseconds that are left, as a timeout: 0 when it has passed, negative if it never comes.
    int leftMs() const {
        if (timeoutMs_ <= 0) return timeoutMs_;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::max<decltype(left)>(left, 0));
    }

private:
    using Clock = std::chrono::steady_clock;
    int timeoutMs_;
    Clock::time_point end_;
};

}  // namespace platform
