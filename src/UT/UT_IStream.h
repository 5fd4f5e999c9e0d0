#pragma once
// The input stream: a window on a byte source, with a position of its own. Streams over one source never disturb each
// other, and a sub-stream is another window on the same source, so that it costs no copy and outlives the stream that
// it came from.
//
//     UT_IFStream file("scene.txt", UT_ISTREAM_BINARY);
//     UT_WorkBuffer line;
//     while (file.getLine(line, '\n')) use(line.buffer());
//
// A stream is for one thread at a time. Nothing but std::bad_alloc is thrown; a failed read gives 0 or false and the
// stream is at its end.
#include <UT/UT_ByteSource.h>
#include <UT/UT_Export.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

class UT_String;
class UT_WorkBuffer;

// How a stream reads values: as words of text, or as the bytes of binary files.
enum UT_ISTREAM_READTYPE { UT_ISTREAM_ASCII = 0, UT_ISTREAM_BINARY = 1 };
// The mode of a binary string: a 32-bit little-endian length and the bytes. The only one.
enum UT_ISTREAM_RLE_IO { UT_ISTREAM_RLE32 = 32 };

class TARVANI_EXPORT UT_IStream {
public:
    // Over a copy of `length` bytes at `data`; null or a negative length is an empty stream.
    UT_IStream(const char* data, int length, UT_ISTREAM_READTYPE type);
    // Over shared bytes, copying nothing.
    UT_IStream(std::shared_ptr<const char[]> data, std::int64_t length, UT_ISTREAM_READTYPE type);
    // Over a C file, borrowed, from where it stands. Forward only if it can't seek: seekg then gives false.
    UT_IStream(std::FILE* file, UT_ISTREAM_READTYPE type);
    // Over a whole source; null is a stream that is at its end, as a file that can't be opened is.
    UT_IStream(std::shared_ptr<UT_ByteSource> source, UT_ISTREAM_READTYPE type);
    virtual ~UT_IStream();
    UT_IStream(const UT_IStream&) = delete;
    UT_IStream& operator=(const UT_IStream&) = delete;

    // Reads up to `count` bytes. Gives the number read: less than `count` at the end, 0 when there was none or reading
    // failed. A large read goes straight into `buffer`.
    int bread(char* buffer, int count);
    // Reads up to `count` little-endian 32-bit integers. Gives the number of whole ones; the inverse of UTwrite.
    int bread(int* values, int count);
    // Reads a 32-bit length and that many bytes, cut at a NUL. False when the stream ends before the length says, or
    // the length is negative; memory follows what the stream holds, never the length. The inverse of
    // UTsaveStringBinary.
    bool readBinaryString(UT_String& text, UT_ISTREAM_RLE_IO mode);
    // In text mode the next word: a run without white space, or what stands in double quotes, with \" \\ \n \r \t
    // undone, as operator<< writes it. False when there is none. In binary mode it is readBinaryString.
    bool readString(UT_String& text, bool unused);
    // The next line up to `end`, which is not kept, replacing what `line` held. False when nothing could be read. A
    // last line without `end` is a line.
    bool getLine(UT_WorkBuffer& line, int end);

    // Moves to a position counted from the stream's beginning; origin 0 is the only one. No system call within what is
    // buffered. False, and nothing moves, for a negative position, for another origin, over nothing, and on a source
    // that can't seek unless the position lies in what is buffered. A position behind the end is one where a read finds
    // none.
    bool seekg(std::int64_t position, int origin);
    // The position, in bytes from the stream's beginning.
    std::int64_t tellg() const;
    // True once a read has taken the last byte or found none, and always when there is nothing open; false on a fresh
    // stream.
    bool isEof() const { return ended_; }
    // Bytes of the stream in all, or -1 where that is known only at the end. A sub-stream of a source that doesn't know
    // its size says what it was made for.
    std::int64_t getSize() const;

    // Sets the read type for a stretch; popBinary restores what was before.
    void pushBinary(UT_ISTREAM_READTYPE type);
    void popBinary();
    // True while the read type is UT_ISTREAM_BINARY.
    bool isBinary() const { return type_ == UT_ISTREAM_BINARY; }

    // A new stream, owned by the caller, over `length` bytes from `offset` (in the terms of tellg); it counts its
    // positions from 0, shares the bytes and may outlive this stream. A stretch beyond the end reads as far as there
    // are bytes.
    UT_IStream* getSubStream(std::int64_t offset, std::int64_t length);

    // Unread bytes as they lie in memory: at least one unless the stream is at its end. Valid until the next call;
    // moves nothing. With consume this is reading without a copy.
    std::string_view buffered();
    // Moves behind `count` bytes of what buffered() gave.
    void consume(std::size_t count);
    // True once reading failed for another reason than the end of the stream.
    bool hasFailed() const { return failed_; }
    // The source under the window and the window's first position in it; null over nothing.
    const std::shared_ptr<UT_ByteSource>& getSource() const { return source_; }
    std::int64_t getSourceStart() const { return start_; }

    // A window of `length` bytes from position `start` of a source, cut to what the source has.
    UT_IStream(std::shared_ptr<UT_ByteSource> source, std::int64_t start, std::int64_t length,
               UT_ISTREAM_READTYPE type);

private:
    std::int64_t left() const;
    bool fill();
    void noteEnd();
    bool isLargeRead(std::int64_t count) const;
    int readLarge(char* buffer, int count);
    bool readWord(UT_String& text);
    int nextCharacter();

    std::shared_ptr<UT_ByteSource> source_;
    std::int64_t start_ = 0;              // first position of the window in the source
    std::int64_t length_ = -1;            // bytes of the window; -1 while unknown
    std::shared_ptr<const char[]> held_;  // keeps what the next three point into
    const char* floor_ = nullptr;         // first byte in memory
    const char* cursor_ = nullptr;        // next unread byte
    const char* limit_ = nullptr;         // end of the bytes in memory
    std::int64_t limitPosition_ = 0;      // position of limit_ in the window
    bool ended_ = false;
    bool failed_ = false;
    UT_ISTREAM_READTYPE type_ = UT_ISTREAM_BINARY;
    std::vector<UT_ISTREAM_READTYPE> types_;  // what popBinary goes back to
};

// Sets a read type for as long as it lives.
class TARVANI_EXPORT UT_IStreamAutoBinary {
public:
    // Borrows `stream`, which must outlive the object.
    UT_IStreamAutoBinary(UT_IStream& stream, UT_ISTREAM_READTYPE type) : stream_(stream) { stream_.pushBinary(type); }
    ~UT_IStreamAutoBinary() { stream_.popBinary(); }
    UT_IStreamAutoBinary(const UT_IStreamAutoBinary&) = delete;
    UT_IStreamAutoBinary& operator=(const UT_IStreamAutoBinary&) = delete;

private:
    UT_IStream& stream_;
};

// A stream over a file, its path made absolute. A file that can't be opened gives a stream that is at its end.
class TARVANI_EXPORT UT_IFStream : public UT_IStream {
public:
    // Opens `path`, a path of the local file system, and reads it as `type`. Null is a path that can't be opened.
    UT_IFStream(const char* path, UT_ISTREAM_READTYPE type);
    ~UT_IFStream() override;
};
