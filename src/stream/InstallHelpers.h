#pragma once
// Private: brings the helpers of the library and of plug-ins in before a handle looks at its first path.
#include <stream/FSloadCustomHelpers.h>

// Makes the helpers that serve http addresses, once in a process.
void installHttpHelpers();

// Helpers that came last are asked first. The built-in ones of every kind are made before any plug-in loads, whichever
// kind of handle is the first of the process, so that a plug-in always goes before them.
inline void installHelpers() {
    installHttpHelpers();
    FSloadCustomHelpers();
}
