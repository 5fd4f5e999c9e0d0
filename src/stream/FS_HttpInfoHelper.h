#pragma once
// Answers the questions of FS_Info about http addresses, from the local copies that FS_HttpReadHelper.h speaks of: the
// first question about a page may cost its download. The library makes one such helper itself.
//
//     FS_Info info("http://example.org/d/x.txt");
//     if (info.fileExists()) print(info.getFileDataSize());
#include <UT/UT_Export.h>
#include <stream/FS_Info.h>

class TARVANI_EXPORT FS_HttpInfoHelper : public FS_InfoHelper {
public:
    // Registers the object, and "http:" as the beginning of absolute paths.
    FS_HttpInfoHelper();
    ~FS_HttpInfoHelper() override;

    // True for an http address with a host. Asks no server.
    bool canHandle(const char* path) override;
    // True if the page can be had, its local copy being in place, and `mode` asks neither for writing nor for
    // execution.
    bool hasAccess(const char* path, int mode) override;
    // Always false, without a fetch.
    bool getIsDirectory(const char* path) override;
    // Modification time of the page in seconds since the epoch; 0 if it can't be fetched.
    int getModTime(const char* path) override;
    // Size of the page in bytes; 0 if it can't be fetched.
    std::int64_t getSize(const char* path) override;
    // Always false, without a fetch: pages aren't listed.
    bool getContents(const char* path, UT_StringArray& files, UT_StringArray* dirs) override;
};
