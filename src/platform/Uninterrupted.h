#pragma once
// Private: calls of the system that a signal may end before they have done anything.
#include <cerrno>

namespace platform {

// What `call` gives in the end: it is made again for as long as it gives -1 because of a signal.
template <class Call>
auto uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) return result;
    }
}

}  // namespace platform
