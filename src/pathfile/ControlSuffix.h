#pragma once
// Private: the suffixes by which a file says how it counts among its namesakes.
#include <string_view>

inline constexpr std::string_view kHideSuffix = ".hide";
inline constexpr std::string_view kAppendSuffix = ".append";
inline constexpr std::string_view kNoSaveSuffix = ".nosave";
