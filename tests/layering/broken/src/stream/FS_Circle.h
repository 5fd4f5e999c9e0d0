#pragma once
#include <UT/UT_Thing.h>
#include <indexfile/FS_IndexFile.h>
