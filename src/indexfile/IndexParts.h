#pragma once
// Private: what the sources of FS_IndexFile share.
#include <UT/UT_IStream.h>
#include <indexfile/FS_IndexFile.h>
#include <platform/FileStatus.h>
#include <platform/Outcome.h>
#include <stream/FS_FilterFactory.h>
#include <stream/FS_Reader.h>

#include <memory>
#include <string>
#include <string_view>

inline bool isSameFile(const platform::FileStatus& a, const platform::FileStatus& b) {
    return a && b && a.device == b.device && a.inode == b.inode;
}

// Gives the reason to who asked for one. Always false.
inline bool refuse(UT_String* reason, std::string_view words) {
    if (reason != nullptr) reason->harden(words);
    return false;
}

// Whether a container may take the place of `there`, which is what stands at the path of a local file: nothing, an
// empty file, or another container.
platform::Outcome mayReplace(const std::string& file, const platform::FileStatus& there);

// What is known of one section, whether it stands in the table as read or has an FS_Section of its own.
struct FS_IndexFile::Place {
    const char* name = nullptr;
    int offset = 0;  // -1: in memory or linked, see section
    int modTime = 0;
    int dataSize = 0;
    int sectionSize = 0;
    const FS_Section* section = nullptr;  // null while the table stands for it

    static Place of(const FS_Section& s) { return {s.getName(), s.offset, s.modTime, s.dataSize, s.sectionSize, &s}; }
    // Otherwise there is a section, and its bytes are in memory or linked.
    bool isStored() const { return section == nullptr || offset >= 0; }
};

// Holds the source open for one operation, however it ends. Within another such operation it costs nothing.
class FS_IndexFile::OpenSource {
public:
    explicit OpenSource(const FS_IndexFile& file) : file_(file), wasOpen_(file.reader != nullptr) {
        file_.openStream();
    }
    ~OpenSource() {
        if (!wasOpen_) file_.closeStream();
    }
    OpenSource(const OpenSource&) = delete;
    OpenSource& operator=(const OpenSource&) = delete;

    // Null when the source can't be opened.
    UT_IStream* stream() const {
        UT_IStream* const found = file_.reader ? file_.reader->getStream() : nullptr;
        return found != nullptr && found->getSource() ? found : nullptr;
    }

private:
    const FS_IndexFile& file_;
    const bool wasOpen_;
};

// Where the bytes of linked sections lie: in a file that is opened when they are needed, or in the source of another
// container, kept open for all the sections that were taken from it at one time.
struct FS_IndexFile::FS_Section::Link {
    std::string file;
    FS_Reader source{nullptr};                                  // without a stream where there is a file
    std::unique_ptr<FS_IStreamFilterFactory> filter = nullptr;  // what the bytes pass through; null for none

    // The path of the file that the bytes come from; empty where there is none.
    std::string origin() const;
    // Whether they come from a stretch of this file, and so move when it is written anew.
    bool leadsInto(const platform::FileStatus& file) const;
    FS_Reader open() const { return file.empty() ? source : FS_Reader(file.c_str()); }
};
