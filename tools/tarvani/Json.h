#pragma once
// JSON to standard output, on one line.
#include <nlohmann/json.hpp>

#include "Console.h"

// Bytes that are no UTF-8, as names may hold, become U+FFFD: JSON can't say them.
inline void writeJson(const nlohmann::ordered_json& json) {
    standardOutput().write(json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
    standardOutput().write("\n");
}
