#pragma once
// Opens a path for writing, whatever it is: a plain file ("d/x.txt", "file:d/x.txt"), a section of a container
// ("d/x.idx?geo", nested to any depth), or what a registered helper claims.
//
//     FS_Writer writer("scene.idx?geo");
//     if (writer.getStream()) *writer.getStream() << text;
//     UT_String reason;
//     if (!writer.finish(&reason)) complain(reason.buffer());
//
// A plain file is replaced from the moment of opening. A section collects in a temporary file until the writer is
// finished; then its container is written anew, made if it was missing, and either stands there whole or is as it was.
// No directory is made.
//
// Copies of a writer are handles on one open stream: what ends it on one ends it for all, and the last one destroyed
// finishes it. A writer is for one thread at a time, and of several writers on one container one at a time may finish.
// Nothing throws or prints; finish tells.
#include <UT/UT_Export.h>

#include <iosfwd>
#include <memory>

class FS_WriterHelper;
class FS_WriterStream;
class UT_String;
template <class Helper>
class HelperList;

class TARVANI_EXPORT FS_Writer {
public:
    // Opens `dest`. The helpers are asked first, the newest before the others, also for a path with a "?"; the first
    // that gives a stream serves it. What none of them claims is a section of a container, or a file of the local file
    // system, with a "file:" in front taken off. Null leaves the writer without a stream.
    explicit FS_Writer(const char* dest);
    FS_Writer(const FS_Writer&);
    FS_Writer& operator=(const FS_Writer&);
    // The last copy finishes the output, and nobody hears whether that worked.
    virtual ~FS_Writer();

    // Finishes the output without telling whether it worked. A second call does nothing.
    void close();
    // Finishes the output. True if everything that was written is safely where it belongs; otherwise false, with the
    // reason in words in `reason` unless that is null. Further calls give the same answer. False without a stream.
    bool finish(UT_String* reason = nullptr);
    // The stream to write to, owned by the writer and valid until it is finished. Null without a stream; in a failed
    // state when the destination can't be written.
    std::ostream* getStream() const;
    // Drops what was written and removes the destination: the file, or the section from its container. Ends the writer.
    // False when that failed, and without a stream; finish then tells why.
    bool removeFile();

    // The list that the constructors of FS_WriterHelper keep. Both ignore null; removing what isn't there is no error.
    // The list goes at the end of the process; from then on both do nothing.
    static void addWriterHelper(FS_WriterHelper* helper);
    static void removeWriterHelper(FS_WriterHelper* helper);

private:
    struct Shared;

    static HelperList<FS_WriterHelper>& getHelpers();
    void createStreamFromDest(const char* dest);

    std::shared_ptr<Shared> shared_;  // null, or what all copies have in common
};

// Serves destinations of its own kind to every FS_Writer of the process, for as long as the object lives:
//
//     class UploadHelper : public FS_WriterHelper {
//         FS_WriterStream* createStream(const char* dest) override;
//     };
//     static UploadHelper uploads;
class TARVANI_EXPORT FS_WriterHelper {
public:
    // Registers the object. A copy isn't registered and is never asked; assignment changes nothing.
    FS_WriterHelper();
    FS_WriterHelper(const FS_WriterHelper&);
    FS_WriterHelper& operator=(const FS_WriterHelper&);
    virtual ~FS_WriterHelper();

    // A new stream for `dest`, the path as the caller wrote it; null for a path that this helper doesn't serve. The
    // writer owns the stream.
    virtual FS_WriterStream* createStream(const char* dest) = 0;
};
