// Kinds of paths, absolute forms, access, and the names of temporary files.
#include <UT/FilePrefix.h>
#include <UT/SystemResult.h>
#include <UT/TemporaryEnding.h>
#include <UT/TextScan.h>
#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <platform/Directory.h>
#include <platform/TempFile.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

using textscan::viewOf;

// Never destroyed, since paths are still asked about while the process ends.
std::vector<std::string>& absolutePrefixes() {
    static auto& prefixes = *new std::vector<std::string>;
    return prefixes;
}

bool isAbsolute(std::string_view path) {
    if (path.starts_with('/')) return true;
    const auto& prefixes = absolutePrefixes();
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [path](const std::string& prefix) { return path.starts_with(prefix); });
}

bool isNameCharacter(char c) {
    return textscan::isLetter(c) || textscan::isDigit(c) || c == '.' || c == '_' || c == '-';
}

}  // namespace

// Cut in front, so that the extension stays.
std::string temporaryEnding(std::string_view base) {
    constexpr std::size_t kLongest = 64;
    std::string_view name = base.substr(base.rfind('/') + 1);
    if (name.empty()) return {};
    if (name.size() > kLongest) name.remove_prefix(name.size() - kLongest);
    std::string ending = "-" + std::string(name);
    std::replace_if(
        ending.begin(), ending.end(), [](char c) { return !isNameCharacter(c); }, '_');
    return ending;
}

int UTaccess(const char* path, int mode) {
    return resultOf(platform::accessFile(path, mode));
}

int UTisValidDirectory(const char* path) {
    return platform::fileStatus(path).isDirectory();
}

bool UTisRootPath(const char* path) {
    const std::string_view text = viewOf(path);
    return !text.empty() && text.find_first_not_of('/') == text.npos;
}

bool UTisAbsolutePath(const char* path) {
    return isAbsolute(stripFilePrefix(viewOf(path)));
}

int UTfullPathSpecified(const char* path) {
    const std::string_view rest = stripFilePrefix(viewOf(path));
    return isAbsolute(rest) || rest.starts_with("./") || rest.starts_with("../");
}

void UTaddAbsolutePathPrefix(const char* prefix) {
    auto& prefixes = absolutePrefixes();
    if (!prefix || !*prefix || std::find(prefixes.begin(), prefixes.end(), prefix) != prefixes.end()) return;
    prefixes.emplace_back(prefix);
}

bool UTmakeAbsoluteFilePath(UT_String& path, const char* base) {
    const std::string_view whole = path.view();
    const std::string_view rest = stripFilePrefix(whole);
    if (rest.empty() || isAbsolute(rest)) return true;

    // The base may be relative itself. Of an absolute one a "file:" in front is no part of the joined path.
    const std::string_view start = stripFilePrefix(viewOf(base));
    std::string absolute(whole.substr(0, whole.size() - rest.size()));
    if (!isAbsolute(start)) {
        const auto current = platform::currentDirectory();
        if (!current) return false;
        absolute += *current;
    }
    for (const std::string_view part : {start, rest}) {
        if (part.empty()) continue;
        if (!absolute.empty() && absolute.back() != '/' && part.front() != '/') absolute += '/';
        absolute += part;
    }
    path = std::string_view(absolute);
    return true;
}

char* getUnixCwd(char* buffer, int size) {
    if (!buffer || size <= 0) return nullptr;
    const auto current = platform::currentDirectory();
    if (!current || current->size() >= static_cast<std::size_t>(size)) {
        *buffer = '\0';
        return nullptr;
    }
    std::memcpy(buffer, current->c_str(), current->size() + 1);
    return buffer;
}

bool UTgetTmpName(UT_String& out, const char* base) {
    auto file = platform::TempFile::make(temporaryEnding(viewOf(base)));
    if (!file) {
        out.clear();
        return false;
    }
    file.keep();
    out = std::string_view(file.path());
    return UTmakeAbsoluteFilePath(out, nullptr);
}

bool UTcreateTempFileName(UT_String& out, const char* base) {
    return UTgetTmpName(out, base);
}
