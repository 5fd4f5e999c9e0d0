#pragma once
// Private: gives a file new content so that good data is never lost to half of the new.
//
//     ReplacementFile file("/d/x.idx", ReplaceBy::Copy);
//     write(file.stream(), ...);
//     if (Outcome done = file.commit(); !done.done) return done.reason;
//
// All content first goes to a temporary file; nothing happens to the target before commit(). Without a commit, or when
// it fails, the target stays as it was and the temporary goes. The one exception: when the disk fails in the middle of
// copying over the old bytes, the temporary is the only whole copy and is kept, and the reason names it.
#include <platform/FileStatus.h>
#include <platform/FileStreamBuf.h>
#include <platform/Outcome.h>
#include <platform/TempFile.h>

#include <optional>
#include <string>

namespace platform {

// What happens to a target that is there. One that is missing is always written beside its place and then given its
// name, so that it appears whole.
enum class ReplaceBy {
    Copy,    // into the same file: inode, mode, owner and links stay. Room is reserved before the first byte changes.
             // One that was missing and is there by then is another's: the commit fails
    Rename,  // over it, also if it came meanwhile; by copy only where the directory takes no new file
};

// The ending of the name that a temporary has which will be copied over a file: by it the only whole copy is found
// again when the program is killed in the middle.
std::string replacementEnding(const FileStatus& target);

class ReplacementFile {
public:
    // Finds out where the content goes, through symbolic links, and opens what is needed. When that can't be done,
    // error() tells and stream() is in a failed state.
    ReplacementFile(std::string target, ReplaceBy how);

    const Outcome& error() const { return error_; }
    // Where the new content is written.
    FileOutput& stream() { return *stream_; }
    // The file that takes what is written before it has its place.
    const std::string& temporary() const { return temporary_.path(); }
    // Puts the content into its place. Fails if the stream did: nothing incomplete is put anywhere. A second call
    // fails.
    Outcome commit();

private:
    void prepare();
    void prepareBeside(std::string path);
    Outcome place();
    Outcome copyToOld();
    Outcome giveName();

    const std::string name_;  // as the caller calls the target
    const ReplaceBy how_;
    std::string target_;  // what the temporary is named in the end; empty where it is copied
    UniqueFd old_;        // the target that is there, open for writing
    TempFile temporary_;
    std::optional<FileOutput> stream_;
    Outcome error_;
    bool touched_ = false;  // old bytes have begun to change
};

}  // namespace platform
