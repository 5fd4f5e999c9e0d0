// The last step of everything that writes over a file: reserve, copy and cut, or write beside and rename.
#include <fcntl.h>
#include <platform/Directory.h>
#include <platform/FileReplace.h>
#include <platform/Uninterrupted.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <memory>

namespace platform {

namespace {

// Holds interrupting signals back from this thread while a file is half old and half new. A size limit of the process
// then shows as an error, not by a signal.
class HeldSignals {
public:
    HeldSignals() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) sigaddset(&held, signal);
        ::pthread_sigmask(SIG_BLOCK, &held, &before_);
    }
    ~HeldSignals() {
        sigset_t limit;
        sigemptyset(&limit);
        sigaddset(&limit, SIGXFSZ);
        const timespec now{};
        ::sigtimedwait(&limit, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t before_;
};

constexpr std::size_t kCopyBlock = 256 * 1024;

// The rest of what the system's own copy could not do, such as between two file systems.
int copyThroughBuffer(int from, off_t position, off_t length, int to) {
    const auto buffer = std::make_unique_for_overwrite<char[]>(kCopyBlock);
    while (position < length) {
        const auto wanted = static_cast<std::size_t>(std::min<off_t>(kCopyBlock, length - position));
        const ssize_t n = uninterrupted([&] { return ::pread(from, buffer.get(), wanted, position); });
        if (n < 0) return errno;
        if (n == 0) return EIO;
        if (const int error = writeAll(to, buffer.get(), static_cast<std::size_t>(n))) return error;
        position += n;
    }
    return 0;
}

// The first `length` bytes of `from` to where `to` stands. 0 or errno.
int copyBytes(int from, off_t length, int to) {
    off_t position = 0;
    while (position < length) {
        const auto wanted = static_cast<std::size_t>(length - position);
        const ssize_t n = uninterrupted([&] { return ::copy_file_range(from, &position, to, nullptr, wanted, 0); });
        if (n <= 0) break;  // whether that was the system's or the disk's refusal, the plain copy finds out
    }
    return copyThroughBuffer(from, position, length, to);
}

// Where the file system can't reserve, writing takes the room.
int writeBehind(int fd, off_t end, off_t length) {
    const auto zeros = std::make_unique<char[]>(kCopyBlock);
    if (::lseek(fd, end, SEEK_SET) < 0) return errno;
    while (end < length) {
        const auto count = static_cast<std::size_t>(std::min<off_t>(kCopyBlock, length - end));
        if (const int error = writeAll(fd, zeros.get(), count)) return error;
        end += static_cast<off_t>(count);
    }
    return ::lseek(fd, 0, SEEK_SET) < 0 ? errno : 0;
}

// Cuts or lengthens. 0 or errno.
int setLength(int fd, off_t length) {
    return uninterrupted([&] { return ::ftruncate(fd, length); }) == 0 ? 0 : errno;
}

// Room for `length` bytes, holes filled, so that the copy can't run out of it. When there is none the file is as it
// was. 0 or errno.
int reserve(int fd, off_t oldLength, off_t length) {
    if (length == 0) return 0;
    int error = uninterrupted([&] { return ::fallocate(fd, 0, 0, length); }) == 0 ? 0 : errno;
    if (error == EOPNOTSUPP || error == ENOSYS) error = writeBehind(fd, oldLength, length);
    if (error == 0 || length <= oldLength) return error;
    const int cutError = setLength(fd, oldLength);
    return cutError != 0 ? cutError : error;
}

// `touched` tells after a failure whether the old bytes have begun to change.
int copyOver(int from, off_t length, int to, bool& touched) {
    struct stat old {};
    if (::fstat(to, &old) != 0) return errno;
    // A terminal or a pipe takes the bytes as they come.
    const bool regular = S_ISREG(old.st_mode);
    if (regular)
        if (const int error = reserve(to, old.st_size, length)) return error;
    touched = true;
    if (const int error = copyBytes(from, length, to)) return error;
    return regular ? setLength(to, length) : 0;
}

// The path that a new file will bear: a symbolic link to nothing is followed, as opening it would.
std::string followLinks(std::string path) {
    constexpr int kMostLinks = 40;
    char buffer[PATH_MAX];
    for (int i = 0; i < kMostLinks; ++i) {
        const ssize_t n = ::readlink(path.c_str(), buffer, sizeof buffer);
        if (n <= 0) break;
        const std::string_view link(buffer, static_cast<std::size_t>(n));
        const std::size_t directory = link.front() == '/' ? 0 : path.rfind('/') + 1;
        path.replace(directory, path.npos, link);
    }
    return path;
}

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Gives a file a name that no other file bears, in one step where the file system knows how. 0 or errno.
int renameToNew(const char* from, const char* to) {
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    if (::link(from, to) == 0) return ::unlink(from) == 0 ? 0 : errno;
    if (errno != EPERM && errno != EOPNOTSUPP) return errno;
    if (::access(to, F_OK) == 0) return EEXIST;
    return ::rename(from, to) == 0 ? 0 : errno;
}

}  // namespace

std::string replacementEnding(const FileStatus& target) {
    char ending[40];
    std::snprintf(ending, sizeof ending, ".%llx-%llx", static_cast<unsigned long long>(target.device),
                  static_cast<unsigned long long>(target.inode));
    return ending;
}

ReplacementFile::ReplacementFile(std::string target, ReplaceBy how)
    : name_(std::move(target)), how_(how), error_(success()) {
    prepare();
    if (error_.done && !temporary_) error_ = failure("temporary file in $TMPDIR", temporary_.error());
    stream_.emplace(error_.done ? temporary_.fd() : -1);
}

void ReplacementFile::prepare() {
    struct stat old {};
    if (::stat(name_.c_str(), &old) != 0) {
        if (errno == ENOENT)
            prepareBeside(followLinks(name_));
        else
            error_ = failure(name_, errno);
        return;
    }
    // Opened now: a target that may not be written is refused before the work is done, and what was looked at is what
    // is written.
    old_.reset(::open(name_.c_str(), O_WRONLY | O_CLOEXEC));
    if (!old_) {
        error_ = failure(name_, errno);
        return;
    }
    if (how_ == ReplaceBy::Rename && S_ISREG(old.st_mode)) {
        if (auto real = realPath(name_.c_str())) prepareBeside(*std::move(real));
        if (temporary_) {
            // Owner and mode as they were, as far as this user may set them.
            [[maybe_unused]] const int chowned = ::fchown(temporary_.fd(), old.st_uid, old.st_gid);
            if (::fchmod(temporary_.fd(), old.st_mode & 07777) != 0) error_ = failure(name_, errno);
            return;
        }
        target_.clear();
        error_ = success();
    }
    temporary_ = TempFile::make(replacementEnding(fileStatus(old_.get())));
}

void ReplacementFile::prepareBeside(std::string path) {
    target_ = std::move(path);
    temporary_ = TempFile::makeIn(directoryOf(target_));
    if (!temporary_) error_ = failure(name_, temporary_.error());
}

Outcome ReplacementFile::commit() {
    Outcome outcome = error_.done ? place() : error_;
    error_ = failure(name_ + ": already done");
    if (!outcome.done && !touched_) outcome.reason += "; nothing was written";
    if (!outcome.done) stream_->setstate(std::ios_base::failbit);
    return outcome;
}

Outcome ReplacementFile::place() {
    Outcome outcome = success();
    if (!stream_->close())
        outcome = stream_->error() != 0 ? failure(temporary_.path(), stream_->error())
                                        : failure(name_ + ": the new content could not be made whole");
    if (outcome.done) return target_.empty() ? copyToOld() : giveName();
    temporary_.remove();
    return outcome;
}

Outcome ReplacementFile::copyToOld() {
    // Of two that write over one file at once the second waits, or their bytes would mix. Not where copying is the
    // rule: there a caller may hold a lock of its own on the file.
    if (how_ == ReplaceBy::Rename) uninterrupted([&] { return ::flock(old_.get(), LOCK_EX); });
    const HeldSignals held;
    // While the old bytes change the temporary is the only whole copy: no signal handler may take it.
    temporary_.keep();
    const FileStatus content = fileStatus(temporary_.fd());
    int error = content.error;
    if (error == 0) error = copyOver(temporary_.fd(), content.size, old_.get(), touched_);
    if (::close(old_.release()) != 0 && errno != EINTR && error == 0) error = errno;
    if (error != 0 && touched_)
        return failure(name_ + ": " + errorWords(error) + "; the new content is whole in " + temporary_.path());
    temporary_.remove();
    return error == 0 ? success() : failure(name_, error);
}

Outcome ReplacementFile::giveName() {
    int error = temporary_.close();
    if (error == 0 && how_ == ReplaceBy::Rename)
        error = ::rename(temporary_.path().c_str(), target_.c_str()) == 0 ? 0 : errno;
    else if (error == 0)
        error = renameToNew(temporary_.path().c_str(), target_.c_str());
    if (error == 0)
        temporary_.forget();
    else
        temporary_.remove();
    return error == 0 ? success() : failure(name_, error);
}

}  // namespace platform
