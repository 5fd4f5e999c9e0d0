// Masks of addresses: what a field may be, and what separates masks.
#include <UT/UT_NetPacket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

namespace {

constexpr int kAny = -1;
using Fields = std::array<int, 4>;

std::optional<int> parseField(std::string_view text) {
    if (text == "+" || text == "*") return kAny;
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    // from_chars takes a minus sign.
    return whole && text.front() != '-' && value <= 255 ? std::optional(value) : std::nullopt;
}

std::optional<Fields> parseFields(std::string_view text) {
    Fields fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const bool last = i + 1 == fields.size();
        const std::size_t end = last ? text.size() : text.find('.');
        if (end == text.npos) return std::nullopt;
        const auto field = parseField(text.substr(0, end));
        if (!field) return std::nullopt;
        fields[i] = *field;
        text.remove_prefix(last ? end : end + 1);
    }
    return fields;
}

bool matches(const Fields& mask, const Fields& address) {
    return std::equal(mask.begin(), mask.end(), address.begin(), [](int m, int a) { return m == kAny || m == a; });
}

}  // namespace

int UT_NetPacket::matchIPMask(const char* mask, const char* address, UT_NetSocket*) {
    const auto numbers = address ? parseFields(address) : std::nullopt;
    if (!mask || !numbers || std::ranges::count(*numbers, kAny)) return 0;
    for (std::string_view rest = mask; !rest.empty();) {
        const std::size_t end = std::min(rest.find_first_of(" \t,"), rest.size());
        const auto fields = parseFields(rest.substr(0, end));
        if (fields && matches(*fields, *numbers)) return 1;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return 0;
}
