#pragma once
// Variable references in text: $NAME, ${NAME}, and `~/` in front for the home directory.
//
//     UT_WorkBuffer out;
//     UTVariableScan(out, "$JOB/scene", nullptr, nullptr, true, true);  // "/jobs/film/scene"
#include <UT/UT_Export.h>

class UT_WorkBuffer;

// The value of a variable, borrowed until the next call, or null if there is none.
using UTVariableLookup = const char* (*)(const char* name, void* data);

// Copies `text` into `out`, replacing what that held, with each reference replaced by its value. `lookup(name, data)`
// gives the values; a null one stands for TarvaniGetenv. A name is letters, digits and `_`, not a digit first, and
// every other `$` is itself. Values are not scanned again. `expandHome`: a leading `~/` becomes the value
// of HOME and a slash. `keepUnknown`: a reference without a value stays as written, else it goes. Gives the number of
// references that were replaced. A null text is an empty one; `text` may be what `out` holds.
TARVANI_EXPORT int UTVariableScan(UT_WorkBuffer& out, const char* text, UTVariableLookup lookup, void* data,
                                  bool expandHome, bool keepUnknown);
