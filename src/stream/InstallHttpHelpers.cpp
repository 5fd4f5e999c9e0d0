// The place at which the helpers for http addresses come in.
#include <stream/FS_HttpInfoHelper.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/InstallHelpers.h>

void installHttpHelpers() {
    // Never freed: handles may be used to the very end of the process. Each for itself, so that what memory stops is
    // made by the next call, and the other not twice.
    static FS_HttpReadHelper* const reader = new FS_HttpReadHelper;
    static FS_HttpInfoHelper* const info = new FS_HttpInfoHelper;
    static_cast<void>(reader);
    static_cast<void>(info);
}
