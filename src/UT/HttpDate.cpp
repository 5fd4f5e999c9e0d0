#include <UT/HttpDate.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

namespace {

// The words between blanks, commas and hyphens; none if there are more than fit.
using Words = std::array<std::string_view, 6>;

std::size_t splitWords(std::string_view text, Words& words) {
    constexpr std::string_view kBetween = " ,-";
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find_first_not_of(kBetween, at)) != text.npos;) {
        if (count == words.size()) return 0;
        const std::size_t end = std::min(text.find_first_of(kBetween, at), text.size());
        words[count++] = text.substr(at, end - at);
        at = end;
    }
    return count;
}

// -1 if the text is no number of at most four digits.
int numberOf(std::string_view text) {
    int number = 0;
    if (text.empty() || text.size() > 4 || text.front() == '-') return -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

std::chrono::month monthOf(std::string_view name) {
    constexpr std::string_view kNames = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const std::size_t at = name.size() == 3 ? kNames.find(name) : kNames.npos;
    return std::chrono::month(at == kNames.npos || at % 3 != 0 ? 0 : static_cast<unsigned>(at / 3 + 1));
}

// Two digits stand for the years from 1970 to 2069.
std::chrono::year yearOf(std::string_view digits) {
    const int number = numberOf(digits);
    const bool isShort = digits.size() == 2 && number >= 0;
    if (!isShort && digits.size() != 4) return std::chrono::year::min();
    return std::chrono::year(isShort ? number + (number < 70 ? 2000 : 1900) : number);
}

// Seconds of "08:49:37"; a leap second counts as the one before it. -1 if there is no such time.
int secondsOf(std::string_view time) {
    if (time.size() != 8 || time[2] != ':' || time[5] != ':') return -1;
    const int hour = numberOf(time.substr(0, 2)), minute = numberOf(time.substr(3, 2)),
              second = numberOf(time.substr(6));
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60) return -1;
    return (hour * 60 + minute) * 60 + std::min(second, 59);
}

}  // namespace

std::optional<std::int64_t> parseHttpDate(std::string_view text) {
    Words words;
    const std::size_t count = splitWords(text, words);
    // Behind the name of the day, which says nothing more.
    enum { kDay, kMonth, kYear, kTime, kParts };
    std::array<std::string_view, kParts> parts;
    if (count == 6 && words[5] == "GMT")
        parts = {words[1], words[2], words[3], words[4]};
    else if (count == 5)
        parts = {words[2], words[1], words[4], words[3]};
    else
        return std::nullopt;

    const int day = numberOf(parts[kDay]), seconds = secondsOf(parts[kTime]);
    const std::chrono::year year = yearOf(parts[kYear]);
    if (day < 1 || seconds < 0 || year < std::chrono::year(1)) return std::nullopt;
    const std::chrono::year_month_day date(year, monthOf(parts[kMonth]), std::chrono::day(static_cast<unsigned>(day)));
    if (!date.ok()) return std::nullopt;
    return std::int64_t{std::chrono::sys_days(date).time_since_epoch().count()} * 86400 + seconds;
}
