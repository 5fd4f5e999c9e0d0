// A path is held against directory/token and directory/token.suffix for every directory and token. Most directories are
// plain text and are done with by comparing that; what is left is matched without it, and a control suffix is taken off
// the path instead of put on each token. So a path costs one match for each token in the usual case.
#include <UT/TextScan.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/ControlSuffix.h>
#include <pathfile/PathPatterns.h>

#include <algorithm>

std::vector<std::string_view> patternTokens(std::string_view pattern) {
    std::vector<std::string_view> tokens;
    for (auto at = pattern.begin(); at != pattern.end();) {
        const auto first = std::find_if_not(at, pattern.end(), textscan::isSpace);
        at = std::find_if(first, pattern.end(), textscan::isSpace);
        if (first != at) tokens.emplace_back(first, at);
    }
    return tokens;
}

PathPatterns::PathPatterns(const UT_PathSearch& path, std::string_view pattern) {
    for (int i = path.condensedDirs.entries() - 1; i >= 0; --i) {
        const std::string_view written = path.condensedDirs(i).view();
        const bool hasVariables = written.starts_with("~/") || written.find('$') != written.npos;
        directories_.push_back({std::string(written), {}, hasVariables, false});
        directories_.back().expand();
    }
    for (const std::string_view token : patternTokens(pattern)) tokens_.emplace_back(token);
}

void PathPatterns::Directory::expand() {
    UT_WorkBuffer text;
    UTVariableScan(text, written.c_str(), nullptr, nullptr, true, true);
    expanded.assign(text.view()).append("/");
    hasWildcards = expanded.find_first_of("*?") != expanded.npos;
}

int PathPatterns::dirIndexOf(std::string_view fullPath) {
    for (std::size_t index = 0; index < directories_.size(); ++index) {
        Directory& directory = directories_[index];
        if (directory.hasVariables) directory.expand();
        if (belongsTo(directory, fullPath)) return static_cast<int>(index);
    }
    return -1;
}

bool PathPatterns::belongsTo(const Directory& directory, std::string_view fullPath) const {
    if (directory.hasWildcards) return matchesBelow(directory.expanded, fullPath);
    return fullPath.starts_with(directory.expanded) && matchesBelow({}, fullPath.substr(directory.expanded.size()));
}

bool PathPatterns::matchesBelow(std::string_view directory, std::string_view path) const {
    const auto matches = [&](std::string_view text) {
        return std::any_of(tokens_.begin(), tokens_.end(), [&](const std::string& token) {
            return UT_String::match(text, directory.empty() ? token : std::string(directory) + token);
        });
    };
    for (const std::string_view suffix : {kHideSuffix, kAppendSuffix, kNoSaveSuffix})
        if (path.ends_with(suffix) && matches(path.substr(0, path.size() - suffix.size()))) return true;
    return matches(path);
}
