// The set-up of a path file: search path, pattern and directories. The list is computed in UT_PathFileList.cpp,
// filtered and read in UT_PathFileReading.cpp.
#include <UT/UT_PathSearch.h>
#include <pathfile/PathPatterns.h>
#include <pathfile/UT_PathFile.h>
#include <stream/FS_Reader.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

UT_PathFile::UT_PathFile()
    : midRead(false),
      listComputed(false),
      mayRepeat(false),
      pathSearch(UT_PathSearch::getInstance(UT_PATH_DEFAULT)),
      searchPattern("") {}

UT_PathFile::~UT_PathFile() {
    clearFileList();
}

UT_PathFile::UT_PathFile(const UT_PathFile& other) : UT_PathFile() {
    *this = other;
}

UT_PathFile& UT_PathFile::operator=(const UT_PathFile& other) {
    if (this == &other) return *this;
    clearFileList();
    reader.reset();
    patterns.reset();
    midRead = false;
    pathSearch = other.pathSearch;
    searchPattern = other.searchPattern;
    defaultDir = other.defaultDir;
    defaultDirIndex = other.defaultDirIndex;
    homeDirIndex = other.homeDirIndex;
    currentFileIndex = 0;
    currentLineNumber = 0;
    return *this;
}

void UT_PathFile::setSearchPath(int knownPath, const char* pattern) {
    if (midRead) {
        std::fputs("UT_FilePath: Can't change file path in mid-read.\r\n", stderr);
        return;
    }
    listComputed = false;
    reader.reset();
    currentLineNumber = 0;
    patterns.reset();
    pathSearch = UT_PathSearch::getInstance(static_cast<UT_KnownPath>(std::max(knownPath, 0)));
    searchPattern = pattern;
}

int UT_PathFile::getDirCount() const {
    return pathSearch->pathDirs.entries();
}

const char* UT_PathFile::getDir(int index) const {
    // Out of range the array gives a null string.
    return pathSearch->condensedDirs(std::int64_t{getDirCount()} - 1 - index).buffer();
}

int UT_PathFile::dirIndexOf(std::string_view fullPath) const {
    if (!patterns) patterns = std::make_unique<PathPatterns>(*pathSearch, searchPattern.view());
    return patterns->dirIndexOf(fullPath);
}

// The directories in front of the pattern's last "/", whatever tokens it holds; none without a "/".
std::optional<std::string_view> UT_PathFile::patternDirectory() const {
    const std::string_view pattern = searchPattern.view();
    const std::size_t slash = pattern.rfind('/');
    if (slash == pattern.npos) return std::nullopt;
    return pattern.substr(0, slash);
}

void UT_PathFile::computeDefaultDir() {
    UT_String home;
    UT_PathSearch::getHomeTarvani(home);
    const auto expandedDir = [this](int index) {
        UT_String directory(getDir(index), 1);
        directory.expandVariables();
        return directory;
    };

    // From the front of the path backwards; the last directory when none lies in the home.
    homeDirIndex = getDirCount() - 1;
    while (homeDirIndex > 0 && !expandedDir(homeDirIndex).view().starts_with(home.view())) --homeDirIndex;
    homeDirIndex = std::max(homeDirIndex, 0);

    defaultDirIndex = homeDirIndex;
    defaultDir = expandedDir(homeDirIndex);
    if (const auto below = patternDirectory(); below && !below->empty()) {
        defaultDir += "/";
        defaultDir += *below;
    }
}
