#pragma once
// What a fuzz target demands beyond survival. It aborts in every build.
#include <cstdio>
#include <cstdlib>

inline void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}
