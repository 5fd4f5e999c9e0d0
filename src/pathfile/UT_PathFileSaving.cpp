// Where an entry may be saved: so that the result is found, is neither replaced nor hidden by what is there, and can
// really be written.
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>
#include <stream/FS_Info.h>

#include <algorithm>
#include <string_view>

int UT_PathFileInfo::prepareForSave(int mustBeNew, int aboveHidden, int overVisible) {
    const int start = dirIndex;
    const int count = owner ? owner->getDirCount() : 0;
    if (start < 0 || start >= count) return 0;

    int first = 0;
    while (first < owner->getFileInfoCount(0) && !isRelatedTo(owner->getFileInfo(first, 0))) ++first;
    // What nothing stands against may be saved where it is; whether it can be shows when it is written.
    if (first == owner->getFileInfoCount(0)) {
        setDirIndex(start);
        return 1;
    }
    const int raised = raisedIndex(first, start, aboveHidden != 0, overVisible != 0);
    if (raised >= count) return 0;
    for (int candidate = raised; candidate < count; ++candidate) {
        setDirIndex(candidate);
        if (canBeSaved(mustBeNew != 0)) return 1;
    }
    setDirIndex(start);
    return 0;
}

bool UT_PathFileInfo::isRelatedTo(UT_PathFileInfo* other) {
    const std::string_view name = currentBaseName();
    // An entry without a name is related to nothing.
    return other && name.data() && other->currentBaseName().data() && name == other->currentBaseName();
}

// The directory to begin with, by the unbroken run of related entries from position `first` on. They stand in order of
// their names, then of their directories, and each can only raise it.
int UT_PathFileInfo::raisedIndex(int first, int start, bool aboveHidden, bool overVisible) {
    int candidate = start;
    if (!aboveHidden && !overVisible) return candidate;
    for (int i = first; i < owner->getFileInfoCount(0); ++i) {
        UT_PathFileInfo* const entry = owner->getFileInfo(i, 0);
        if (!entry) continue;
        if (!isRelatedTo(entry)) break;
        const int index = entry->getDirIndex();
        if (index < candidate) continue;
        if (entry->getHideFlag()) {
            // An index may be any number; behind the last directory one is as good as another.
            if (aboveHidden) candidate = std::min(index, owner->getDirCount()) + 1;
        } else if (overVisible) {
            candidate = index;
        }
    }
    return candidate;
}

bool UT_PathFileInfo::canBeSaved(bool mustBeNew) {
    const FS_Info place(getFullPath());
    // Without a path of its own for this directory the entry would be written over its old one.
    return isValid(kFullPathValid) && place.canWriteFile() && !(mustBeNew && place.hasAccess(0));
}
