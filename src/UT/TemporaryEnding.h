#pragma once
// Private: names of temporary files that tell what they were made for.
#include <string>
#include <string_view>

// What the name of a temporary file for `base`, a path or an address, ends in: see UTcreateTempFileName.
std::string temporaryEnding(std::string_view base);
