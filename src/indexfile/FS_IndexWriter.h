#pragma once
// Makes a container from files in one pass: each file is opened once and read once, and memory holds names and sizes
// alone. The names come first, since the table stands in front of the bytes; then the files, in the same order.
//
//     FS_IndexWriter scene("scene.idx");
//     for (const char* file : files) scene.addName(file);
//     UT_String reason;
//     for (const char* file : files)
//         if (!scene.addFile(file, &reason)) return complain(file, reason.buffer());
//     if (!scene.finish(&reason)) complain("scene.idx", reason.buffer());
//
// The result is what FS_IndexFile::save writes for the same sections. Until finish() the target stays as it was, and
// without it nothing is left behind. Nothing throws or prints. For one thread at a time.
#include <UT/UT_Export.h>
#include <UT/UT_String.h>

#include <memory>

class TARVANI_EXPORT FS_IndexWriter {
public:
    // For a local file. One that is there must be empty or a container, and keeps its mode, owner and links.
    explicit FS_IndexWriter(const char* path);
    ~FS_IndexWriter();
    FS_IndexWriter(const FS_IndexWriter&) = delete;
    FS_IndexWriter& operator=(const FS_IndexWriter&) = delete;

    // Before the first file only; null is an empty description.
    void setDescription(const char* text);
    // Names one more section. A null name, one that was added before, and one behind the first file are passed over:
    // then it gives false.
    bool addName(const char* name);
    // Reads all of a file, from a path that FS_Reader opens, into the next of the named sections, with its time. False,
    // with the reason in words, when it can't be read to its end, or the container would pass 2147483647 bytes: then
    // the container can't be finished any more. What is wrong with the target is told by finish().
    bool addFile(const char* fileName, UT_String* reason = nullptr);
    // Puts the container into its place. False, with the reason in words, after a failure and unless every named
    // section has got its file: then the target is as it was. A second call gives false.
    bool finish(UT_String* reason = nullptr);

private:
    struct State;
    std::unique_ptr<State> state_;
};
