#include <UT/Room.h>
