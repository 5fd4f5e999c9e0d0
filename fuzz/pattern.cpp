// Patterns with wildcards, against a slow matcher. A first line is the text, a second one the directories of a search
// path, the rest a pattern: as one, as a list, and as what a path file looks for below its directories.
#include "Check.h"
#include "Limits.h"
#include "SlowMatch.h"

#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/PathPatterns.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kLongestInput = 1024;  // the slow matcher is slow

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

void checkOne(std::string_view text, std::string_view pattern) {
    for (const bool caseSensitive : {true, false}) {
        check(UT_String::match(text, pattern, caseSensitive) == slowMatch(text, pattern, caseSensitive),
              "a pattern matches by its rules");
        check(UT_String::match(text, text, caseSensitive), "a text matches itself");
    }
}

void checkList(const std::string& text, const std::string& list) {
    constexpr const char* kSeparators = ", ";
    for (const bool caseSensitive : {true, false}) {
        const std::vector<std::string> patterns = wordsOf(list, kSeparators);
        const auto matches = [&](const std::string& pattern) { return slowMatch(text, pattern, caseSensitive); };
        const auto first = std::find_if(patterns.begin(), patterns.end(), matches);
        bool exact = true;
        int index = 0;
        const bool found = UT_String(text).multiMatch(list.c_str(), caseSensitive, kSeparators, &exact, &index) != 0;
        check(found == (first != patterns.end()), "a list matches if one of its patterns does");
        check(index == (found ? first - patterns.begin() : -1), "the first pattern that matches is told");
        check(exact == (found && first->find_first_of("*?") == first->npos), "it is told whether it has a wildcard");
    }
}

void checkDirectories(const std::string& path, const std::string& directories, const std::string& pattern) {
    const UT_PathSearch search(directories.c_str(), -1, "", 0);
    int expected = -1;
    for (int i = search.condensedDirs.entries() - 1, index = 0; i >= 0 && expected < 0; --i, ++index) {
        UT_WorkBuffer directory;
        UTVariableScan(directory, search.condensedDirs(i).buffer(), nullptr, nullptr, true, true);
        if (slowBelongs(path, std::string(directory.view()), pattern)) expected = index;
    }
    check(PathPatterns(search, pattern).dirIndexOf(path) == expected, "a path belongs to the lowest directory it fits");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    ::setenv("D", "/d/e", 1);
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string_view text = takeLine(rest), directories = takeLine(rest);
    checkOne(text, rest);
    if (text.find('\0') != text.npos || rest.find('\0') != rest.npos) return 0;
    checkList(std::string(text), std::string(rest));
    checkDirectories(std::string(text), std::string(directories), std::string(rest));
    return 0;
}
