// The sanitizers tell of each allocation, and of what lives at a time; without them, malloc and its family are this
// file's own, which count and pass on to glibc's. With another C library the memory isn't limited. ThreadSanitizer
// holds signals back, so that under it a loop without any call is only stopped by the time limit of the test.
#include "Limits.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <string_view>

#include <malloc.h>
#include <unistd.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define FUZZ_HAS_HOOKS
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define FUZZ_HAS_HOOKS
#endif

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> mostLive{kNoLimit};

// From within malloc or a signal, so without either.
[[noreturn]] void stop(std::string_view what) {
    mostLive = kNoLimit;
    if (::write(STDERR_FILENO, what.data(), what.size()) < 0) std::abort();
    std::abort();
}

void stopForMemory() {
    stop("a run uses more memory than it may\n");
}
void stopForTime(int) {
    stop("a run takes longer than it may\n");
}

}  // namespace

#ifdef FUZZ_HAS_HOOKS
extern "C" {
std::size_t __sanitizer_get_current_allocated_bytes();
int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*, std::size_t),
                                              void (*freed)(const volatile void*));
}

namespace {

// Asking takes its time, so it is done only when what was taken since the last answer could be too much.
std::atomic<std::size_t> lastAnswer{0}, takenSince{0};

std::size_t live() {
    takenSince = 0;
    return lastAnswer = __sanitizer_get_current_allocated_bytes();
}
void noteTaken(const volatile void*, std::size_t size) {
    if (mostLive == kNoLimit) return;
    takenSince += size;
    if (lastAnswer + takenSince > mostLive && live() > mostLive) stopForMemory();
}
void noteFreed(const volatile void*) {}

const int areHooksThere = __sanitizer_install_malloc_and_free_hooks(noteTaken, noteFreed);

}  // namespace
#else
namespace {

std::atomic<std::size_t> living{0};

std::size_t live() {
    return living;
}
#ifdef __GLIBC__
void* taken(void* block) {
    if (block == nullptr) return nullptr;
    living += ::malloc_usable_size(block);
    if (living > mostLive && mostLive != kNoLimit) stopForMemory();
    return block;
}
#endif

}  // namespace
#ifdef __GLIBC__
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) noexcept {
    return taken(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    return taken(__libc_calloc(count, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return taken(__libc_memalign(alignment, size));
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return taken(__libc_memalign(alignment, size));
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    *block = taken(__libc_memalign(alignment, size));
    return *block ? 0 : ENOMEM;
}
void* realloc(void* block, std::size_t size) noexcept {
    const std::size_t before = ::malloc_usable_size(block);
    void* const moved = __libc_realloc(block, size);
    if (moved || size == 0) living -= before;
    return taken(moved);
}
void free(void* block) noexcept {
    living -= ::malloc_usable_size(block);
    __libc_free(block);
}
}
#endif
#endif

namespace {

constexpr std::chrono::microseconds kSecond = std::chrono::seconds(1);

void setTimer(const itimerval& timer) {
    if (::setitimer(ITIMER_PROF, &timer, nullptr) != 0) std::abort();
}

}  // namespace

Limits::Limits(std::size_t inputSize, std::size_t moreBytes, std::chrono::microseconds moreTime) {
#ifdef FUZZ_HAS_HOOKS
    if (areHooksThere == 0) stop("the memory can't be watched\n");
#endif
    std::signal(SIGPROF, stopForTime);
    const auto time = kTime + moreTime + kSecond * static_cast<long>(inputSize) / kBytesPerSecond;
    setTimer({.it_interval = {}, .it_value = {.tv_sec = time / kSecond, .tv_usec = (time % kSecond).count()}});
    mostLive = live() + kMemory + kMemoryPerByte * inputSize + moreBytes;
}

Limits::~Limits() {
    mostLive = kNoLimit;
    setTimer({});
}

Limits::Pause::Pause() {
    ::getitimer(ITIMER_PROF, &rest_);
    setTimer({});
}

Limits::Pause::~Pause() {
    setTimer(rest_);
}
