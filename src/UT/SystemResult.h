#pragma once
// Private: the results of the system's calls at the interface.
#include <cerrno>

// 0 for no error; else -1 with errno set.
inline int resultOf(int error) {
    if (error == 0) return 0;
    errno = error;
    return -1;
}
