#include <UT/UT_Date.h>
#include <locale.h>

#include <cstring>
#include <ctime>
#include <string>

namespace {

// More than any sensible text; a width in the format could ask for any length.
constexpr std::size_t kLongest = 1u << 16;

std::string formatted(const std::string& format, const std::tm& calendar) {
    static const locale_t english = ::newlocale(LC_ALL_MASK, "C", nullptr);
    // strftime gives 0 for an empty text as for one that doesn't fit, so a character is added and taken off again.
    const std::string guarded = format + ' ';
    for (std::string text(64, '\0'); text.size() <= kLongest; text.resize(2 * text.size())) {
        const std::size_t length = ::strftime_l(text.data(), text.size(), guarded.c_str(), &calendar, english);
        if (length > 0) return text.substr(0, length - 1);
    }
    return {};
}

}  // namespace

int UT_Date::dprintf(char* out, const char* format, long time) {
    if (!out) return 0;
    *out = '\0';
    if (!format) return 0;
    const std::time_t seconds = time;
    std::tm calendar;
    ::tzset();  // localtime_r need not look at TZ by itself
    if (!::localtime_r(&seconds, &calendar)) return 0;
    const std::string text = formatted(format, calendar);
    std::memcpy(out, text.c_str(), text.size() + 1);
    return static_cast<int>(text.size());
}
