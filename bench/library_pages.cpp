// The works of bench/compare on pages over http, done by the library.
//
//     library_pages copy URL | retrieve PORT PAGE
#include <UT/UT_WebConnection.h>
#include <UT/UT_WorkBuffer.h>
#include <stream/FS_Reader.h>

#include "peers/Work.h"

namespace {

// Into the local copy that the library makes.
int copy(const char* url) {
    const FS_Reader reader(url);
    require(reader.getLength() > 0, url);
    return Result{.count = 1, .bytes = reader.getLength()}.print();
}

// Into memory, and from there into a file.
int retrieve(const char* port, const char* page) {
    UT_WebConnection web;
    web.setHostName("127.0.0.1");
    web.setPageName(page);
    web.port = std::atoi(port);
    UT_WorkBuffer body, header;
    require(web.retrievePage(body, header), web.getErrorText());
    ScratchFile().write(body.buffer(), static_cast<std::size_t>(body.length()));
    return Result{.count = 1, .bytes = body.length()}.print();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view work = argc > 1 ? argv[1] : "";
    if (argc == 3 && work == "copy") return copy(argv[2]);
    if (argc == 4 && work == "retrieve") return retrieve(argv[2], argv[3]);
    die("usage: library_pages copy URL | retrieve PORT PAGE");
}
