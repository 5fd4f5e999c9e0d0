#pragma once
// The environment and the directories of the product.
//
//     if (const char* job = TarvaniGetenv("JOB")) TarvaniMakeDirectory(job, 0777);
#include <UT/UT_Export.h>

// The value of an environment variable, or null if it isn't set; borrowed until the environment changes.
TARVANI_EXPORT const char* TarvaniGetenv(const char* name);
// Makes a directory, and the parents that are missing, with `mode` less the mask. One that exists is no error. Gives 0,
// or -1 with the reason in errno.
TARVANI_EXPORT int TarvaniMakeDirectory(const char* path, int mode);
