#include <UT/UT_Thing.h>
