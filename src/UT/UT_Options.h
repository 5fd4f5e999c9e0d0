#pragma once
// Options that are read from text: one name and one value a line.
//
//     # how the scene is shown
//     width 640
//     title "a scene with blanks"
//
//     UT_Options options;
//     options.load("scene.opt", stream);
//     UT_String title;
//     options.getOption("title", title, "untitled");
#include <UT/UT_OptionFile.h>

class UT_IStream;

class TARVANI_EXPORT UT_Options : public UT_OptionFile {
public:
    UT_Options();
    ~UT_Options();
    UT_Options(const UT_Options& other);
    UT_Options& operator=(const UT_Options& other);

    // Reads options to the end of the stream and adds them to what is here; of a name given twice the later value
    // holds. A line is a name and a value, each a word as UT_IStream::readString reads it; a line whose first word
    // begins with `#` is a comment. `name` says where the text comes from, for getSource. False at the first line that
    // is no such pair, when reading fails, and for a stream over nothing; what was read before stays.
    bool load(const char* name, UT_IStream& stream);
    // The name given to the last load, empty before; borrowed until the next load.
    const char* getSource() const { return source_.c_str(); }
    // The number, counted from 1, of the line at which the last load failed; 0 if it didn't fail at a line.
    int getErrorLine() const { return errorLine_; }

private:
    std::string source_;
    int errorLine_ = 0;
};
