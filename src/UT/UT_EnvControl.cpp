// The controls: the variable of each, what it is without one, and its range.
#include <UT/UT_EnvControl.h>
#include <UT/UT_Tarvani.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

namespace {

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

struct Control {
    UT_IntControl control;
    const char* variable;
    int standard;
    int lowest;
    int highest;
};

constexpr Control kControls[] = {
    {UT_CONTROL_DSO_ERROR, "TARVANI_DSO_ERROR", 1, kLowest, kHighest},
    {UT_CONTROL_CPP_EXPAND_DIRECTIVES, "TARVANI_CPP_EXPAND_DIRECTIVES", 0, kLowest, kHighest},
    {UT_CONTROL_FEATURES_VERBOSE, "TARVANI_FEATURES_VERBOSE", 0, kLowest, kHighest},
    {UT_CONTROL_HISTORY_LENGTH, "TARVANI_HISTORY_LENGTH", 20, 1, 10000},
};

const Control* findControl(UT_IntControl control) {
    for (const Control& known : kControls)
        if (known.control == control) return &known;
    return nullptr;
}

// A number past the range of int saturates; what is no number gives `standard`.
int numberIn(std::string_view text, int standard) {
    int number = standard;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || end != text.data() + text.size()) return standard;
    if (error == std::errc::result_out_of_range) return text.starts_with('-') ? kLowest : kHighest;
    return number;
}

}  // namespace

int UT_EnvControl::getInt(UT_IntControl control) {
    const Control* known = findControl(control);
    if (!known) return 0;
    const char* text = TarvaniGetenv(known->variable);
    return std::clamp(text ? numberIn(text, known->standard) : known->standard, known->lowest, known->highest);
}

const char* UT_EnvControl::getVariable(UT_IntControl control) {
    const Control* known = findControl(control);
    return known ? known->variable : nullptr;
}
