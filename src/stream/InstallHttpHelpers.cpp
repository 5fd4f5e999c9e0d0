// The place at which the helpers for http addresses come in. The library serves none yet: such a path is asked of
// plug-ins, and then is a file that doesn't exist.
#include <stream/InstallHelpers.h>

void installHttpHelpers() {}
