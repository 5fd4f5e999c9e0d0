#pragma once
// Private: processes and their users.
#include <string>

namespace platform {

struct ProcessState {
    bool running = false;
    bool isEndedChild = false;  // it has ended and waits for its parent, which is this process
    int exitCode = 0;           // of an ended child; 128 and the signal's number if a signal ended it
};

// Looks at a process and changes nothing: an ended child stays for its parent to wait for.
ProcessState processState(int process);
int currentProcess();
// The user as whom this process acts.
unsigned currentUser();
// The home directory: $HOME, else what the user database says; empty if neither tells an absolute path.
std::string homeDirectory();

}  // namespace platform
