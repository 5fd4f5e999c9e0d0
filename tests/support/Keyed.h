#pragma once
// The filter pair of the examples, and what it makes of bytes.
#include <filter_pair/KeyedFilter.h>

#include <string>
#include <string_view>

inline std::string keyed(std::string_view plain, std::string_view key = "key") {
    std::string stored(kKeyedHeader);
    for (std::size_t i = 0; i < plain.size(); ++i) stored += static_cast<char>(plain[i] ^ key[i % key.size()]);
    return stored;
}
