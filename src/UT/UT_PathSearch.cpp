// Search paths. The invariant behind the three arrays: an element of expandedDirs is exactly what UTVariableScan makes
// of its element of condensedDirs, since path files compare paths that were built from the one with the other.
#include <UT/FilePrefix.h>
#include <UT/TextScan.h>
#include <UT/UT_Path.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_Tarvani.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_WorkBuffer.h>
#include <platform/Directory.h>
#include <platform/Process.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

// Where the library is installed; set by the build.
#if !defined(TARVANI_DATADIR) || !defined(TARVANI_LIBDIR)
#error "TARVANI_DATADIR and TARVANI_LIBDIR must be defined"
#endif

namespace {

using textscan::viewOf;

constexpr std::array<const char*, UT_PathSearch::kKnownPaths> kVariables = {
    "TARVANI_PATH", "TARVANI_DSO_PATH", "TARVANI_SITE_DSO_PATH", "TARVANI_USER_DSO_PATH"};

bool isKnown(UT_KnownPath path) {
    return path >= 0 && path < UT_PathSearch::kKnownPaths;
}

// Where the first element of a path text ends: at ";", or at ":" unless "//" follows, as in an address.
std::size_t elementEnd(std::string_view text) {
    for (std::size_t at = text.find_first_of(":;"); at != text.npos; at = text.find_first_of(":;", at + 1))
        if (text[at] == ';' || !text.substr(at + 1).starts_with("//")) return at;
    return text.size();
}

// Without slashes at the end, except those that are all of the path or belong to a prefix as in "c:/".
std::string_view withoutFinalSlash(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/') && path[path.size() - 2] != ':') path.remove_suffix(1);
    return path;
}

bool isFile(const char* path) {
    const auto status = platform::fileStatus(path);
    return status && !status.isDirectory();
}

// A directory and a name put together, in one storage for all candidates of a search.
class Candidate {
public:
    const char* join(std::string_view directory, std::string_view name) {
        text_.assign(directory);
        if (!text_.empty() && text_.back() != '/') text_ += '/';
        text_ += name;
        return text_.c_str();
    }
    std::string_view view() const { return text_; }

private:
    std::string text_;
};

// Files along a path, one by one: next() until it gives null.
class FileWalk {
public:
    FileWalk(const UT_StringArray& directories, const char* name)
        : directories_(directories), name_(viewOf(name)), alone_(UTfullPathSpecified(name)) {}

    // The path of the next file, valid until the next call.
    const char* next() {
        if (name_.empty()) return nullptr;
        const int count = alone_ ? 1 : directories_.entries();
        while (index_ < count) {
            const char* path = candidate_.join(alone_ ? std::string_view() : directories_(index_).view(), name_);
            ++index_;
            if (isFile(path)) return path;
        }
        return nullptr;
    }

private:
    const UT_StringArray& directories_;
    std::string_view name_;
    bool alone_;  // the name says itself where the file is
    int index_ = 0;
    Candidate candidate_;
};

std::vector<std::string> sortedFiles(const char* directory, std::string_view suffix) {
    std::vector<std::string> names;
    platform::Directory reader(directory);
    Candidate candidate;
    while (const char* name = reader.next())
        if (std::string_view(name).ends_with(suffix) && isFile(candidate.join(directory, name)))
            names.emplace_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

// `.`, `..` and repeated slashes of an absolute path resolved as text.
std::string resolvedText(std::string_view path) {
    std::string resolved;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view part = path.substr(start, end - start);
        start = end + 1;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            resolved.erase(std::min(resolved.rfind('/'), resolved.size()));
        } else {
            resolved += '/';
            resolved += part;
        }
    }
    if (resolved.empty() || path.ends_with('/')) resolved += '/';
    return resolved;
}

}  // namespace

const UT_PathSearch* UT_PathSearch::getInstance(UT_KnownPath path) {
    // Never destroyed, since paths are still searched while the process ends.
    static const auto& known =
        *new std::array<UT_PathSearch, kKnownPaths>{makeKnownPath(UT_PATH_DEFAULT), makeKnownPath(UT_PATH_DSO),
                                                    makeKnownPath(UT_PATH_SITE_DSO), makeKnownPath(UT_PATH_USER_DSO)};
    static const auto& none = *new UT_PathSearch;
    return isKnown(path) ? &known[static_cast<std::size_t>(path)] : &none;
}

UT_PathSearch* UT_PathSearch::getHardPath(UT_KnownPath path) {
    return new UT_PathSearch(*getInstance(path));
}

const char* UT_PathSearch::getVariable(UT_KnownPath path) {
    return isKnown(path) ? kVariables[static_cast<std::size_t>(path)] : nullptr;
}

UT_PathSearch UT_PathSearch::makeKnownPath(UT_KnownPath path) {
    UT_PathSearch defaults;
    if (path == UT_PATH_DEFAULT || path == UT_PATH_DSO) {
        const std::string below = path == UT_PATH_DSO ? "/dso" : "";
        UT_String home;
        getHomeTarvani(home);
        if (!home.isEmpty()) defaults.addDirectory(std::string(home.view()) + below, false);
        defaults.addDirectory((path == UT_PATH_DSO ? TARVANI_LIBDIR : TARVANI_DATADIR) + ("/tarvani" + below), false);
    }
    UT_PathSearch known;
    // A plug-in that is looked for in the current directory is one that anybody may have put there.
    known.addElements(defaults, viewOf(TarvaniGetenv(getVariable(path))), path != UT_PATH_DEFAULT);
    return known;
}

