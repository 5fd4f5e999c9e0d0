#include <events/FS_EventGenerator.h>

int (*FS_EventGenerator::installer)(FS_EventGenerator*, int) = nullptr;
void (*FS_EventGenerator::eventLoopPollCallback)(bool) = nullptr;

FS_EventGenerator::~FS_EventGenerator() = default;

int FS_EventGenerator::getFileDescriptor() {
    return -1;
}

int FS_EventGenerator::getPollTime() {
    return -1;
}

bool FS_EventGenerator::areEventsWaiting() {
    return false;
}

int FS_EventGenerator::installGenerator() {
    return installer ? installer(this, 1) : 0;
}

void FS_EventGenerator::uninstallGenerator() {
    if (installer) installer(this, 0);
}

void FS_EventGenerator::pollEventLoop(bool argument) {
    if (eventLoopPollCallback) eventLoopPollCallback(argument);
}

void FS_EventGenerator::setInstaller(int (*function)(FS_EventGenerator*, int)) {
    installer = function;
}

void FS_EventGenerator::setEventLoopPollCallback(void (*callback)(bool)) {
    eventLoopPollCallback = callback;
}

bool FS_EventGenerator::isEventLoopPollCallbackSet() {
    return eventLoopPollCallback != nullptr;
}
