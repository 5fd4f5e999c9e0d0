#pragma once
// Private: looks through text for the first character of a kind, sixteen characters at a time.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace textblocks {

// Compilers have instructions for it, or make do with two numbers.
using Block = unsigned char __attribute__((vector_size(16)));

// What the test says of each character, since looking that up is faster than asking.
template <class Test>
constexpr std::array<bool, 256> tableOf() {
    std::array<bool, 256> passes{};
    for (unsigned c = 0; c < passes.size(); ++c) passes[c] = Test()(static_cast<unsigned char>(c));
    return passes;
}

// How many of the bytes of a test's result, all ones or all zeros each, stand in front of the first that is not zero.
inline std::size_t zerosInFront(const Block& passed) {
#ifdef __SSE2__
    const int bits = _mm_movemask_epi8(reinterpret_cast<const __m128i&>(passed));
    return static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(bits) | 1U << sizeof(Block)));
#else
    std::uint64_t halves[2];
    std::memcpy(halves, &passed, sizeof halves);
    const bool isFirst = halves[0] != 0;
    const std::uint64_t half = halves[isFirst ? 0 : 1];
    const bool isLittle = std::endian::native == std::endian::little;
    const int bits = isLittle ? std::countr_zero(half) : std::countl_zero(half);
    return (isFirst ? 0 : sizeof half) + static_cast<std::size_t>(bits) / 8;
#endif
}

// The first position from `at` on whose character passes `test`, the length of the text if there is none. The test
// takes one character as well as a block of them, and is therefore written without && and ||.
template <class Test>
std::size_t firstOf(std::string_view text, std::size_t at, Test test) {
    if (text.size() - at >= sizeof(Block)) {
        // The last block lies over the one in front of it, where nothing was found.
        for (const std::size_t last = text.size() - sizeof(Block);; at = std::min(at + sizeof(Block), last)) {
            Block block;
            std::memcpy(&block, text.data() + at, sizeof block);
            const auto passed = test(block);
            const std::size_t zeros = zerosInFront(reinterpret_cast<const Block&>(passed));
            if (zeros < sizeof block) return at + zeros;
            if (at == last) return text.size();
        }
    }
    static constexpr std::array<bool, 256> kPasses = tableOf<Test>();
    while (at < text.size() && !kPasses[static_cast<unsigned char>(text[at])]) ++at;
    return at;
}

}  // namespace textblocks
