// Private: the line source that the preprocessor uses unless an application brings its own.
#pragma once
#include <preprocessor/CPP_Stream.h>

#include <cstdio>

class cpp_DefStream final : public CPP_Stream {
public:
    cpp_DefStream() = default;
    ~cpp_DefStream() override { detach(); }
    cpp_DefStream(const cpp_DefStream&) = delete;
    cpp_DefStream& operator=(const cpp_DefStream&) = delete;

    void attachStream(UT_IStream* source) override;
    void attachFile(std::FILE* source) override;
    int openPath(const char* path) override;
    bool readLine(UT_WorkBuffer& line) override;
    int isOpen() override { return file || stream; }

private:
    void detach();

    std::FILE* file = stdin;  // what nobody attaches to anything reads standard input
    UT_IStream* stream = nullptr;
    int ownsFile = 0;  // not 0 if `stream` is on a file that was opened here
};
