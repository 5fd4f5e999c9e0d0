#pragma once
// Where the preprocessor gets the lines of one file from. An application that keeps its files elsewhere than on disk
// derives a class, and hands out its objects from CPP_Manager::allocStream:
//
//     class Lines : public CPP_Stream {
//         int openPath(const char* path) override { return find(path); }
//         bool readLine(UT_WorkBuffer& line) override { return nextInto(line); }
//         ...
//     };
//
// One stream serves one file. The class also holds the process's replacement for standard input, which the preprocessor
// reads under the names "stdin" and "stdin.zul". For one thread at a time.
#include <UT/UT_Export.h>

#include <cstdio>

class UT_IStream;
class UT_WorkBuffer;

class TARVANI_EXPORT CPP_Stream {
public:
    CPP_Stream() = default;
    CPP_Stream(const CPP_Stream&) = default;
    CPP_Stream& operator=(const CPP_Stream&) = default;
    virtual ~CPP_Stream();

    // Reads from `source` from now on, which stays the caller's and must outlive the stream.
    virtual void attachStream(UT_IStream* source) = 0;
    virtual void attachFile(std::FILE* source) = 0;
    // Opens the file at `path` and owns it. Not 0 on success.
    virtual int openPath(const char* path) = 0;
    // Replaces the content of `line` by the next line without its line end. False at the end of the input. A NUL hides
    // the rest of its line.
    virtual bool readLine(UT_WorkBuffer& line) = 0;
    // Not 0 if there is something to read from.
    virtual int isOpen() = 0;
    // Not 0 if the source is encrypted at rest. Changes nothing in the lines: CPP_Manager::isCrypted tells it on.
    virtual int isCrypted() const;

    // Makes `source`, which stays the caller's, the standard input of the preprocessor.
    static void setStdin(UT_IStream& source);
    // What the preprocessor reads as standard input. Without setStdin a stream over the process's own, which is made
    // once and lives to the end of the process.
    static UT_IStream* getStdin();
    // Forgets what setStdin and getStdin have set.
    static void clearStdin();
    // Not 0 if `name` is "stdin" or "stdin.zul".
    static int isStdin(const char* name);

private:
    static UT_IStream* stdinStream;
};
