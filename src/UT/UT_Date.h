#pragma once
// Times as text.
//
//     char text[64];
//     UT_Date::dprintf(text, "%b %e %Y", time(nullptr));  // "Mar  7 2026"
#include <UT/UT_Export.h>

class TARVANI_EXPORT UT_Date {
public:
    // Formats `time`, in seconds since the epoch, as local time with the conversions of the C library's strftime and
    // English names whatever the locale. `out` must have room for the result and its final NUL. Gives the length. With
    // a null argument or a time that has no calendar form the text is empty.
    static int dprintf(char* out, const char* format, long time);
};
