#pragma once
// For programs that are stopped by a signal while the library works on temporary files:
//
//     void stop(int signal) {
//         UTremoveTemporaryFiles();
//         std::signal(signal, SIG_DFL);
//         std::raise(signal);
//     }
#include <UT/UT_Export.h>

// Removes the temporary files that the library holds at this moment. Safe inside a signal handler, and meant for one
// that ends the program: output that was still on its way through them is lost, destinations stay as they were.
TARVANI_EXPORT void UTremoveTemporaryFiles();
