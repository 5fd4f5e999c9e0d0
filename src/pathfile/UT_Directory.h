#pragma once
// The names in one directory, as they were when the object was made: to ask whether a name is there, and to walk those
// that match a wildcard pattern, in order of the names by byte.
//
//     UT_StringArray images;
//     UT_Directory("/d", nullptr, 0).getFiles("*.png, *.jpg", images);
//
// A pattern is a list of wildcard patterns split at blanks and commas, of which a name has to match one (UT_String's
// multiMatch); case counts, and null matches every name. Names have no directory in front, and subdirectories are among
// them; "." and ".." never are. The directory may also be a container, or what a helper serves.
#include <UT/UT_Export.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_SymbolTable.h>

class UT_String;
class UT_StringArray;

class TARVANI_EXPORT UT_Directory {
public:
    // Lists `path`, keeping the names that match `pattern`; with `includeDotNames` 0 none that begins with ".". A path
    // that can't be listed gives an empty object.
    UT_Directory(const char* path, const char* pattern, int includeDotNames);
    ~UT_Directory();
    // An independent list of the same names.
    UT_Directory(const UT_Directory&);
    UT_Directory& operator=(const UT_Directory&);

    // Not 0 if the name is there; taken literally, not as a pattern.
    int findFile(const char* name) const;
    // Number of names.
    int entries() const;

    // Calls `callback(name, data)` for each name that matches; 0 from it ends the walk. The callback must not change
    // the object. Null does nothing.
    void traverseFiles(int (*callback)(const char* name, void* data), void* data, const char* pattern) const;
    // Appends the names that match, and gives their number.
    int getFiles(const char* pattern, UT_StringArray& names) const;
    // The same with the object's own texts, which live as long as it does.
    int getFiles(const char* pattern, UT_PtrArray<const char*>& names) const;
    // Replaces `names` by the names that match, with a blank between them. 1 if that gave any text, else 0.
    int getFiles(const char* pattern, UT_String& names) const;

private:
    static int doTraverse(UT_Thing& thing, const char* name, void* context);

    UT_SymbolTable names_;  // the keys are all that counts
};
