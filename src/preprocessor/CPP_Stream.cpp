#include <UT/UT_IStream.h>
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_Stream.h>
#include <preprocessor/cpp_DefStream.h>

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

UT_IStream* CPP_Stream::stdinStream = nullptr;

CPP_Stream::~CPP_Stream() = default;

int CPP_Stream::isCrypted() const {
    return 0;
}

void CPP_Stream::setStdin(UT_IStream& source) {
    stdinStream = &source;
}

UT_IStream* CPP_Stream::getStdin() {
    // To the end of the process, since files that were opened on one go on with it.
    static auto& made = *new std::vector<std::unique_ptr<UT_IStream>>();
    if (!stdinStream) {
        made.push_back(std::make_unique<UT_IStream>(stdin, UT_ISTREAM_BINARY));
        stdinStream = made.back().get();
    }
    return stdinStream;
}

void CPP_Stream::clearStdin() {
    stdinStream = nullptr;
}

int CPP_Stream::isStdin(const char* name) {
    return name && (std::string_view(name) == "stdin" || std::string_view(name) == "stdin.zul");
}

void cpp_DefStream::detach() {
    file = nullptr;
    stream = nullptr;
    opened.reset();
}

void cpp_DefStream::attachStream(UT_IStream* source) {
    detach();
    stream = source;
}

void cpp_DefStream::attachFile(std::FILE* source) {
    detach();
    file = source;
}

int cpp_DefStream::openPath(const char* path) {
    detach();
    // Nobody else reads here, so that it needn't be a C file, which takes longer for a line.
    if (auto source = UTmakeFileSource(path)) {
        opened = std::make_unique<UT_IStream>(std::move(source), UT_ISTREAM_BINARY);
        stream = opened.get();
        // What can't be read is as good as not there; the first block tells.
        if (stream->buffered().empty() && stream->hasFailed()) detach();
    }
    return isOpen();
}

bool cpp_DefStream::readLine(UT_WorkBuffer& line) {
    if (file) return line.getline(file);
    return stream && stream->getLine(line, '\n');
}
