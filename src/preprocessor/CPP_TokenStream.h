#pragma once
// Preprocessed text, one word at a time. Words are what UT_String::dosParse makes of a line: white space separates
// them, double quotes group and are taken off. Line ends mean nothing, and neither do directives that only pass
// through, such as #pragma.
//
//     CPP_TokenStream words("scene.rc", -1, nullptr);
//     UT_String word;
//     while (words.getToken(word)) use(word.buffer());
//
// An input that can't be opened has no words; there is no message. Errors and warnings of the preprocessor go to two
// operations that a derived class may replace. A text line whose macros can't be expanded ends the words.
//
// A copy borrows from its original and must not outlive it: both take their lines from one preprocessor, each line
// going to the one that asks first. What is left of the line being split comes from each of them. For one thread at a
// time.
#include <UT/UT_Export.h>
#include <UT/UT_String.h>

class CPP_Manager;
class UT_IStream;

class TARVANI_EXPORT CPP_TokenStream {
public:
    // Opens `file`, searched for as by #include, along the known path of that number (UT_KnownPath; negative: 0).
    // `options` are the words of CPP_Manager::setOptions, ended by a null. As there the first one is a program's name,
    // which isn't read. A null list is the standard one, in which nothing changes how words come.
    CPP_TokenStream(const char* file, int knownPath, const char* const* options);
    // Reads `source`, which stays the caller's and must outlive the reading, under the name `name`. Files that it
    // includes are searched for along known path 0.
    CPP_TokenStream(UT_IStream& source, const char* name, const char* const* options);
    CPP_TokenStream(const CPP_TokenStream& other);
    CPP_TokenStream& operator=(const CPP_TokenStream& other);
    virtual ~CPP_TokenStream();

    // Puts a copy of the next word into `token` and gives 1; at the end of the input null and 0.
    int getToken(UT_String& token);
    // Gives a word back: the next getToken gives it again. There is one place; a second word takes it from the first,
    // and an empty one leaves it free.
    void ungetToken(const UT_String& token);
    // Adds the directories of a path text (UT_PathSearch) at the end of the search path. Nothing happens for null.
    void addIncludePath(const char* path);

    // Where the preprocessor is: the number of the last line read from the file being read, and that file's name. The
    // word that came last may be from a line before. -1 and "<unknown>" at the end, and if nothing could be opened. The
    // name is valid until the next call.
    int getLineNumber() const;
    const char* getFileName() const;

    // Called with an error of the preprocessor, such as `cpp error: "scene.rc":12 Undefined directive "use"`, when its
    // line is reached. Some end in a newline. Here: writes the message and a newline to the standard error stream.
    virtual void cppError(const char* message) const;
    // The same for a warning. Here: calls cppError.
    virtual void cppWarning(const char* message) const;

protected:
    // Makes the preprocessor and an empty list of words.
    void init(int knownPath, const char* const* options);
    // Makes room for more than `count` words. If the list has to grow, the words in it are lost.
    void growArgv(int count);

private:
    bool nextLine();
    void copyWords(const CPP_TokenStream& other);

    CPP_Manager* manager = nullptr;  // null if nothing could be opened
    UT_String line;                  // the line being split, cut up into its words
    UT_String ungot;
    char** argv = nullptr;  // from malloc: the words of `line`, ended by a null
    int argvSize = 0;
    int argvIndex = 0;     // the next word to give
    bool isOwner_ = true;  // of manager
};
