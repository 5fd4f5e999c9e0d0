#pragma once
// Private: the line source that the preprocessor uses unless an application brings its own.
#include <UT/UT_IStream.h>
#include <preprocessor/CPP_Stream.h>

#include <cstdio>
#include <memory>

class cpp_DefStream final : public CPP_Stream {
public:
    void attachStream(UT_IStream* source) override;
    void attachFile(std::FILE* source) override;
    int openPath(const char* path) override;
    bool readLine(UT_WorkBuffer& line) override;
    int isOpen() override { return file || stream; }

private:
    void detach();

    std::FILE* file = stdin;  // what nobody attaches to anything reads standard input
    UT_IStream* stream = nullptr;
    std::unique_ptr<UT_IStream> opened;  // what `stream` points to if it is on a file that was opened here
};
