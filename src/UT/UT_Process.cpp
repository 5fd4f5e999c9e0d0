#include <UT/UT_Process.h>
#include <platform/Process.h>

int UTisRunning(int process, int* status) {
    const auto state = platform::processState(process);
    if (status && state.isEndedChild) *status = state.exitCode;
    return state.running;
}
