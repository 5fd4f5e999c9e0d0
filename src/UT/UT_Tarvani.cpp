#include <UT/SystemResult.h>
#include <UT/UT_Tarvani.h>
#include <platform/Directory.h>

#include <cstdlib>

const char* TarvaniGetenv(const char* name) {
    return name ? std::getenv(name) : nullptr;
}

int TarvaniMakeDirectory(const char* path, int mode) {
    return resultOf(platform::makeDirectories(path, static_cast<unsigned>(mode)));
}
