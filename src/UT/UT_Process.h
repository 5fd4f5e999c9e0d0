#pragma once
// Whether a process still runs.
//
//     if (!UTisRunning(child, nullptr)) reap(child);
#include <UT/UT_Export.h>

// 1 while `process` runs, else 0. An ended child counts as gone and is left for its parent to wait for; `*status`, if
// not null, then gets its exit code, or 128 and the number of the signal that ended it. For other processes, and while
// it runs, `*status` stays as it is.
TARVANI_EXPORT int UTisRunning(int process, int* status);
