#pragma once
// A search path: directories in which a file is looked for, one after the other. The known paths come from the
// environment (docs/paths.md lists the variables and the defaults).
//
//     UT_String found;
//     if (UT_PathSearch::getInstance(UT_PATH_DEFAULT)->findFile(found, "lights.inc")) open(found.buffer());
//
// A path text lists directories, split at ":" (not in front of "//", so that addresses stay whole) and ";". Each may
// hold variables, as UTVariableScan expands them. A name that is absolute or begins with "./" or "../" is not searched
// for: it is found if it exists as it stands. Only files are found, never directories.
#include <UT/UT_Export.h>
#include <UT/UT_StringArray.h>

#include <string_view>

class UT_String;

// The known paths. Every other value is a path without directories.
enum UT_KnownPath : int {
    UT_PATH_DEFAULT = 0,   // TARVANI_PATH: included files, path files and preferences
    UT_PATH_DSO = 1,       // TARVANI_DSO_PATH: plug-ins
    UT_PATH_SITE_DSO = 2,  // TARVANI_SITE_DSO_PATH: plug-ins of the site
    UT_PATH_USER_DSO = 3,  // TARVANI_USER_DSO_PATH: plug-ins of the user
};

class TARVANI_EXPORT UT_PathSearch {
public:
    // The number of values of UT_KnownPath.
    static constexpr int kKnownPaths = 4;

    // The shared object of a known path, never null, valid to the end of the process. The environment is read when the
    // first one is asked for. Of the paths for plug-ins only absolute directories count.
    static const UT_PathSearch* getInstance(UT_KnownPath path);
    // A new object with the directories of a known path, which the caller owns and may change.
    static UT_PathSearch* getHardPath(UT_KnownPath path);
    // The environment variable that sets a known path, for display and help; null for an unknown one.
    static const char* getVariable(UT_KnownPath path);

    // The directories of `text`, in which an empty element stands for those of `defaultPath`; so an empty or null
    // `text` gives just these. The lengths are in bytes, -1 for the whole text.
    UT_PathSearch(const char* defaultPath, int defaultLength, const char* text, int length);
    ~UT_PathSearch();
    UT_PathSearch(const UT_PathSearch& other);
    UT_PathSearch& operator=(const UT_PathSearch& other);

    // Adds the directories of `path` at the end; an empty element stands for those of `defaultPath`.
    void extendPath(const char* defaultPath, int defaultLength, const char* path, int length);
    // Adds one directory at the end, not split. Null or empty adds nothing.
    void appendPath(const char* directory);

    // The first file of that name along the path. Gives 1 with its path in `result`, else 0 with `result` null.
    int findFile(UT_String& result, const char* name) const;
    // Appends the path of every file of that name to `out`, in search order. Gives their number.
    int findAllFiles(const char* name, UT_StringArray& out) const;
    // The first file of one of the names: directory by directory, in each the names in their order. False, with
    // `result` null, if there is none.
    bool findFileFromList(UT_String& result, const UT_StringArray& names) const;
    // Appends the names (without a directory) of all files that end in `suffix` in the subdirectory of every directory
    // of the path: in search order, sorted within a directory, each name once. Gives their number. The two flags have
    // no meaning; pass false.
    int matchAllFilesInSubdirectory(const char* suffix, const char* subdirectory, bool, UT_StringArray& out,
                                    bool) const;

    // The user's directory of the product, without a trailing slash; it need not exist. $TARVANI_HOME, else
    // $XDG_CONFIG_HOME/tarvani, else .config/tarvani in the home directory. Null if there is no home directory.
    static void getHomeTarvani(UT_String& out);
    // The absolute form of a path, from the current directory, with ".", ".." and repeated slashes resolved as text and
    // a final slash kept. A path with a registered prefix stays as it is. False for null, for an empty path,
    // behind "file:" too, and for a lost current directory; `out` is then null.
    static bool resolveAbsolutePath(const char* path, UT_String& out);
    // Shortens a path for display, in place: the user's home directory in front becomes "~". Gives 1 if it did.
    static int condenseCommon(UT_String& path);

    // In search order, with one element for each directory in all three. To be read, not changed.
    UT_StringArray expandedDirs;   // variables expanded; a slash at the end of a value stays
    UT_StringArray pathDirs;       // counts the directories
    UT_StringArray condensedDirs;  // as written

private:
    UT_PathSearch();
    void addElements(const UT_PathSearch& defaults, std::string_view text, bool absoluteOnly);
    void addDirectory(std::string_view directory, bool absoluteOnly);
    static UT_PathSearch makeKnownPath(UT_KnownPath path);
};
