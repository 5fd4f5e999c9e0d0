#include <stream/FSloadCustomHelpers.h>
