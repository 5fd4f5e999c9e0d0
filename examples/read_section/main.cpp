#include <UT/UT_IStream.h>
#include <UT/UT_WorkBuffer.h>
#include <stream/FS_Reader.h>

#include <cstdio>

int main(int, char** argv) {
    FS_Reader reader(argv[1]);  // a file, or a section of a container: scene.idx?geo
    if (!reader.isGood()) return 1;
    UT_WorkBuffer line;
    while (reader.getStream()->getLine(line, '\n')) std::puts(line.buffer());
}
