#pragma once
// An output stream with the destination that it belongs to. Behind every FS_Writer stands one; a FS_WriterHelper makes
// them for the paths that it serves, from a path of the local file system or a stream of its own:
//
//     class Upload : public FS_WriterStream {
//     public:
//         explicit Upload(const char* url) { adoptStream(new UploadOutput(url)); }
//     };
//
// Copies write to one and the same stream: what ends it on one ends it for all, and the last one destroyed finishes it.
#include <UT/UT_Export.h>

#include <iosfwd>
#include <memory>

class UT_String;

class TARVANI_EXPORT FS_WriterStream {
public:
    // Without anything to write to.
    FS_WriterStream();
    // Opens a file of the local file system, or a section of one where the path holds a "?". The path is taken as it
    // stands ("file:" means nothing here), and a relative one from the current directory, once and for all.
    explicit FS_WriterStream(const char* dest);
    FS_WriterStream(const FS_WriterStream&);
    FS_WriterStream& operator=(const FS_WriterStream&);
    // The last copy finishes the output as this class does it, whatever a derived class makes of destroy.
    virtual ~FS_WriterStream();

    // The stream to write to, owned by this object and valid until it is finished; may be null.
    std::ostream* getStream() const;
    // Finishes the stream and removes the destination: what was written is dropped.
    bool removeFile();
    // Finishes the stream and tells whether everything written is safely where it belongs; otherwise `reason`, unless
    // null, says in words why not. Further calls give the same answer.
    bool finish(UT_String* reason = nullptr);

protected:
    // Opens `dest`, a path that may hold "?". True if there is a stream now, even one in a failed state.
    virtual bool init(const char* dest);
    // Finishes the stream. A plain file is closed, and removed if `removeFile` says so: false when it could not be
    // removed. A section is put into its container, or removed from it; false when the container could not be written,
    // which then is as it was. False, and nothing happens, without a stream, so that a second call is harmless.
    virtual bool destroy(bool removeFile);
    // Takes over a stream of the derived class, which is deleted when this one is finished. One that failed by then
    // makes finish give false.
    void adoptStream(std::ostream* stream);

private:
    struct State;
    bool end(bool removeFile, const char* failed);

    std::shared_ptr<State> state_;
};