UT_PathSearch::UT_PathSearch() = default;
UT_PathSearch::~UT_PathSearch() = default;
UT_PathSearch::UT_PathSearch(const UT_PathSearch& other) = default;
UT_PathSearch& UT_PathSearch::operator=(const UT_PathSearch& other) = default;

UT_PathSearch::UT_PathSearch(const char* defaultPath, int defaultLength, const char* text, int length) {
    extendPath(defaultPath, defaultLength, text, length);
}

void UT_PathSearch::extendPath(const char* defaultPath, int defaultLength, const char* path, int length) {
    UT_PathSearch defaults;
    defaults.addElements(UT_PathSearch(), viewOf(defaultPath, defaultLength), false);
    addElements(defaults, viewOf(path, length), false);
}

void UT_PathSearch::appendPath(const char* directory) {
    addDirectory(viewOf(directory), false);
}

void UT_PathSearch::addElements(const UT_PathSearch& defaults, std::string_view text, bool absoluteOnly) {
    for (;;) {
        const std::size_t end = elementEnd(text);
        if (end > 0) {
            addDirectory(text.substr(0, end), absoluteOnly);
        } else {
            for (const UT_String& directory : defaults.condensedDirs) addDirectory(directory.view(), absoluteOnly);
        }
        if (end == text.size()) return;
        text.remove_prefix(end + 1);
    }
}

void UT_PathSearch::addDirectory(std::string_view directory, bool absoluteOnly) {
    const std::string written(withoutFinalSlash(directory));
    UT_WorkBuffer expanded;
    UTVariableScan(expanded, written.c_str(), nullptr, nullptr, true, true);
    // An element of variables that are all empty would stand for the root.
    if (expanded.isEmpty() || (absoluteOnly && *expanded.buffer() != '/')) return;
    expandedDirs.append(expanded.view());
    condensedDirs.append(written);
    pathDirs.append(written);
}

int UT_PathSearch::findFile(UT_String& result, const char* name) const {
    FileWalk files(expandedDirs, name);
    result = files.next();
    return !result.isNull();
}

int UT_PathSearch::findAllFiles(const char* name, UT_StringArray& out) const {
    int count = 0;
    FileWalk files(expandedDirs, name);
    for (; const char* path = files.next(); ++count) out.append(path);
    return count;
}

bool UT_PathSearch::findFileFromList(UT_String& result, const UT_StringArray& names) const {
    Candidate candidate;
    const auto found = [&](std::string_view directory, const UT_String& name) {
        if (!isFile(candidate.join(directory, name.view()))) return false;
        result = candidate.view();
        return true;
    };
    for (const UT_String& name : names)
        if (UTfullPathSpecified(name.buffer()) && found({}, name)) return true;
    for (const UT_String& directory : expandedDirs)
        for (const UT_String& name : names)
            if (!name.isEmpty() && !UTfullPathSpecified(name.buffer()) && found(directory.view(), name)) return true;
    result.clear();
    return false;
}

int UT_PathSearch::matchAllFilesInSubdirectory(const char* suffix, const char* subdirectory, bool, UT_StringArray& out,
                                               bool) const {
    Candidate candidate;
    std::set<std::string> seen;
    for (const UT_String& directory : expandedDirs) {
        const char* place = candidate.join(directory.view(), viewOf(subdirectory));
        for (const std::string& name : sortedFiles(place, viewOf(suffix)))
            if (seen.insert(name).second) out.append(name);
    }
    return static_cast<int>(seen.size());
}

void UT_PathSearch::getHomeTarvani(UT_String& out) {
    const char* own = TarvaniGetenv("TARVANI_HOME");
    const char* config = TarvaniGetenv("XDG_CONFIG_HOME");
    std::string home;
    if (own && *own) {
        UT_WorkBuffer expanded;
        UTVariableScan(expanded, own, nullptr, nullptr, true, true);
        home = expanded.view();
    } else if (config && *config == '/') {
        home = std::string(config) + "/tarvani";
    } else {
        home = platform::homeDirectory();
        if (!home.empty()) home += "/.config/tarvani";
    }
    out.clear();
    if (!home.empty()) out = withoutFinalSlash(home);
}

bool UT_PathSearch::resolveAbsolutePath(const char* path, UT_String& out) {
    UT_String absolute(path, 1, -1);
    const bool done = UTmakeAbsoluteFilePath(absolute, nullptr);
    const std::string_view rest = stripFilePrefix(absolute.view());
    if (!done || rest.empty()) {
        out.clear();
        return false;
    }
    if (!rest.starts_with('/')) {
        out = absolute;
        return true;
    }
    const std::string_view prefix = absolute.view().substr(0, absolute.view().size() - rest.size());
    out = std::string_view(std::string(prefix) + resolvedText(rest));
    return true;
}

int UT_PathSearch::condenseCommon(UT_String& path) {
    const std::string home(withoutFinalSlash(platform::homeDirectory()));
    const std::string_view text = path.view();
    // Only a whole directory: "/home/ann" is not in front of "/home/anna".
    if (home.size() < 2 || !text.starts_with(home)) return 0;
    const std::string_view rest = text.substr(home.size());
    if (!rest.empty() && rest.front() != '/') return 0;
    path = std::string_view("~" + std::string(rest));
    return 1;
}
