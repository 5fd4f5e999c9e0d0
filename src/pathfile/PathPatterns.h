#pragma once
// Private: which directory of a search path a full path belongs to, by the pattern that found it.
#include <string>
#include <string_view>
#include <vector>

class UT_PathSearch;

// The words of a search pattern.
std::vector<std::string_view> patternTokens(std::string_view pattern);

class PathPatterns {
public:
    PathPatterns(const UT_PathSearch& path, std::string_view pattern);

    // The lowest directory index below which a token, with a control suffix or without, matches the path; -1 if there
    // is none. Variables in directories have the value that they have now.
    int dirIndexOf(std::string_view fullPath);

private:
    struct Directory {
        std::string written;
        std::string expanded;  // with a slash behind it
        bool hasVariables;
        bool hasWildcards;
        void expand();
    };
    bool belongsTo(const Directory& directory, std::string_view fullPath) const;
    bool matchesBelow(std::string_view directory, std::string_view path) const;

    std::vector<Directory> directories_;  // by directory index
    std::vector<std::string> tokens_;
};
