#pragma once
// Private: whether sections can go through two filters and come back.
#include <stream/FS_FilterFactory.h>

// True for a pair, and for none at all; false for one half, and for halves of different pairs.
inline bool canUndo(FS_WriteFilterFactory* writer, FS_IStreamFilterFactory* reader) {
    if (writer == nullptr || reader == nullptr) return writer == nullptr && reader == nullptr;
    return writer->isCompatible(reader);
}
