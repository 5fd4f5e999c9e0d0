// Notes in the caller's list which library is running. Built with several answers to the question for its version:
// that of the header, a text, null, and none at all.
#include <plugin/UT_DSO.h>

#include <string>
#include <vector>

#ifdef PLUGIN_VERSION
extern "C" TARVANI_EXPORT void TarvaniDSOVersion(const char** version) {
    *version = PLUGIN_VERSION;
}
#elif !defined(PLUGIN_WITHOUT_VERSION)
#include <UT/UT_DSOVersion>
#endif

namespace {

std::string running() {
    const char* file = UT_DSO::getRunningFile();
    return file ? file : "nobody";
}

// Set while the library is being loaded.
const std::string loadedAs = running();

}  // namespace

extern "C" {
TARVANI_EXPORT void record(void* data) {
    static_cast<std::vector<std::string>*>(data)->push_back(running());
}

TARVANI_EXPORT void recordLoading(void* data) {
    static_cast<std::vector<std::string>*>(data)->push_back(loadedAs);
}

// Walks the list while the list is walked.
TARVANI_EXPORT void recordNested(void* data) {
    UT_DSO().run("record", data, 1);
    record(data);
}

TARVANI_EXPORT void installFSHelpers(void*) {}
}
