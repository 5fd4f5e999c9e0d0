#pragma once
// Finds a file of preferences along a known search path.
//
//     UT_String path;
//     bool isNoSave;
//     if (UTfindPreferenceFile(UT_PATH_DEFAULT, "ui.pref", path, isNoSave)) load(path, !isNoSave);
#include <UT/UT_Export.h>

class UT_String;

// The file `name` in the first directory of the known path (a UT_KnownPath) that has it, where "NAME.nosave" goes
// before "NAME" of the same directory. True with its path in `path`; `isNoSave` then tells whether it is the ".nosave"
// one, whose preferences are not to be written back. False if there is neither: `path` is null and `isNoSave` as it
// was.
TARVANI_EXPORT bool UTfindPreferenceFile(int knownPath, const char* name, UT_String& path, bool& isNoSave);
