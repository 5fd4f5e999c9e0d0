#pragma once
// The one thing that stream access knows of plug-ins.
#include <UT/UT_Export.h>

// Makes sure that the built-in helpers are there, and then that the plug-ins which serve paths are loaded and have
// registered theirs. Every handle calls it before it looks at its path; only the first call in a process does anything,
// and other threads wait for its end.
TARVANI_EXPORT void FSloadCustomHelpers();
