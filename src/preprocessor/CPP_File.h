#pragma once
// One open input of the preprocessor: it counts lines, joins those that end in a backslash, and keeps the conditionals
// (#if ... #endif) that are open in it. CPP_Manager makes and uses these; an application sees them rarely.
//
//     CPP_File file;
//     UT_WorkBuffer line;
//     if (file.open("scene.inc", stream)) {
//         while (file.getLine(line)) use(file.getLineNumber(), line.view());
//     }
//
// A copy borrows the line source of its original and must not outlive it. For one thread at a time.
#include <UT/UT_Export.h>
#include <UT/UT_IntArray.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_Stream.h>

#include <cstdio>
#include <string_view>

class UT_IStream;

// The state of an open conditional. Every value above CPP_IF_DONE means the same as that.
enum CPP_IfState : int {
    CPP_IF_PENDING = 0,  // this branch is skipped, a later one can still be taken
    CPP_IF_ACTIVE = 1,   // this branch is live
    CPP_IF_DONE = 2,     // skipped, and no later branch can be taken
};

class TARVANI_EXPORT CPP_File {
public:
    CPP_File() = default;
    CPP_File(const CPP_File& other);
    CPP_File& operator=(const CPP_File& other);
    ~CPP_File();

    // Opens through `stream`, and gives 1 if there is something to read, else 0. The file adopts `stream` whatever the
    // result, unless the file is open already: then nothing happens, and the result is 0. The first form opens the
    // file `name`; "stdin" reads CPP_Stream::getStdin, and an empty or null name what the stream reads by itself. The
    // others read `input`, which stays the caller's, under the name `name`.
    int open(const char* name, CPP_Stream* stream);
    int open(UT_IStream& input, CPP_Stream* stream, const char* name);
    int open(std::FILE* input, CPP_Stream* stream, const char* name);
    // Drops the line source. Line number and conditionals stay. Gives 1.
    int close();

    // Puts the next line into `line`, ended by a newline, and gives 1; 0 at the end. Lines that end in a backslash come
    // joined, and afterwards as many lines that are only a newline, so that the count holds. A line that ended in two
    // backslashes, or in one at the end of the input, has no newline.
    int getLine(UT_WorkBuffer& line);

    // Number of the last line delivered, 0 before the first.
    int getLineNumber() const { return lineNumber; }
    void setLineNumber(int line) { lineNumber = line; }
    // The name it was opened under, or the one that a line directive gave it. Never null; valid until it changes.
    const char* getName() const { return name.buffer(); }
    // The directory part of the name it was opened under: the text in front of the last "/", null if there is none.
    const char* getLastPath() const { return lastPath.buffer(); }
    // Not 0 once the line source said that it is encrypted.
    int isCrypted() const { return crypted; }

    // Takes a number and a name from `text`, the operand of a line directive. What is missing stays as it is.
    void lineDirective(const char* text);

    // Opens a conditional. In a branch that is skipped it is CPP_IF_DONE, whatever `state` says.
    void ifDef(int state);
    // Go on to the next branch of the innermost conditional. `elifDef` is given the value of the condition, 0 or 1, or
    // 2 for a branch that must not be taken; `elseDef` does nothing when given 0. 0 if no conditional is open, else 1.
    int elifDef(int state);
    int elseDef(int state);
    // Closes the innermost conditional. 0 if none is open, else 1.
    int endIf();
    // 1 if lines are live here, else 0.
    int getIfState() const { return ifStack.isEmpty() || ifStack.last() == CPP_IF_ACTIVE; }
    // 1 if no conditional is open, else 0.
    int isIfMatched() const { return ifStack.isEmpty(); }

    // Adds `delta` to the references held, 0 at the start. With none left the object, which must be from new, deletes
    // itself.
    void bumpRefCount(int delta);

private:
    friend class CPP_Manager;
    // Gives the line that getLine gave last back: it comes again, under the same number. An empty one doesn't.
    void ungetLine(std::string_view line) { ungot_ = line; }
    bool adopt(CPP_Stream* source, const char* fileName);
    bool readSource(UT_WorkBuffer& line);
    bool joinFurtherLines(UT_WorkBuffer& line);
    void setPath();

    CPP_Stream* stream = nullptr;
    UT_String lastPath;
    int lineNumber = 0;
    UT_IntArray ifStack;
    UT_String name{""};
    int continuedLines = 0;
    int crypted = 0;
    int refCount = 0;
    bool ownsStream_ = true;
    UT_String ungot_;
};
