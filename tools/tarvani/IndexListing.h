#pragma once
// The sections of a container as "index list" and "index recover" show them. Both are in Index.cpp.
#include <nlohmann/json.hpp>

class FS_IndexFile;

// A line for each with size, time and name; `indent` stands in front of it.
void printSections(const FS_IndexFile& index, const char* indent = "");
nlohmann::ordered_json sectionsAsJson(const FS_IndexFile& index);
