// The place at which the helpers for http addresses come in.
#include <stream/FS_HttpInfoHelper.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/InstallHelpers.h>

void installHttpHelpers() {
    // Never freed: handles may be used to the very end of the process.
    static const struct Helpers {
        FS_HttpReadHelper* const reader = new FS_HttpReadHelper;
        FS_HttpInfoHelper* const info = new FS_HttpInfoHelper;
    } helpers;
    static_cast<void>(helpers);
}
