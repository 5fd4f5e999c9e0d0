// Brings the helpers of plug-ins in. Declared in stream/, which knows nothing of plug-ins but this one function.
#include <stream/FSloadCustomHelpers.h>

void FSloadCustomHelpers() {}
