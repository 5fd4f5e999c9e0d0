// A path file read as one text: which entries count, and their lines.
#include <UT/UT_IStream.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>
#include <stream/FS_Reader.h>

#include <cstring>

// An entry is replaced by a later one of its name that isn't an ".append" one; namesakes stand side by side. From the
// end of the list, one look at each entry tells.
void UT_PathFile::applyStandardFilter() {
    if (!listComputed) computeFileList();
    const char* name = nullptr;
    bool isReplaced = false;
    for (int i = fileInfos.entries() - 1; i >= 0; --i) {
        UT_PathFileInfo* const info = fileInfos(i);
        if (!info) continue;
        if (info->getHideFlag()) info->setFilteredFlag(1);
        const char* const itsName = info->getFileName();
        if (!itsName) continue;
        if (!name || std::strcmp(itsName, name) != 0) isReplaced = false;
        name = itsName;
        if (isReplaced) info->setFilteredFlag(1);
        if (!info->getAppendFlag()) isReplaced = true;
    }
}

bool UT_PathFile::getLine(UT_WorkBuffer& line) {
    if (!listComputed) computeFileList();
    for (; currentFileIndex < getFileInfoCount(1); ++currentFileIndex) {
        const char* const path = getFileInfo(currentFileIndex, 1)->getFullPath();
        if (!path || !openFile(path)) continue;
        if (reader->getStream()->getLine(line, '\n')) {
            ++currentLineNumber;
            return true;
        }
        reader.reset();
    }
    return false;
}

// False if it can't be opened. The file that is being read stays open.
bool UT_PathFile::openFile(const char* path) {
    if (reader) return true;
    reader = std::make_unique<FS_Reader>(path);
    if (!reader->getStream()) {
        reader.reset();
        return false;
    }
    currentLineNumber = 0;
    return true;
}

const char* UT_PathFile::getCurrentFileName() {
    if (!listComputed) return nullptr;
    UT_PathFileInfo* const info = getFileInfo(currentFileIndex, 1);
    return info ? info->getFullPath() : nullptr;
}
