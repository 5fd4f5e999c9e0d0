#pragma once
// One logical file made of the files of the same names along a known search path. From every directory of the path it
// collects what matches a pattern, and sorts it so that the files of one name stand together, the one of lowest
// priority first. A file nearer the front of the path replaces its namesakes further back; "NAME.append" is read after
// what it extends; "NAME.hide" takes away what lies behind it. docs/paths.md shows the rules.
//
//     UT_PathFile file;
//     file.setSearchPath(UT_PATH_DEFAULT, "menu/*.txt ^menu/old*.txt");
//     file.applyStandardFilter();
//     UT_WorkBuffer line;
//     while (file.getLine(line)) use(line.buffer(), file.getCurrentFileName(), file.getCurrentLineNumber());
//
// A pattern is tokens between white space, each applied below every directory; it may hold "/", and "*" in any of its
// components. A token behind "^" takes away what earlier ones added. Beside reading, the list is a model of the files:
// entries can be looked at, added, removed and asked for a place to be saved (UT_PathFileInfo).
//
// A directory index counts from the back of the path: 0 is its last directory, the one of lowest priority. The object,
// and with it its entries, is for one thread at a time. Nothing is reported: what can't be listed or opened counts as
// absent.
#include <UT/UT_Export.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>

#include <memory>
#include <optional>
#include <string_view>

class FS_Reader;
class PathPatterns;
class UT_PathFileInfo;
class UT_PathSearch;
class UT_WorkBuffer;

class TARVANI_EXPORT UT_PathFile {
public:
    // Along known path 0, without a pattern.
    UT_PathFile();
    // Takes search path and pattern over, and begins with an empty list that is still to be computed.
    UT_PathFile(const UT_PathFile& other);
    UT_PathFile& operator=(const UT_PathFile& other);
    virtual ~UT_PathFile();

    // Sets where and what to look for: a known path (negative is 0) and a pattern, which is copied. Reading starts over
    // with the first file. The list is computed when it is next needed; until then the old entries stay.
    void setSearchPath(int knownPath, const char* pattern);
    // The pattern as it was set; empty before.
    const char* getSearchPattern() const { return searchPattern.buffer(); }
    // The number of directories of the search path.
    int getDirCount() const;
    // A directory of the search path as it is written, with its variables. Null out of range. Borrowed.
    const char* getDir(int index) const;
    // The directory for new files: the first of the path that lies in the user's directory of the product, else the
    // last one, followed by the subdirectory of the pattern. Meaningful once the list has been computed.
    const char* getDefaultDir() const { return defaultDir.buffer(); }
    int getDefaultDirIndex() const { return defaultDirIndex; }
    int getHomeDirIndex() const { return homeDirIndex; }

    // The list as it stands, which is empty until getLine or applyStandardFilter has computed it. With `unfilteredOnly`
    // only entries that count for reading are counted and numbered. Null for an index out of range.
    int getFileInfoCount(int unfilteredOnly) const;
    UT_PathFileInfo* getFileInfo(int index, int unfilteredOnly) const;
    // Adds at the end. The list owns `info` from then on.
    void appendFileInfo(UT_PathFileInfo* info);
    // Adds a new entry with that full path, and no file on disk; null, and nothing added, if createFileInfo() gave
    // none. The integer has no meaning; pass 0.
    UT_PathFileInfo* appendFileInfo(const char* path, int);
    // Each deletes an entry and closes its gap; nothing happens for one that isn't there. By pointer the entry is
    // deleted whether or not it is in the list; of several with one path the last goes.
    void removeFileInfo(int index);
    void removeFileInfo(UT_PathFileInfo* info);
    void removeFileInfo(const char* fullPath);
    // Empties the list and deletes nothing: the entries belong to whoever holds pointers to them.
    void clearFileInfoList();
    // Sorts by a comparison as for qsort; equal entries keep their order.
    void sortFileInfos(int (*compare)(UT_PathFileInfo* const*, UT_PathFileInfo* const*));
    // Makes every entry that the list itself adds; a subclass may give entries of its own type. The list owns what it
    // gets; null leaves the file out.
    virtual UT_PathFileInfo* createFileInfo();

    // Marks each entry that a later one replaces or hides as filtered, so that it no longer counts for reading, and
    // each one that hides. Clears no mark.
    void applyStandardFilter();
    // The next line of all files that count, one after the other, without its line feed; false at the end. A file that
    // can't be opened is passed over, and no line spans two files. The cost doesn't grow with the number of files.
    bool getLine(UT_WorkBuffer& line);
    // The file of the last line; null before the list has been computed and behind the last line.
    const char* getCurrentFileName();
    // The number of the last line in its file, from 1.
    int getCurrentLineNumber() const { return currentLineNumber; }

protected:
    // Computes the list anew from search path and pattern, in the order of reading.
    void computeFileList();
    // Adds an entry for each file that matches a full path with wildcards, control suffixes included, or removes one
    // for each. The number is that of the directories of the search path, and not needed.
    void addMatchingFiles(char* path, int dirCount);
    void removeMatchingFiles(char* path, int dirCount);
    // Deletes all entries, the last one first; the list counts as not computed.
    void clearFileList();

    // Set by a subclass that must not lose its place: setSearchPath then refuses, with a message to standard error.
    bool midRead : 1;

private:
    friend class UT_PathFileInfo;

    // Where the unfiltered entries stand, kept so that neither a line nor a walk over them counts from the start.
    struct Unfiltered {
        unsigned long long filterChanges = 0;  // what UT_PathFileInfo::filterChanges() was when it was counted
        int count = -1;                        // -1: the list has changed since
        int index = 0;                         // of the first unfiltered entry at or behind `position`
        int position = 0;
    };
    Unfiltered& unfiltered() const;
    void listChanged() { unfiltered_.count = -1; }

    int dirIndexOf(std::string_view fullPath) const;
    std::optional<std::string_view> patternDirectory() const;
    void computeDefaultDir();
    bool openFile(const char* path);

    bool listComputed : 1;
    bool mayRepeat : 1;  // an entry may stand in the list twice: a caller has appended some
    const UT_PathSearch* pathSearch;
    UT_String searchPattern;
    UT_String defaultDir;
    int defaultDirIndex = 0;
    int homeDirIndex = 0;
    int currentFileIndex = 0;
    int currentLineNumber = 0;
    UT_PtrArray<UT_PathFileInfo*> fileInfos;
    std::unique_ptr<FS_Reader> reader;
    mutable std::unique_ptr<PathPatterns> patterns;  // of pathSearch and searchPattern; null until one is needed
    mutable Unfiltered unfiltered_;
};
