#pragma once
// Finds the temporary file that a killed program left where a container was being written, and puts it in its place.
//
//     FS_IndexRecovery recovery("scene.idx");
//     for (const FS_IndexRecovery::Leftover& found : recovery.getLeftovers())
//         if (found.state == FS_IndexRecovery::State::Ready) recovery.put(found.path.c_str(), &reason);
//
// A container that is there is written over in one last step, from a temporary file in $TMPDIR that holds all of the
// new content. A program that is killed in that step leaves the container half old and half new, and the temporary file
// as the only whole copy; its name tells of which file. One that is killed earlier leaves the container as it was.
// Nothing throws or prints. For one thread at a time.
#include <UT/UT_Export.h>

#include <cstdint>
#include <string>
#include <vector>

class UT_String;

class TARVANI_EXPORT FS_IndexRecovery {
public:
    // What is to be thought of a temporary file.
    enum class State {
        Ready,       // whole, and the file is older, damaged or half-written: may be put in its place
        Same,        // the file holds all of it already
        Older,       // whole, but the file is whole too and has changed since
        Unclaimed,   // whole and beside a file that is missing, but nothing tells whose it is
        Incomplete,  // no whole container
        InUse,       // a program has it open
    };
    // One temporary file that was found.
    struct Leftover {
        std::string path;                 // as put takes it
        State state = State::Incomplete;  // when it was looked at
        std::int64_t size = 0;            // bytes
        std::int64_t time = 0;            // last modification, in seconds since the epoch
        int sections = 0;                 // in its table
        std::string fault;                // what is wrong with one that is incomplete
    };

    // Looks for temporary files of the container in the local file `path`, in $TMPDIR for one that is there, beside its
    // place for one that is missing.
    explicit FS_IndexRecovery(const char* path);

    // The newest first.
    const std::vector<Leftover>& getLeftovers() const { return leftovers_; }
    // What is wrong with the file now; empty if it is a whole container.
    const std::string& getFault() const { return fault_; }
    // The directory that was looked in.
    const std::string& getDirectory() const { return directory_; }

    // Puts a whole container, of whatever state and place, into the file, by the commit that every writer uses, and
    // removes it from where it was. False, with the reason in words and nothing changed, if it isn't whole or is in
    // use, and if the file holds something else than a container, or than the room that a commit has reserved for one.
    bool put(const char* temporary, UT_String* reason = nullptr);

private:
    bool isOwn(const std::string& name) const;
    Leftover lookAt(const std::string& temporary) const;

    std::string path_;
    std::string directory_;
    std::string ending_;  // of the names of its temporaries
    std::string fault_;
    bool isWritersOwn_ = false;  // the file is as a writer leaves it
    std::vector<Leftover> leftovers_;
};
