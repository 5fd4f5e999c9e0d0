// Ends the process that loads it.
#include <cstdlib>

[[gnu::constructor]] static void crash() {
    std::abort();
}
