// Masks of addresses, against the set of numbers that each field admits. A first line is the address, the rest the
// masks.
#include "Check.h"
#include "Limits.h"
#include "SlowMatch.h"

#include <UT/UT_NetPacket.h>

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kLongestInput = 256;

std::vector<std::string> fieldsOf(std::string_view text) {
    std::vector<std::string> fields(1);
    for (const char c : text) {
        if (c != '.')
            fields.back() += c;
        else
            fields.emplace_back();
    }
    return fields;
}

std::set<int> admitted(const std::string& field) {
    std::set<int> numbers;
    for (int number = 0; number <= 255; ++number) {
        const std::string digits = std::to_string(number);
        const bool zeros = field.size() >= digits.size() &&
                           field.substr(0, field.size() - digits.size()).find_first_not_of('0') == field.npos;
        if (field == "+" || field == "*" || (zeros && field.ends_with(digits))) numbers.insert(number);
    }
    return numbers;
}

bool slowMask(const std::string& masks, const std::string& address) {
    const Limits::Pause slow;
    const auto numbers = fieldsOf(address);
    if (numbers.size() != 4) return false;
    for (const std::string& mask : wordsOf(masks, " \t,")) {
        const auto fields = fieldsOf(mask);
        bool matches = fields.size() == 4;
        for (std::size_t i = 0; i < 4 && matches; ++i) {
            const auto number = admitted(numbers[i]);
            matches = number.size() == 1 && admitted(fields[i]).contains(*number.begin());
        }
        if (matches) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find('\0') != text.npos) return 0;
    const std::size_t line = std::min(text.find('\n'), text.size());
    const std::string address = text.substr(0, line), masks = text.substr(std::min(line + 1, text.size()));
    check((UT_NetPacket::matchIPMask(masks.c_str(), address.c_str(), nullptr) != 0) == slowMask(masks, address),
          "an address matches a mask by its rules");
    return 0;
}
