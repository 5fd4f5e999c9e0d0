#pragma once
// Private: a file that is there only while it is needed.
//
//     TempFile file = TempFile::make();
//     if (!file) return failure("temporary file", file.error());
//     write(file.fd(), ...);
//
// A temporary goes with its object, on every way out, unless keep() ran. For a program that is told to stop, all live
// ones of the process stand in a list that removeTemporaries() may walk inside a signal handler.
#include <platform/UniqueFd.h>

#include <string>
#include <string_view>

namespace platform {

struct TempFileEntry;  // of the list of live temporaries

class TempFile {
public:
    // None.
    TempFile() = default;
    // A new empty file in $TMPDIR, else in /tmp, open for reading and writing: "tarvani-" and random letters, mode
    // 0600, close-on-exec. `ending` stands behind the letters, so that an extension can be kept.
    static TempFile make(std::string_view ending = {});
    // The same in `directory`, with the mode that a new file gets: 0666 less the mask.
    static TempFile makeIn(const std::string& directory);
    TempFile(TempFile&& other) noexcept;
    TempFile& operator=(TempFile&& other) noexcept;
    ~TempFile();

    // True while there is a file.
    explicit operator bool() const { return !path_.empty(); }
    // errno of the failed creation; 0 otherwise.
    int error() const { return error_; }
    const std::string& path() const { return path_; }
    int fd() const { return fd_.get(); }

    // From now on the file stays: neither the destructor nor removeTemporaries() touches it.
    void keep();
    // Closes the file, which stays. 0, or errno when what was written didn't all arrive.
    [[nodiscard]] int close();
    // Closes and removes the file now, also after keep().
    void remove();
    // Closes the file and lets go of its path, which now means something else: the file bears another name.
    void forget();

private:
    UniqueFd fd_;
    std::string path_;
    TempFileEntry* entry_ = nullptr;
    bool kept_ = false;
    int error_ = 0;
};

// Where make() puts its files.
std::string temporaryDirectory();
// True if somebody has the file open. False, too, where that can't be known: another user's file, a file system without
// leases.
bool isInUse(const char* path);
// Removes the files of all live temporaries that this process made. Safe inside a signal handler; errno is as before.
void removeTemporaries();

}  // namespace platform
