#pragma once
// Users could not include this one.
#include <UT/Room.h>
