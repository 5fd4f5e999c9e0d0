#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <pathfile/ControlSuffix.h>
#include <pathfile/UTfindPreferenceFile.h>

bool UTfindPreferenceFile(int knownPath, const char* name, UT_String& path, bool& isNoSave) {
    // Copied before anything is found: `name` may be the text of `path`.
    UT_String noSave(name, 1);
    UT_StringArray names;
    if (!noSave.isEmpty()) {
        noSave += kNoSaveSuffix;
        names.append(noSave);
        names.append(name);
    }
    if (!UT_PathSearch::getInstance(static_cast<UT_KnownPath>(knownPath))->findFileFromList(path, names)) return false;
    isNoSave = path.endsWith(noSave.buffer());
    return true;
}
