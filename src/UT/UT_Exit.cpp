#include <UT/UT_Exit.h>
#include <platform/Process.h>

#include <cstdlib>
#include <vector>

namespace {

struct Callback {
    void (*function)(void*);
    void* data;
    int process;  // that added it
};

// Never destroyed: it is read while the process ends.
std::vector<Callback>& callbacks() {
    static auto& list = *new std::vector<Callback>;
    return list;
}

void runCallbacks() {
    auto& list = callbacks();
    while (!list.empty()) {
        const Callback last = list.back();
        list.pop_back();
        if (last.process == platform::currentProcess()) last.function(last.data);
    }
}

}  // namespace

void UT_Exit::addExitCallback(void (*function)(void* data), void* data) {
    if (!function) return;
    auto& list = callbacks();
    // One registration serves all. A list that is empty again has run or runs now, and the system takes another.
    if (list.empty()) std::atexit(runCallbacks);
    list.push_back({function, data, platform::currentProcess()});
}
