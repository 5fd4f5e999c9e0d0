#include "FaultPlan.h"

#include <dlfcn.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

struct Plan {
    bool active = false;
    Call call{};
    int left = 0;  // calls that still succeed
    int error = 0;
    bool onwards = false;
    bool struck = false;
};
Plan thePlan;

bool strikes(Call call) {
    if (!thePlan.active || thePlan.call != call || thePlan.left-- > 0) return false;
    if (thePlan.struck && !thePlan.onwards) return false;
    thePlan.struck = true;
    if (thePlan.error == FaultPlan::kInterrupt) {
        ::raise(SIGTERM);
        return false;
    }
    errno = thePlan.error;
    return true;
}

// The system's own function.
template <class Result, class... Arguments>
Result real(const char* name, Arguments... arguments) {
    return reinterpret_cast<Result (*)(Arguments...)>(::dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace

FaultPlan::FaultPlan(Call call, int nth, int error, bool onwards) {
    thePlan = {true, call, nth, error, onwards, false};
}

bool FaultPlan::lift() {
    thePlan.active = false;
    return thePlan.struck;
}

extern "C" {

ssize_t write(int fd, const void* data, size_t count) {
    return strikes(Call::Write) ? -1 : real<ssize_t>("write", fd, data, count);
}
ssize_t copy_file_range(int from, off64_t* fromAt, int to, off64_t* toAt, size_t count, unsigned flags) {
    return strikes(Call::CopyFileRange) ? -1 : real<ssize_t>("copy_file_range", from, fromAt, to, toAt, count, flags);
}
int fallocate(int fd, int mode, off_t offset, off_t length) {
    if (!strikes(Call::Fallocate)) return real<int>("fallocate", fd, mode, offset, length);
    if (thePlan.error == ENOSPC) {  // some file systems have made the file longer by then
        real<int>("fallocate", fd, mode, offset, length);
        errno = ENOSPC;
    }
    return -1;
}
int ftruncate(int fd, off_t length) noexcept {
    return strikes(Call::Ftruncate) ? -1 : real<int>("ftruncate", fd, length);
}
int close(int fd) {
    const bool fails = strikes(Call::Close);
    const int error = errno, result = real<int>("close", fd);  // one that tells of an error has closed
    if (fails) errno = error;
    return fails ? -1 : result;
}
int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags) noexcept {
    return strikes(Call::Rename) ? -1 : real<int>("renameat2", fromDirectory, from, toDirectory, to, flags);
}
int rename(const char* from, const char* to) noexcept {
    return strikes(Call::Rename) ? -1 : real<int>("rename", from, to);
}
int mkostemps(char* pattern, int endingLength, int flags) {
    return strikes(Call::MakeTemporary) ? -1 : real<int>("mkostemps", pattern, endingLength, flags);
}
int accept4(int listening, sockaddr* address, socklen_t* length, int flags) {
    return strikes(Call::Accept) ? -1 : real<int>("accept4", listening, address, length, flags);
}
}
