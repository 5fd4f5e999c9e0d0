#pragma once
// The one thing that everything is read from: bytes at positions. A UT_IStream is a window on a source; many windows
// share one source, and the last of them releases it. Memory, files and C files come from the make functions below;
// applications and filters derive from UT_ByteSource for what they have themselves:
//
//     class Zeros : public UT_ByteSource {
//         int64_t size() const override { return 1000; }
//         int64_t readAt(int64_t position, char* out, size_t count) override { ... }
//     };
//     UT_IStream stream(std::make_shared<Zeros>(), UT_ISTREAM_BINARY);
#include <UT/UT_Export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

// A stretch of a source that lies in memory. It stays valid for as long as `bytes` is held.
struct UT_ByteBlock {
    std::shared_ptr<const char[]> bytes;  // shared with the source and other blocks of it
    std::int64_t start = 0;               // position in the source of bytes[0]
    std::size_t length = 0;               // 0: there is nothing at the position that was asked for
    bool failed = false;                  // there is nothing because reading failed, not because the source ends

    // True if the byte at `position` of the source lies in this block.
    bool holds(std::int64_t position) const {
        return start >= 0 && position >= start && static_cast<std::uint64_t>(position - start) < length;
    }
};

class TARVANI_EXPORT UT_ByteSource {
public:
    // Bytes that one read-ahead takes. Small blocks that are used again beat large fresh ones.
    static constexpr std::size_t kBlockSize = 64 * 1024;

    UT_ByteSource();
    virtual ~UT_ByteSource();
    UT_ByteSource(const UT_ByteSource&) = delete;
    UT_ByteSource& operator=(const UT_ByteSource&) = delete;

    // Bytes in all, or -1 where that is known only at the end (a pipe, a generated file).
    virtual std::int64_t size() const = 0;
    // Reads up to `count` bytes that start at `position` into `out`. Gives the number read, which is less than `count`
    // only at the end; 0 at the end; -1 when reading failed, and from a source that can't seek at any position but the
    // one behind what was read last. Called from several threads where windows live on several.
    virtual std::int64_t readAt(std::int64_t position, char* out, std::size_t count) = 0;
    // False if the bytes can only be read one behind the other: a pipe.
    virtual bool isSeekable() const { return true; }
    // A stretch in memory that holds `position`, or one of length 0 at the end and, marked so, after a failure. This
    // form reads ahead by one block and keeps it for whoever asks next, so that neighbouring windows cost one read
    // together; a block that nobody holds any more is filled again in place. Safe for windows that live on different
    // threads.
    virtual UT_ByteBlock block(std::int64_t position);

private:
    friend class UT_IStream;

    bool isNearBlock(std::int64_t position);

    std::atomic_flag busy_;  // set while someone uses the two below; who finds it set reads for himself
    UT_ByteBlock kept_;
    std::size_t keptRoom_ = 0;  // bytes that the storage of kept_ has
};

// Bytes in memory. The first form copies them; the second shares them and copies nothing.
TARVANI_EXPORT std::shared_ptr<UT_ByteSource> UTmakeMemorySource(const char* data, std::size_t length);
TARVANI_EXPORT std::shared_ptr<UT_ByteSource> UTmakeMemorySource(std::shared_ptr<const char[]> data,
                                                                 std::size_t length);
// A file opened by its path as it stands, for positioned reads. Null when it can't be opened or is a directory; errno
// tells why.
TARVANI_EXPORT std::shared_ptr<UT_ByteSource> UTmakeFileSource(const char* path);
// A C file, borrowed: it must outlive the source. Position 0 is where it stands now. Forward only if it can't seek.
TARVANI_EXPORT std::shared_ptr<UT_ByteSource> UTmakeCFileSource(std::FILE* file);
