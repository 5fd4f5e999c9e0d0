// Lists what lies in a container, and what lies in its sections that are containers themselves.
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Info.h>

#include <cstdio>
#include <string>

static void list(const std::string& path, int depth) {
    const FS_IndexFile container(path.c_str());
    for (int i = 0; i < container.getNumSections(); ++i) {
        const char* const name = container.getSectionName(i);
        std::printf("%*s%s, %d bytes\n", 2 * depth, "", name, container.getSectionDataSizeAt(i));
        const std::string section = path + "?" + name;
        if (FS_Info(section.c_str()).getIsDirectory()) list(section, depth + 1);
    }
}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    if (!FS_Info(argv[1]).fileExists()) return std::fprintf(stderr, "%s: not there\n", argv[1]), 1;
    std::printf("%s\n", FS_IndexFile(argv[1]).getDescription().buffer());
    list(argv[1], 0);
}
