#pragma once
// Private: how a size or a time goes into the int that a class or a format has for it.
#include <algorithm>
#include <cstdint>
#include <limits>

// The int that is nearest to `value`.
constexpr int saturated(std::int64_t value) {
    constexpr std::int64_t kLowest = std::numeric_limits<int>::min(), kHighest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, kLowest, kHighest));
}
