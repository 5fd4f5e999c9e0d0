#pragma once
// Private: times as web servers write them.
#include <cstdint>
#include <optional>
#include <string_view>

// Seconds since the epoch of "Sun, 06 Nov 1994 08:49:37 GMT", or of the two older forms "Sunday, 06-Nov-94 08:49:37
// GMT" and "Sun Nov  6 08:49:37 1994". None for any other text, and for a day or a time that there isn't.
std::optional<std::int64_t> parseHttpDate(std::string_view text);
