// Temporary files, and the list of the live ones that a signal handler may walk.
#include <fcntl.h>
#include <platform/TempFile.h>
#include <signal.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

namespace platform {

// Entries are put in front of the list and never leave it; one whose file has gone is used again. So a walk needs no
// lock, which a signal handler could not take. The text of an entry changes only while no walk is on its way: a walk
// counts itself in before it looks at the first entry, and who finds one on its way makes a new entry.
struct TempFileEntry {
    std::atomic<bool> taken = true;
    std::atomic<bool> live = false;
    pid_t owner = 0;  // a forked child inherits the list, not the files
    std::size_t room = 0;
    std::unique_ptr<char[]> path;
    TempFileEntry* next = nullptr;
};

namespace {

std::atomic<TempFileEntry*> theEntries = nullptr;
std::atomic<int> theWalks = 0;

void fill(TempFileEntry& entry, const std::string& path) {
    std::memcpy(entry.path.get(), path.c_str(), path.size() + 1);
    entry.owner = ::getpid();
    entry.live = true;
}

TempFileEntry* enlist(const std::string& path) {
    for (TempFileEntry* entry = theEntries; entry != nullptr; entry = entry->next) {
        if (entry->room <= path.size() || entry->taken.exchange(true)) continue;
        if (theWalks == 0) {
            fill(*entry, path);
            return entry;
        }
        entry->taken = false;
        break;
    }
    auto made = std::make_unique<TempFileEntry>();
    made->room = path.size() + 1;
    made->path = std::make_unique<char[]>(made->room);
    TempFileEntry* const entry = made.release();
    fill(*entry, path);
    entry->next = theEntries;
    while (!theEntries.compare_exchange_weak(entry->next, entry)) continue;
    return entry;
}

void delist(TempFileEntry* entry) {
    if (entry == nullptr) return;
    entry->live = false;
    entry->taken = false;
}

// Six letters of 64 that nobody can foresee.
bool randomLetters(char* letters) {
    constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    unsigned char random[6];
    if (::getrandom(random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) return false;
    for (std::size_t i = 0; i < sizeof random; ++i) letters[i] = kLetters[random[i] % 64];
    return true;
}

}  // namespace

// Absolute, since the current directory may change while a temporary lives.
std::string temporaryDirectory() {
    const char* named = ::secure_getenv("TMPDIR");
    if (named == nullptr || *named == '\0') return "/tmp";
    std::error_code failed;
    const std::filesystem::path absolute = std::filesystem::absolute(named, failed);
    return failed ? named : absolute.string();
}

TempFile TempFile::make(std::string_view ending) {
    std::string path = temporaryDirectory() + "/tarvani-XXXXXX" + std::string(ending);
    TempFile made;
    made.fd_.reset(::mkostemps(path.data(), static_cast<int>(ending.size()), O_CLOEXEC));
    if (made.fd_) {
        made.path_ = std::move(path);
        made.entry_ = enlist(made.path_);
    } else {
        made.error_ = errno;
    }
    return made;
}

// mkstemp knows only mode 0600, and the mask that other modes need can't be asked for without setting it for all
// threads: so the file is opened here, and the system applies the mask, or the directory's own rules.
TempFile TempFile::makeIn(const std::string& directory) {
    constexpr int kTries = 100;
    std::string path = directory + "/tarvani-XXXXXX";
    TempFile made;
    for (int i = 0; i < kTries && !made.fd_; ++i) {
        if (randomLetters(path.data() + path.size() - 6))
            made.fd_.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (!made.fd_) made.error_ = errno;
        if (!made.fd_ && made.error_ != EEXIST && made.error_ != EINTR) return made;
    }
    if (!made.fd_) return made;
    made.error_ = 0;
    made.path_ = std::move(path);
    made.entry_ = enlist(made.path_);
    return made;
}

TempFile::TempFile(TempFile&& other) noexcept {
    *this = std::move(other);
}

TempFile& TempFile::operator=(TempFile&& other) noexcept {
    if (this == &other) return *this;
    if (!kept_) remove();
    fd_ = std::move(other.fd_);
    path_ = std::exchange(other.path_, {});
    entry_ = std::exchange(other.entry_, nullptr);
    kept_ = std::exchange(other.kept_, false);
    error_ = other.error_;
    return *this;
}

TempFile::~TempFile() {
    if (!kept_) remove();
}

void TempFile::keep() {
    delist(std::exchange(entry_, nullptr));
    kept_ = true;
}

int TempFile::close() {
    // A close that was interrupted has closed all the same.
    return !fd_ || ::close(fd_.release()) == 0 || errno == EINTR ? 0 : errno;
}

void TempFile::remove() {
    if (path_.empty()) return;
    ::unlink(path_.c_str());
    forget();
}

void TempFile::forget() {
    delist(std::exchange(entry_, nullptr));
    fd_.reset();
    path_.clear();
    kept_ = false;
}

// A lease for writing is given only to the one who has the file open.
bool isInUse(const char* path) {
    const UniqueFd fd(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    // Who opens the file while the lease lasts sends us a signal. SIGIO would end the process; this one means nothing.
    if (!fd || ::fcntl(fd.get(), F_SETSIG, SIGURG) != 0) return false;
    return ::fcntl(fd.get(), F_SETLEASE, F_WRLCK) != 0 && errno == EAGAIN;
}

void removeTemporaries() {
    const int error = errno;
    ++theWalks;
    const pid_t self = ::getpid();
    for (const TempFileEntry* entry = theEntries; entry != nullptr; entry = entry->next)
        if (entry->live && entry->owner == self) ::unlink(entry->path.get());
    --theWalks;
    errno = error;
}

}  // namespace platform
