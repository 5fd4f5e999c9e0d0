// Brings all helpers in. Declared in stream/, which knows nothing of plug-ins but this one function.
#include <UT/UT_PathSearch.h>
#include <UT/UT_StringArray.h>
#include <plugin/UT_DSO.h>
#include <stream/FSloadCustomHelpers.h>
#include <stream/InstallHelpers.h>

#include <atomic>
#include <mutex>
#include <string>

namespace {

std::atomic<bool> areInstalled = false;

void install() {
    // A plug-in that opens a path while it installs its helpers has all of them installed again. There it ends, or the
    // second time would bring the third.
    constexpr int kDeepest = 2;
    static std::recursive_mutex turn;
    static int depth = 0;  // of the thread whose turn it is
    // Other threads wait: to them a path has no helper before all are there.
    const std::lock_guard lock(turn);
    if (areInstalled || depth == kDeepest) return;
    installHttpHelpers();
    const struct Level {
        Level() { ++depth; }
        ~Level() { --depth; }  // also when memory ends in the middle: the next call tries again
    } level;
    UT_StringArray names;
    UT_PathSearch::getInstance(UT_PATH_DSO)->matchAllFilesInSubdirectory(".dll", "fs", false, names, false);
    for (const UT_String& name : names)
        UT_DSO().run(("fs/" + std::string(name.view())).c_str(), "installFSHelpers", nullptr, 1, UT_PATH_DSO);
    // Also when some failed: they would fail again for every path.
    areInstalled = true;
}

}  // namespace

void FSloadCustomHelpers() {
    if (!areInstalled) install();
}
