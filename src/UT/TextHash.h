#pragma once
// Private: the hash of names. Names come from files that anybody may have made, so no file must be able to hold names
// that fall into one slot: both factors of every product have a part that differs from run to run.
#include <cstdint>
#include <cstring>
#include <string_view>

namespace texthash {

// Both halves of the product, folded into one.
inline std::uint64_t fold(std::uint64_t a, std::uint64_t b) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

struct Secret {
    std::uint64_t word, state;
};

// Drawn from where the system has put the library and the stack.
inline const Secret& secret() {
    static const Secret drawn = [] {
        static const char anchor = 0;
        const char local = 0;
        const std::uint64_t library = reinterpret_cast<std::uintptr_t>(&anchor);
        const std::uint64_t stack = reinterpret_cast<std::uintptr_t>(&local);
        const std::uint64_t first = fold(library ^ 0x9e3779b97f4a7c15u, stack ^ 0xd6e8feb86659fd93u);
        return Secret{first, fold(first ^ 0xa0761d6478bd642fu, library ^ 0xe7037ed1a0b428dbu)};
    }();
    return drawn;
}

}  // namespace texthash

// Takes eight bytes at a time.
inline std::uint64_t hashText(std::string_view text) {
    const texthash::Secret& secret = texthash::secret();
    std::uint64_t hash = secret.word ^ text.size();
    while (!text.empty()) {
        std::uint64_t word = 0;
        const std::size_t n = text.size() < sizeof word ? text.size() : sizeof word;
        std::memcpy(&word, text.data(), n);
        hash = texthash::fold(word ^ secret.word, hash ^ secret.state);
        text.remove_prefix(n);
    }
    return texthash::fold(secret.word, hash ^ secret.state);
}
