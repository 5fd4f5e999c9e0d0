#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <pathfile/ControlSuffix.h>
#include <pathfile/UTfindPreferenceFile.h>

bool UTfindPreferenceFile(int knownPath, const char* name, UT_String& path, bool& isNoSave) {
    path.clear();
    if (!name || !*name) return false;
    UT_String noSave(name, 1);
    noSave += kNoSaveSuffix;
    UT_StringArray names;
    names.append(noSave);
    names.append(name);
    if (!UT_PathSearch::getInstance(static_cast<UT_KnownPath>(knownPath))->findFileFromList(path, names)) return false;
    isNoSave = path.endsWith(noSave.buffer());
    return true;
}
