#pragma once
// Private: a stay in another directory.
//
//     platform::WorkingDirectory here;
//     if (!here.enter(path, platform::Links::Follow)) return false;
//     ...
//     return here.restore();
#include <fcntl.h>
#include <platform/UniqueFd.h>
#include <unistd.h>

namespace platform {

// Whether a path's last component may be a symbolic link.
enum class Links { Follow, Refuse };

// Remembers the current directory and comes back to it in the end. It is held as a descriptor, so that its depth, its
// name and whether it can be read don't matter.
class WorkingDirectory {
public:
    WorkingDirectory() : home_(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
    ~WorkingDirectory() { static_cast<void>(restore()); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    // False, and nothing has changed, when the directory can't be entered or there would be no way back.
    [[nodiscard]] bool enter(const char* path, Links links) {
        const int noFollow = links == Links::Refuse ? O_NOFOLLOW : 0;
        const UniqueFd there(::open(path, O_PATH | O_DIRECTORY | O_CLOEXEC | noFollow));
        away_ = home_ && there && ::fchdir(there.get()) == 0;
        return away_;
    }
    // True when the process is where it was.
    [[nodiscard]] bool restore() {
        if (away_ && ::fchdir(home_.get()) == 0) away_ = false;
        return !away_;
    }

private:
    const UniqueFd home_;
    bool away_ = false;
};

}  // namespace platform
