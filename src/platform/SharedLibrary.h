#pragma once
// Private: libraries that are loaded while the program runs.
//
//     if (void* library = platform::openLibrary("/d/x.dll"))
//         if (void* function = platform::findInLibrary(library, "name")) use(function);
#include <string>

namespace platform {

// Loads a library with all that it needs; its names stay its own. One that is loaded already gives the same handle
// again, to be closed once more. Null when it can't be loaded, which includes every path that isn't absolute: the
// loader would look for a bare name wherever the environment says, and a relative path means whatever somebody has put
// into the current directory.
void* openLibrary(const char* path);
// The address of what the library itself exports under that name, not what another library does that it needs. Null if
// there is no such thing.
void* findInLibrary(void* library, const char* name);
// True if the library was given up; it goes when all who opened it have closed it.
[[nodiscard]] bool closeLibrary(void* library);

// What the loader said of the last call of openLibrary or findInLibrary, or of a closeLibrary that failed.
struct LoaderAnswer {
    int code = 0;      // errno as the loader left it; often 0 also for a failure
    std::string text;  // its own words; empty when all went well
};
const LoaderAnswer& lastLoaderAnswer();

}  // namespace platform
