#pragma once
// Rules as tables: files of rows "text -> what becomes of it" beside the tests, one heading for each rule.
//
//     [absolute] a relative path begins in the directory that is given, else in the current one
//     a//b | /base -> /base/a//b
//
// The word in brackets names a function of the test, which gets what stands between the bars. A line that is empty or
// begins with ';' is for the reader. Rows are spelled as CASES tells. Nothing behind the arrow is an empty text.
#include <functional>
#include <map>
#include <string>
#include <vector>

using Columns = std::vector<std::string>;
using Rule = std::function<std::string(const Columns& columns)>;

// Holds each row of the file to the function that its heading names. Every function must have a heading.
void expectRules(const std::string& path, const std::map<std::string, Rule>& functions);
