// A service on a port, its host libevent's loop:   event_host_libevent [PORT]
#include "LibeventHost.h"
#include "Service.h"

int main(int argc, char** argv) {
    LibeventHost host;
    const auto service = startService(argc, argv);
    if (service) host.run();
    return 1;
}
