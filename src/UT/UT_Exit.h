#pragma once
// Work to be done when the process ends.
//
//     UT_Exit::addExitCallback(removePages, &pages);
#include <UT/UT_Export.h>

class TARVANI_EXPORT UT_Exit {
public:
    // Runs `function(data)` when this process ends by exit or by returning from main, or when the library is unloaded;
    // the callback that was added last runs first. A forked child doesn't run what its parent added. `data` is
    // borrowed and must live until then. A null function adds nothing. For one thread at a time.
    static void addExitCallback(void (*function)(void* data), void* data);
};
