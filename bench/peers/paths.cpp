// What a path file and a search path do, as a program does it by hand, by glob(3) or by std::filesystem.
//
//     paths WAY WORK ...
//
// The ways are hand, glob, filesystem, faccessat and stat. PATH is directories between ":", the first one has its say
// over those behind it. The works are
//
//     list PATH       the files *.txt, sorted, each name once     hand, glob, filesystem
//     find PATH FILE  where each name listed in FILE lies         faccessat, stat
//     text PATH       all files *.txt as one text, by lines       hand, filesystem
//     lines PATH      the files of the first directory, by lines  hand, which is getline
#include <dirent.h>
#include <fnmatch.h>
#include <glob.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Work.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

constexpr std::string_view kEnding = ".txt", kAppend = ".append";

Texts directoriesOf(std::string_view path) {
    Texts directories;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t end = std::min(path.find(':', at), path.size());
        directories.emplace_back(path.substr(at, end - at));
        at = end + 1;
    }
    return directories;
}

void forEachName(const std::string& directory, const std::function<void(const char*)>& use) {
    DIR* const reader = ::opendir(directory.c_str());
    require(reader != nullptr, directory);
    while (const dirent* entry = ::readdir(reader)) use(entry->d_name);
    ::closedir(reader);
}

struct File {
    std::string name;
    int directory;  // by its rank: the first of the path has the highest
    bool appends;
};

// All of one name side by side, the one that has least to say first.
std::vector<File> sortedFiles(const Texts& directories) {
    std::vector<File> files;
    for (std::size_t i = directories.size(); i-- > 0;) {
        const int rank = static_cast<int>(directories.size() - i);
        forEachName(directories[i], [&](const char* name) {
            if (::fnmatch("*.txt", name, FNM_PATHNAME) == 0)
                files.push_back({name, rank, false});
            else if (::fnmatch("*.txt.append", name, FNM_PATHNAME) == 0)
                files.push_back({std::string(name, std::strlen(name) - kAppend.size()), rank, true});
        });
    }
    std::sort(files.begin(), files.end(), [](const File& a, const File& b) {
        const int order = a.name.compare(b.name);
        return order != 0 ? order < 0 : a.directory != b.directory ? a.directory < b.directory : a.appends < b.appends;
    });
    return files;
}

// Whether the file at `i` is replaced by a later one of its name.
bool isReplaced(const std::vector<File>& files, std::size_t i) {
    for (std::size_t j = i + 1; j < files.size() && files[j].name == files[i].name; ++j)
        if (!files[j].appends) return true;
    return false;
}

void forEachRead(const Texts& directories, const std::function<void(const std::string& path)>& use) {
    const std::vector<File> files = sortedFiles(directories);
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (isReplaced(files, i)) continue;
        std::string path = directories[directories.size() - static_cast<std::size_t>(files[i].directory)];
        path.append("/").append(files[i].name).append(files[i].appends ? kAppend : "");
        use(path);
    }
}

int listByHand(const Texts& directories) {
    Result result;
    forEachRead(directories, [&](const std::string& path) { result.add(static_cast<long long>(path.size())); });
    return result.print();
}

int print(const std::map<std::string, std::string>& paths) {
    Result result;
    for (const auto& [name, path] : paths) result.add(static_cast<long long>(path.size()));
    return result.print();
}

int listByGlob(const Texts& directories) {
    Result result;
    std::map<std::string, std::string> first;
    for (const std::string& directory : directories) {
        glob_t found{};
        require(::glob((directory + "/*.txt").c_str(), 0, nullptr, &found) == 0, directory);
        for (std::size_t i = 0; i < found.gl_pathc; ++i) {
            const char* const path = found.gl_pathv[i];
            if (directories.size() == 1)
                result.add(static_cast<long long>(std::strlen(path)));
            else
                first.emplace(path + directory.size() + 1, path);
        }
        ::globfree(&found);
    }
    return directories.size() == 1 ? result.print() : print(first);
}

int listByFilesystem(const Texts& directories) {
    std::map<std::string, std::string> first;
    for (const std::string& directory : directories)
        for (const fs::directory_entry& entry : fs::directory_iterator(directory))
            if (entry.path().extension() == kEnding) first.emplace(entry.path().filename(), entry.path());
    return print(first);
}

int find(const Texts& directories, const char* list, const std::function<bool(const char*)>& isFile) {
    Result result;
    std::string path;
    NameList(list).forEach([&](std::string_view name) {
        for (const std::string& directory : directories) {
            path.assign(directory).append("/").append(name);
            if (!isFile(path.c_str())) continue;
            result.add(static_cast<long long>(path.size()));
            break;
        }
    });
    return result.print();
}

int textByHand(const Texts& directories) {
    Result result;
    FileBytes bytes;
    forEachRead(directories, [&](const std::string& path) {
        const FileBytes::Content content = bytes.read(path);
        const char* const end = content.data + content.size;
        for (const char* at = content.data; at < end;) {
            const void* const found = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
            const char* const line = found != nullptr ? static_cast<const char*>(found) : end;
            result.add(line - at);
            at = line + 1;
        }
    });
    return result.print();
}

int textByFilesystem(const Texts& directories) {
    std::map<std::string, std::vector<fs::path>> files;
    for (auto directory = directories.rbegin(); directory != directories.rend(); ++directory) {
        for (const fs::directory_entry& entry : fs::directory_iterator(*directory)) {
            const fs::path& path = entry.path();
            if (path.extension() == kEnding)
                files[path.filename()] = {path};
            else if (path.extension() == kAppend)
                files[path.stem()].push_back(path);
        }
    }
    Result result;
    std::string line;
    for (const auto& [name, paths] : files) {
        for (const fs::path& path : paths) {
            std::ifstream file(path, std::ios::binary);
            while (std::getline(file, line)) result.add(static_cast<long long>(line.size()));
        }
    }
    return result.print();
}

int linesByGetline(const std::string& directory) {
    Result result;
    char* line = nullptr;
    std::size_t capacity = 0;
    forEachRead({directory}, [&](const std::string& path) {
        std::FILE* const file = std::fopen(path.c_str(), "re");
        require(file != nullptr, path);
        for (ssize_t n; (n = ::getline(&line, &capacity, file)) > 0;) result.add(n - (line[n - 1] == '\n' ? 1 : 0));
        std::fclose(file);
    });
    std::free(line);
    return result.print();
}

bool isThere(const char* path) {
    return ::faccessat(AT_FDCWD, path, F_OK, 0) == 0;
}

bool isFile(const char* path) {
    struct stat status {};
    return ::stat(path, &status) == 0 && !S_ISDIR(status.st_mode);
}

}  // namespace

int main(int argc, char** argv) {
    require(argc == 4 || argc == 5, "usage: paths WAY list|text|lines PATH | WAY find PATH FILE");
    const std::string way = argv[1], work = argv[2];
    const Texts directories = directoriesOf(argv[3]);
    const std::string what = way + " " + work;
    if (what == "hand list") return listByHand(directories);
    if (what == "glob list") return listByGlob(directories);
    if (what == "filesystem list") return listByFilesystem(directories);
    if (what == "faccessat find" && argc == 5) return find(directories, argv[4], isThere);
    if (what == "stat find" && argc == 5) return find(directories, argv[4], isFile);
    if (what == "hand text") return textByHand(directories);
    if (what == "filesystem text") return textByFilesystem(directories);
    if (what == "hand lines") return linesByGetline(directories.front());
    die("no such work");
}
