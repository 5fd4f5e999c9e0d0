#include "FS_Circle.h"
#include <platform/Fine.h>
#include <plugin/UT_DSO.h>
#include <vector>
