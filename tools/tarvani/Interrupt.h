#pragma once
// What happens when a signal ends the program.
#include <string>

// From now on an interrupt (INT, TERM, HUP, QUIT, PIPE) removes the library's temporary files before it ends the
// program. A file that grows beyond a limit is a failed write like any other, not the end.
void handleInterrupts();

// While it lives, an interrupt also says that this file is incomplete. One at a time.
class IncompleteFile {
public:
    explicit IncompleteFile(const std::string& path);
    ~IncompleteFile();
    IncompleteFile(const IncompleteFile&) = delete;
    IncompleteFile& operator=(const IncompleteFile&) = delete;

private:
    std::string line_;
};
