// Copies its input to a path: a file, or a section of a container.
#include <UT/UT_String.h>
#include <stream/FS_Writer.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::string text(std::istreambuf_iterator<char>(std::cin), {});
    FS_Writer writer(argv[1]);
    if (writer.getStream()) *writer.getStream() << text;
    UT_String reason;
    if (writer.finish(&reason)) return 0;
    std::fprintf(stderr, "%s: %s\n", argv[1], reason.buffer());
    return 1;
}
