#pragma once
// Opens a path for reading, whatever serves it: a plain file ("d/x.txt", "file:d/x.txt"), a section of a container
// ("d/x.idx?geo", nested to any depth), or what a registered helper claims.
//
//     FS_Reader reader("scene.idx?geo");
//     UT_WorkBuffer line;
//     while (reader.isGood() && reader.getStream()->getLine(line, '\n')) use(line.buffer());
//
// Copies of a reader are handles on one open stream: close on one ends it for all, and the last one destroyed releases
// it. A reader is for one thread at a time. Nothing throws or prints for a path that can't be read; isGood tells.
#include <UT/UT_Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>

class FS_IStreamFilterFactory;
class FS_ReaderHelper;
class FS_ReaderStream;
class FS_WriteFilterFactory;
class UT_IStream;
class UT_String;
template <class Helper>
class HelperList;

class TARVANI_EXPORT FS_Reader {
public:
    // Without a stream.
    FS_Reader();
    FS_Reader(std::nullptr_t) : FS_Reader() {}
    // Opens `source`. A path with a "?" is the section behind the last "?" of the container before it, and nothing
    // else. Any other path goes to the helpers, the newest first, and the first that gives a stream serves it; then to
    // the local file system, with a "file:" in front taken off. Null leaves the reader without a stream; so does a
    // section that isn't there, and a lack of memory.
    explicit FS_Reader(const char* source);
    // Adopts `stream`, which may be null.
    explicit FS_Reader(FS_ReaderStream* stream);
    FS_Reader(const FS_Reader&);
    FS_Reader& operator=(const FS_Reader&);
    virtual ~FS_Reader();

    // Releases the stream, for all copies of this reader. A second call does nothing.
    void close();
    // True while there is a stream that isn't at its end. Test this before getStream: also a reader of a file that
    // couldn't be opened may have a UT_IStream.
    bool isGood();
    // The stream to read from, owned by the reader and valid until close or the last copy's end; may be null.
    UT_IStream* getStream() const;
    // A new stream, owned by the caller, over `size` stored bytes from position `start`, presented with the length
    // `dataSize`, through the filter of `factory` (borrowed) if that isn't null. Copies no bytes and may outlive the
    // reader. Never good if the reader has no stream or its stream no file name; null only if memory lacks.
    FS_ReaderStream* shareDataAndGetSubstream(std::int64_t start, std::int64_t size, std::int64_t dataSize,
                                              const FS_IStreamFilterFactory* factory) const;
    // Modification time in seconds since the epoch; 0 without a stream.
    int getModTime() const;
    // Length in bytes as a reader will see it; 0 without a stream.
    int getLength() const;
    // The factories that the stream carries for its sections; owned by the stream, null where it has none.
    FS_IStreamFilterFactory* getSubStreamReadFilterFactory() const;
    FS_WriteFilterFactory* getSubStreamWriteFilterFactory() const;
    // The absolute path of the file behind the stream; empty where there is none.
    void getFilename(UT_String& out) const;

    // The list that the constructors of FS_ReaderHelper keep. Both ignore null; removing what isn't there is no error.
    // Helpers may come and go while the list is being asked: one that comes isn't asked for the path in hand.
    static void addReaderHelper(FS_ReaderHelper* helper);
    static void removeReaderHelper(FS_ReaderHelper* helper);

private:
    struct Shared;

    friend std::unique_ptr<FS_ReaderStream> streamFromHelpers(const char* path);

    static HelperList<FS_ReaderHelper>& getHelpers();
    void createStreamFromSource(const char* source);
    FS_ReaderStream* stream() const;

    std::shared_ptr<Shared> shared_;  // null, or what all copies have in common
};

// Serves paths of its own kind to every FS_Reader of the process, for as long as the object lives:
//
//     class ZipHelper : public FS_ReaderHelper {
//         FS_ReaderStream* createStream(const char* source) override;
//     };
//     static ZipHelper zips;
class TARVANI_EXPORT FS_ReaderHelper {
public:
    // Registers the object. A copy isn't registered and is never asked; assignment changes nothing.
    FS_ReaderHelper();
    FS_ReaderHelper(const FS_ReaderHelper&);
    FS_ReaderHelper& operator=(const FS_ReaderHelper&);
    virtual ~FS_ReaderHelper();

    // A new stream for `source`, the path as the caller wrote it; null for a path that this helper doesn't serve. The
    // reader owns the stream, and keeps it even when it isn't good.
    virtual FS_ReaderStream* createStream(const char* source) = 0;
};
