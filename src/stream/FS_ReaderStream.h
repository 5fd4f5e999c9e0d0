#pragma once
// An input stream with what is known of where it came from: file name, length and time. Behind every FS_Reader stands
// one; a FS_ReaderHelper makes them for the paths that it serves:
//
//     FS_ReaderStream* createStream(const char* source) override {
//         return isMine(source) ? new FS_ReaderStream(bytes, length, time) : nullptr;
//     }
//
// Copies read through one and the same UT_IStream, which goes with the last of them; so do the factories. No operation
// fails other than by a stream that isn't good.
#include <UT/UT_Export.h>
#include <UT/UT_String.h>

#include <cstdint>
#include <memory>
#include <string_view>

class FS_IStreamFilterFactory;
class FS_WriteFilterFactory;
class UT_IStream;
struct OpenedFile;

class TARVANI_EXPORT FS_ReaderStream {
public:
    // Without anything to read: never good. Its time is the current time.
    FS_ReaderStream();
    // Opens a file of the local file system, its path taken as it stands ("file:" means nothing here). Length and time
    // are 0 where the file system tells none. Good from the start if the file could be opened, even when it is empty.
    explicit FS_ReaderStream(const char* file);
    // Over a copy of `length` bytes at `buffer`. Has no file name.
    FS_ReaderStream(const char* buffer, int length, int modTime);
    // Over shared bytes, copying nothing. Has no file name.
    FS_ReaderStream(std::shared_ptr<const char[]> buffer, int length, int modTime);
    // Over `size` stored bytes of `source` from position `start`, presented with the length `dataSize` (its low 32
    // bits). With `factory`, which is borrowed, through its filter. Shares the bytes and may outlive `source`; has the
    // file name and the time of `source`, and none of its factories. Never good if `source` has no file name.
    FS_ReaderStream(FS_ReaderStream& source, std::int64_t start, std::int64_t size, std::int64_t dataSize,
                    const FS_IStreamFilterFactory* factory);
    FS_ReaderStream(const FS_ReaderStream&);
    FS_ReaderStream& operator=(const FS_ReaderStream&);
    virtual ~FS_ReaderStream();

    // True while there is something open that isn't at its end.
    bool isGood() const;
    // The stream to read from, owned by this object; null where nothing could be opened.
    UT_IStream* getStream() const { return stream.get(); }
    // Modification time in seconds since the epoch.
    int getModTime() const { return modTime; }
    // Bytes that a reader will see: for a filtered section the plain size. At most 2147483647, also where the file
    // has more.
    int getLength() const { return length; }
    // The absolute path of the file behind the stream, also for a section of it; empty for a stream over memory.
    void getFilename(UT_String& out) const;
    // Replaces what getModTime gives.
    void setModTime(int seconds) { modTime = seconds; }

    // The filters that an index file opened on this stream takes for its sections. A clone of `factory` is stored,
    // in place of the one held; null clears. What the getters give stays owned by the stream.
    void setSubStreamReadFilterFactory(FS_IStreamFilterFactory* factory);
    void setSubStreamWriteFilterFactory(FS_WriteFilterFactory* factory);
    FS_IStreamFilterFactory* getSubStreamReadFilterFactory() const { return readFilterFactory.get(); }
    FS_WriteFilterFactory* getSubStreamWriteFilterFactory() const { return writeFilterFactory.get(); }

private:
    friend class FS_HttpReadHelper;
    // Over a file that has been opened by its absolute path.
    FS_ReaderStream(OpenedFile opened, std::string_view file);

    // Given up as the destructor says: the stream first, for a filter's stream may need its factory until it has gone.
    std::shared_ptr<FS_IStreamFilterFactory> readFilterFactory;
    std::shared_ptr<FS_WriteFilterFactory> writeFilterFactory;
    std::shared_ptr<UT_IStream> stream;
    UT_String filename;
    int length = 0;
    int modTime = 0;
};
