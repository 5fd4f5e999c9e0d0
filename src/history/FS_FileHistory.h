#pragma once
// The names of files, or of directories, that were used last, of one kind. A list is a ring: once it is full, each new
// name takes the place of the oldest. An age counts back from the most recent name, which has age 0.
//
//     FS_FileHistory pictures(20, "PIC", false);
//     pictures.addFiletoMRU("/shots/a.pic");
//     for (int age = 0; age < pictures.numFilesinMRU(); ++age) show(pictures.getFilenamefromMRU(age));
//
// Names compare by byte. docs/history.md shows how lists are kept between runs. A copy is an independent list. For one
// thread at a time.
#include <UT/UT_Export.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>

#include <iosfwd>
#include <string_view>

class UT_IStream;

class TARVANI_EXPORT FS_FileHistory {
public:
    // An empty list of at most `maxFiles` names, which below 1 counts as 1. `typeName` is copied. With `resolvePaths`
    // names are made absolute when they are added.
    FS_FileHistory(int maxFiles, const char* typeName, bool resolvePaths);
    FS_FileHistory(const FS_FileHistory& other);
    FS_FileHistory& operator=(const FS_FileHistory& other);
    ~FS_FileHistory();

    // The label of the list in its file. Valid as long as the list.
    const char* getTypeNameofMRU() const { return typeName.buffer(); }
    // How many names the list holds.
    int numFilesinMRU() const;
    // The name of that age, null if there is none. Valid until the list changes.
    const char* getFilenamefromMRU(int age) const;
    // The same in a short form for display, of at most 35 characters: with "~" for the user's home directory, and "..."
    // for the middle of what is longer. Null if there is none.
    void getFormattedFilenamefromMRU(int age, UT_String& out) const;

    // Makes `name` the most recent one. A name that the list has already only changes its age. One that can't be made
    // absolute is kept as it is. Null and empty add nothing.
    void addFiletoMRU(const char* name);
    // Removes a name, which must be written as the list has it; the others keep their order. Nothing happens if the
    // list doesn't have it.
    void removeFilefromMRU(const char* name);

    // Whether a line of a history file can hold `name`: one that is empty, begins with white space or "}", or has a
    // line feed in it would not be read back.
    static bool canBeSaved(std::string_view name);
    // Writes the names, one a line, the oldest first, without those that a line can't hold. Failures show in the state
    // of `out`.
    void saveFilestoMRU(std::ostream& out) const;
    // Replaces the names by those of the next block, "{" to "}", from where `in` stands; by none if there is no block.
    // A block that isn't closed goes to the end. A line that comes twice counts at its later place; of more lines than
    // the list can have the first ones are kept. Always true.
    bool loadFilesfromMRU(UT_IStream& in);

private:
    int positionOf(int age) const;
    void appendName(std::string_view name);
    bool makeMostRecent(const UT_String& name);
    void removeAll();
    void swap(FS_FileHistory& other) noexcept;

    UT_PtrArray<UT_String*> files;  // owned
    int nextIndex = 0;              // where the next new name goes; in a full list that of the oldest
    int maxFiles;
    UT_String typeName;
    bool resolvePaths;
};
