#include <UT/TextScan.h>
#include <UT/UT_StringArray.h>

#include <algorithm>

int UT_StringArray::append(const char* text) {
    return append(textscan::viewOf(text));
}

int UT_StringArray::append(std::string_view text) {
    strings_.emplace_back(text);
    return entries() - 1;
}

int UT_StringArray::find(std::string_view text) const {
    const auto found = std::find(strings_.begin(), strings_.end(), text);
    return found == strings_.end() ? -1 : static_cast<int>(found - strings_.begin());
}

int UT_StringArray::removeAt(std::int64_t index) {
    if (!contains(index)) return -1;
    strings_.erase(strings_.begin() + index);
    return static_cast<int>(index);
}

UT_String& UT_StringArray::spare() {
    static thread_local UT_String string;
    string.clear();
    return string;
}
