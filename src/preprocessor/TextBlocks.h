#pragma once
// Private: looks through text for the first character of a kind, sixteen characters at a time.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace textblocks {

// Compilers have instructions for it, or make do with two numbers.
using Block = unsigned char __attribute__((vector_size(16)));

// What the test says of each character, since looking that up is faster than asking.
template <typename Test>
inline constexpr auto kPasses = [] {
    std::array<bool, 256> passes{};
    for (unsigned c = 0; c < passes.size(); ++c) passes[c] = Test()(static_cast<unsigned char>(c));
    return passes;
}();

// The first position from `at` on whose character passes `test`, the length of the text if there is none. The test
// takes one character as well as a block of them, and is therefore written without && and ||.
template <typename Test>
std::size_t firstOf(std::string_view text, std::size_t at, Test test) {
    if (text.size() - at >= sizeof(Block)) {
        // The last block lies over the one in front of it, where nothing was found.
        for (const std::size_t last = text.size() - sizeof(Block);; at = std::min(at + sizeof(Block), last)) {
            Block block;
            std::memcpy(&block, text.data() + at, sizeof block);
            const auto passed = test(block);
            std::uint64_t halves[2];
            std::memcpy(halves, &passed, sizeof halves);
            const std::uint64_t half = halves[0] ? halves[0] : halves[1];
            if (half) {
                const bool isLittle = std::endian::native == std::endian::little;
                const int bits = isLittle ? std::countr_zero(half) : std::countl_zero(half);
                return at + static_cast<std::size_t>(bits) / 8 + (halves[0] ? 0 : sizeof half);
            }
            if (at == last) return text.size();
        }
    }
    while (at < text.size() && !kPasses<Test>[static_cast<unsigned char>(text[at])]) ++at;
    return at;
}

}  // namespace textblocks
