// Prints the lines of all files that a pattern names along the default search path, and where each comes from.
#include <UT/UT_PathSearch.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/UT_PathFile.h>

#include <cstdio>

int main(int, char** argv) {
    UT_PathFile file;
    file.setSearchPath(UT_PATH_DEFAULT, argv[1]);
    file.applyStandardFilter();
    UT_WorkBuffer line;
    while (file.getLine(line))
        std::printf("%s:%d: %s\n", file.getCurrentFileName(), file.getCurrentLineNumber(), line.buffer());
}
