// The works of bench/compare that a program does by the library.
//
//     library open FILE?NAME | list FILE | read FILE | lines FILE
#include <UT/UT_IStream.h>
#include <UT/UT_WorkBuffer.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include "peers/Work.h"

namespace {

constexpr int kBlock = 64 * 1024;

long long readContent(UT_IStream& in, char* block) {
    long long bytes = 0;
    for (int n; (n = in.bread(block, kBlock)) > 0;) bytes += n;
    return bytes;
}

int open(const char* path) {
    FS_Reader reader(path);
    require(reader.isGood(), path);
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    Result result;
    result.add(readContent(*reader.getStream(), block.get()));
    return result.print();
}

int list(const char* path) {
    const FS_IndexFile index(path);
    Result result;
    for (int i = 0; i < index.getNumSections(); ++i)
        if (index.getSectionName(i) != nullptr) result.add(index.getSectionDataSizeAt(i));
    return result.print();
}

int read(const char* path) {
    const FS_IndexFile index(new FS_Reader(path));
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    Result result;
    for (int i = 0; i < index.getNumSections(); ++i) {
        const std::unique_ptr<FS_ReaderStream> section(index.getSectionStream(index.getSectionName(i)));
        require(section && section->isGood(), "section unreadable");
        result.add(readContent(*section->getStream(), block.get()));
    }
    return result.print();
}

int lines(const char* path) {
    FS_Reader reader(path);
    require(reader.isGood(), path);
    UT_WorkBuffer line;
    Result result;
    while (reader.getStream()->getLine(line, '\n')) result.add(static_cast<long long>(line.length()));
    return result.print();
}

}  // namespace

int main(int argc, char** argv) {
    require(argc == 3, "usage: library open FILE?NAME | list FILE | read FILE | lines FILE");
    const std::string_view work = argv[1];
    if (work == "open") return open(argv[2]);
    if (work == "list") return list(argv[2]);
    if (work == "read") return read(argv[2]);
    if (work == "lines") return lines(argv[2]);
    die("no such work");
}
