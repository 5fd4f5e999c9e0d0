#pragma once
// The preprocessor: macros, include files and conditionals over files and streams, one output line for each call.
//
//     CPP_Manager cpp;
//     const char* const options[] = {"cpp", "-P", "-DDEBUG=1"};
//     cpp.setOptions(3, options);
//     UT_String line;
//     if (cpp.open("scene.inc", 0)) {
//         while (cpp.getLine(line)) use(line.buffer());
//     }
//
// The language is close to C's and not the same (docs/preprocessor.md tells the differences). The output has a line for
// each line of input: a directive, a comment or a skipped line comes as an empty one. What else there is to say comes
// in lines of its own: markers `# 12 "file"`, which tell where the next line is from, errors, which begin with
// `# error `, and warnings, which begin with `# warning `. Most errors don't stop the preprocessor; a text line whose
// macros can't be expanded does.
//
// What the file system answered during an include search is remembered until the last open file has ended. A copy
// borrows from its original, shares the open files, and must not outlive it. For one thread at a time.
#include <UT/UT_Export.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

class CPP_File;
class CPP_MacroTable;
class CPP_Stream;
class UT_IStream;
class UT_PathSearch;
class UT_WorkBuffer;

class TARVANI_EXPORT CPP_Manager {
public:
    // Nested expansions are limited to one less than this, unless the option -r says otherwise.
    static constexpr int kRecursionLimit = 128;

    // Include files are searched for along the known path of that number (UT_KnownPath; negative: 0), then along the
    // directories of the path text `path`, if it isn't null.
    explicit CPP_Manager(int knownPath = -1, const char* path = nullptr);
    CPP_Manager(const CPP_Manager& other);
    CPP_Manager& operator=(const CPP_Manager& other);
    virtual ~CPP_Manager();

    // Reads option letters from argv[1] on, argv[0] being a program's name (docs/preprocessor.md lists them). Gives
    // the index of the first argument that is no option. 0 on an unknown option or one that lacks its argument; those
    // in front of it keep their effect.
    int setOptions(int argc, char* const argv[]);
    int setOptions(int argc, const char* const argv[]);
    // Defines a macro; `name` may hold a parameter list, and a null `value` makes an empty macro. False if that
    // replaced a different definition, and for a null name, which defines nothing.
    bool define(const char* name, const char* value);
    // Removes a macro, if there is one of that name. True.
    bool undefine(const char* name);
    // Adds the directories of a path text (UT_PathSearch) at the end of the search path.
    void addIncludePath(const char* path);

    // Open a file, and give 1, else 0. It is read before those that are open, as an included one is. With `search` 0
    // `name` is a path, otherwise it is looked for as by #include. It may be plain, in double quotes or in <>. "stdin"
    // is CPP_Stream::getStdin. The other forms read `source`, which stays the caller's and must outlive the reading,
    // under the name `name`.
    int open(const char* name, int search);
    int open(UT_IStream& source, const char* name);
    int open(std::FILE* source, const char* name);
    // Closes all open files. Macros and options stay, and so does what was under way: a comment that is open, empty
    // lines owed, a marker or line that waits. Gives 1.
    int close();

    // Puts the next output line into `line`, never null, and gives 1; 0 at the end of all input. A line ends in a
    // newline, except for some errors, which mostly a blank line follows, text in front of a comment of the option -h,
    // and lines of which CPP_File::getLine tells. One that ends in none can be empty.
    int getLine(UT_String& line);
    // The same without a copy. The view is valid until the next call on this object.
    int getLine(std::string_view& line);

    // Number of the last line read from the file being read; -1 if none is open.
    int getLineNumber() const;
    // Name of the file being read, "<unknown>" if none is open. Valid until the next call.
    const char* getFileName() const;
    // True once an error line was made. Warnings don't count.
    bool hasError() const;
    // Not 0 once a line source said that it is encrypted.
    int isCrypted() const;

    // Makes the line source for a file that is about to be opened; the file adopts it. This is the hook for a derived
    // manager. Here: one that reads files from disk, C files and streams. A line source may define and undefine macros
    // of the manager that it serves; it must neither get lines from it nor close it.
    virtual CPP_Stream* allocStream();

private:
    class FileHold;
    class Expansion;
    struct Work;
    enum class RawLine : int { None = 0, Ready = 1, Source = 2 };
    enum class Directive;

    // Set-up.
    void addPredefinedMacros();
    int readOptions(int argc, const char* const* argv);
    bool defineMacro(const char* text, UT_WorkBuffer& out, int commandLine);
    void destroyMacro(std::string_view text);
    void borrow(const CPP_Manager& other);
    void release();

    // Input.
    bool push(std::unique_ptr<CPP_File> file);
    bool openFile(std::string_view operand, bool search);
    std::string findFile(std::string_view operand, bool search);
    RawLine getRawLine(UT_WorkBuffer& line);
    void endFile(UT_WorkBuffer& line);

    // Lines of the preprocessor's own.
    static void makeMarker(UT_WorkBuffer& out, int lineNumber, const CPP_File& file);
    void makeError(UT_WorkBuffer& out, const CPP_File* file, std::string_view message, const char* kind);
    void makeDirectiveError(UT_WorkBuffer& out, std::string_view message);
    void addBlankLine();

    // Lines and directives.
    void expandLine(UT_WorkBuffer& line);
    void expandText(UT_WorkBuffer& line);
    void stripComments(UT_WorkBuffer& line, std::size_t at);
    bool passComment(UT_WorkBuffer& line, std::size_t& at);
    static Directive directiveOf(std::string_view word);
    void processCommand(std::string_view text, UT_WorkBuffer& out);
    bool expandDirective(std::string_view& text, UT_WorkBuffer& out);
    void processConditional(Directive directive, std::string_view operand, CPP_File& file, UT_WorkBuffer& out);
    void doInclude(std::string_view operand, UT_WorkBuffer& out, bool silent);
    void setLine(std::string_view operand, CPP_File& file, UT_WorkBuffer& out);

    // Conditions: 1 true, 0 false, -1 a syntax error.
    int expression(std::string_view text) const;
    bool isDefined(std::string_view operand) const;

    UT_PathSearch* searchPath = nullptr;
    UT_String pendingLine;
    UT_PtrArray<CPP_File*> files;
    CPP_MacroTable* macros = nullptr;
    int flags = 0;
    int recursionLimit = kRecursionLimit;
    bool pendingIsSource = false;
    int blankLines = 0;
    int crypted = 0;
    bool errorSeen = false;
    bool isOwner_ = true;  // of searchPath and macros
    std::unique_ptr<Work> work_;
};
