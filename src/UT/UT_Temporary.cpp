#include <UT/UT_Temporary.h>
#include <platform/TempFile.h>

void UTremoveTemporaryFiles() {
    platform::removeTemporaries();
}
