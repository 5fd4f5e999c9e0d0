#include "FaultPlan.h"

#include <dlfcn.h>
#include <signal.h>
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

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
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
    static const auto real = next<ssize_t(int, const void*, size_t)>("write");
    return strikes(Call::Write) ? -1 : real(fd, data, count);
}
ssize_t copy_file_range(int from, off64_t* fromAt, int to, off64_t* toAt, size_t count, unsigned flags) {
    static const auto real = next<ssize_t(int, off64_t*, int, off64_t*, size_t, unsigned)>("copy_file_range");
    return strikes(Call::CopyFileRange) ? -1 : real(from, fromAt, to, toAt, count, flags);
}
int fallocate(int fd, int mode, off_t offset, off_t length) {
    static const auto real = next<int(int, int, off_t, off_t)>("fallocate");
    if (!strikes(Call::Fallocate)) return real(fd, mode, offset, length);
    if (thePlan.error == ENOSPC) {  // some file systems have made the file longer by then
        real(fd, mode, offset, length);
        errno = ENOSPC;
    }
    return -1;
}
int ftruncate(int fd, off_t length) noexcept {
    static const auto real = next<int(int, off_t)>("ftruncate");
    return strikes(Call::Ftruncate) ? -1 : real(fd, length);
}
int close(int fd) {
    static const auto real = next<int(int)>("close");
    const bool failed = strikes(Call::Close);
    const int error = errno;
    const int result = real(fd);  // a close that tells of an error has closed
    if (!failed) return result;
    errno = error;
    return -1;
}
int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags) noexcept {
    static const auto real = next<int(int, const char*, int, const char*, unsigned)>("renameat2");
    return strikes(Call::Rename) ? -1 : real(fromDirectory, from, toDirectory, to, flags);
}
int rename(const char* from, const char* to) noexcept {
    static const auto real = next<int(const char*, const char*)>("rename");
    return strikes(Call::Rename) ? -1 : real(from, to);
}
int mkostemps(char* pattern, int endingLength, int flags) {
    static const auto real = next<int(char*, int, int)>("mkostemps");
    return strikes(Call::MakeTemporary) ? -1 : real(pattern, endingLength, flags);
}
}
