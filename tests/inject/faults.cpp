// Preloaded into a program: lets one of its calls to the system, or for memory, fail. At the end it reports how often
// each was made, whether one was struck, and which descriptors are still open.
//
//     FAULT_REPORT=/tmp/report FAULT_CALL=write FAULT_AT=3 FAULT_HOW=always LD_PRELOAD=./faults.so program
//
// FAULT_HOW: "once"; "always", from there on; "short", it does half of it; "interrupt", a signal comes before it.
#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

// Each with the error that it gives and the value that tells of it.
// clang-format off
#define CALLS(X) \
    X(open, EMFILE, -1) X(close, EIO, -1) X(read, EIO, -1) X(pread, EIO, -1) X(write, ENOSPC, -1) X(lseek, EIO, -1) \
    X(fstat, EIO, -1) X(stat, EIO, -1) X(lstat, EIO, -1) X(fstatat, EIO, -1) X(access, EIO, -1) X(opendir, EMFILE, 0) \
    X(readdir, EIO, 0) X(realpath, EIO, 0) X(readlink, EIO, -1) X(getcwd, EIO, 0) X(fchdir, EIO, -1) X(mkdir, ENOSPC, -1) \
    X(mkostemps, EMFILE, -1) X(fallocate, ENOSPC, -1) X(ftruncate, EIO, -1) X(copy_file_range, EIO, -1) X(rename, EIO, -1) \
    X(renameat2, EIO, -1) X(unlink, EIO, -1) X(fchmod, EIO, -1) X(fchown, EIO, -1) X(utimensat, EIO, -1) \
    X(futimens, EIO, -1) X(flock, ENOLCK, -1) X(getrandom, EAGAIN, -1) X(socket, EMFILE, -1) X(connect, ETIMEDOUT, -1) \
    X(poll, ENOMEM, -1) X(send, ECONNRESET, -1) X(recv, ECONNRESET, -1) X(getsockopt, ENOBUFS, -1) \
    X(getaddrinfo, EAGAIN, EAI_AGAIN) X(memory, ENOMEM, 0)
// clang-format on

namespace {

// Numbers and addresses alike travel in registers of this size, so one signature does for all calls.
using Word = long;
#define NUMBER(name, error, failed) k_##name,
enum Number { CALLS(NUMBER) kNone };
struct Call {
    const char* name;
    int error;
    Word failed;
    Word (*real)(Word, Word, Word, Word, Word);
    long made;
};
#define ROW(name, error, failed) {#name, error, failed, nullptr, 0},
Call calls[] = {CALLS(ROW)};

bool active = false, struck = false, within = false;
const char* chosen = "";
const char* how = "";
long at = 0;
int (*theMain)(int, char**, char**) = nullptr;

template <class Type>
Type* next(const char* name) {
    return reinterpret_cast<Type*>(::dlsym(RTLD_NEXT, name));
}

bool strikes(Call& call) {
    if (!active || within) return false;
    ++call.made;
    if (std::strcmp(call.name, chosen) != 0 || call.made < at || (call.made > at && *how != 'a')) return false;
    errno = *how == 'i' ? EINTR : call.error;
    return struck = true;
}

Word through(Number number, Word a, Word b, Word c, Word d, Word e) {
    Call& call = calls[number];
    if (!call.real) call.real = next<Word(Word, Word, Word, Word, Word)>(call.name);
    const bool isMessage = number == k_write && a == STDERR_FILENO;
    if (isMessage || !strikes(call)) return call.real(a, b, c, d, e);
    const int error = errno;
    Word& count = number == k_copy_file_range ? e : c;
    if (*how == 's') count = (count + 1) / 2;
    if (*how == 's') return call.real(a, b, c, d, e);
    if (number == k_close) call.real(a, b, c, d, e);  // one that tells of an error has closed
    errno = error;
    return call.failed;
}

// Null if it is to fail. What `make` asks of others in turn isn't counted again.
template <class Make>
void* memory(Make make) {
    if (strikes(calls[k_memory])) return nullptr;
    const bool outer = within;
    within = true;
    void* const made = make();
    within = outer;
    return made;
}

// In place of main: nothing before it could be caught.
int begin(int count, char** words, char** environment) {
    const auto text = [](const char* name) { return ::getenv(name) ? ::getenv(name) : ""; };
    chosen = text("FAULT_CALL");
    how = text("FAULT_HOW");
    at = std::atol(text("FAULT_AT"));
    active = true;
    return theMain(count, words, environment);
}

// Runs when all that the program holds has been given back.
__attribute__((destructor)) void end() {
    active = false;
    std::FILE* const report = ::getenv("FAULT_REPORT") ? std::fopen(::getenv("FAULT_REPORT"), "w") : nullptr;
    if (!report) return;
    for (const Call& call : calls)
        if (call.made > 0) std::fprintf(report, "%s %ld\n", call.name, call.made);
    std::fprintf(report, "struck %d\n", struck);
    for (int fd = STDERR_FILENO + 1; fd < 1024; ++fd)
        if (fd != ::fileno(report) && ::fcntl(fd, F_GETFD) >= 0) std::fprintf(report, "descriptor %d\n", fd);
    std::fclose(report);
}

}  // namespace

#define WRAPPER(name, error, failed)                                           \
    extern "C" Word fault_##name(Word, Word, Word, Word, Word) __asm__(#name); \
    Word fault_##name(Word a, Word b, Word c, Word d, Word e) {                \
        return through(k_##name, a, b, c, d, e);                               \
    }
CALLS(WRAPPER)

#define ALLOCATION(symbol, parameters, arguments, failed)          \
    extern "C" void* fault_##symbol parameters __asm__(#symbol);   \
    void* fault_##symbol parameters {                              \
        static const auto real = next<void * parameters>(#symbol); \
        void* const made = memory([&] { return real arguments; }); \
        return made ? made : failed;                               \
    }
ALLOCATION(malloc, (std::size_t size), (size), nullptr)
ALLOCATION(calloc, (std::size_t count, std::size_t size), (count, size), nullptr)
ALLOCATION(realloc, (void* old, std::size_t size), (old, size), nullptr)
ALLOCATION(_Znwm, (std::size_t size), (size), throw std::bad_alloc())
ALLOCATION(_Znam, (std::size_t size), (size), throw std::bad_alloc())

extern "C" int fault_start(int (*)(int, char**, char**), Word, Word, Word, Word, Word,
                           Word) __asm__("__libc_start_main");
int fault_start(int (*main)(int, char**, char**), Word a, Word b, Word c, Word d, Word e, Word f) {
    theMain = main;
    return next<decltype(fault_start)>("__libc_start_main")(begin, a, b, c, d, e, f);
}
