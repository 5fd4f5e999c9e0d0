// The works of bench/compare along search paths that a program does by the library.
//
//     library_paths list PATH | find PATH FILE | text PATH
//
// PATH is directories between ":". "list" gives the files *.txt that count, "find" where each name listed in FILE lies,
// "text" the lines of all files *.txt.
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>

#include "peers/Work.h"

namespace {

int list() {
    UT_PathFile files;
    files.setSearchPath(UT_PATH_DEFAULT, "*.txt");
    files.applyStandardFilter();
    Result result;
    for (int i = 0; i < files.getFileInfoCount(1); ++i)
        result.add(static_cast<long long>(std::string_view(files.getFileInfo(i, 1)->getFullPath()).size()));
    return result.print();
}

int find(const char* names) {
    const UT_PathSearch& path = *UT_PathSearch::getInstance(UT_PATH_DEFAULT);
    Result result;
    UT_String found;
    NameList(names).forEach([&](std::string_view name) {
        if (path.findFile(found, name.data())) result.add(found.length());
    });
    return result.print();
}

int text() {
    UT_PathFile files;
    files.setSearchPath(UT_PATH_DEFAULT, "*.txt");
    files.applyStandardFilter();
    UT_WorkBuffer line;
    Result result;
    while (files.getLine(line)) result.add(static_cast<long long>(line.length()));
    return result.print();
}

}  // namespace

int main(int argc, char** argv) {
    require(argc == 3 || argc == 4, "usage: library_paths list PATH | find PATH FILE | text PATH");
    const std::string_view work = argv[1];
    ::setenv("TARVANI_PATH", argv[2], 1);
    if (work == "list") return list();
    if (work == "find" && argc == 4) return find(argv[3]);
    if (work == "text") return text();
    die("no such work");
}
