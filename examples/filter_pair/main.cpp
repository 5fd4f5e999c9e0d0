// Packs a text through a filter pair, shows what lies in the container, and reads the text back.
//
//     filter_pair keyed.idx
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>

#include <cstdio>
#include <memory>
#include <string_view>

#include "KeyedFilter.h"

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: filter_pair FILE\n", stderr), 2;
    KeyedWriteFactory writer("open sesame");
    KeyedReadFactory reader("open sesame");

    FS_IndexFile packed;
    packed.setFilters(&writer, &reader);
    constexpr std::string_view text = "a secret that everybody knows\n";
    packed.addSection("note", text.data(), static_cast<int>(text.size()), -1);
    UT_String reason;
    if (!packed.save(argv[1], &reason)) return std::fprintf(stderr, "%s: %s\n", argv[1], reason.buffer()), 1;

    // Without the pair a reader gets what is stored.
    FS_IndexFile stored(argv[1]);
    std::printf("%d bytes are stored\n", stored.getSectionDataSize("note"));

    FS_IndexFile opened(argv[1]);
    opened.setFilters(&writer, &reader);
    const std::unique_ptr<FS_Reader> note(opened.getSectionReader("note"));
    UT_WorkBuffer line;
    while (note && note->isGood() && note->getStream()->getLine(line, '\n')) std::printf("%s\n", line.buffer());
    return 0;
}
