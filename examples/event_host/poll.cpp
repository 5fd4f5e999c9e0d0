// A service on a port, its host a loop over poll:   event_host_poll [PORT]
#include "PollHost.h"
#include "Service.h"

int main(int argc, char** argv) {
    PollHost host;
    const auto service = startService(argc, argv);
    while (service) host.turn();
    return 1;
}
