#pragma once
// Lets every FS_Reader open an address such as "http://example.org/d/x.txt" as a file. The library makes one such
// helper itself, before any plug-in loads; nobody else needs to.
//
//     FS_Reader reader("http://example.org/scene.idx?geo");
//
// A page is fetched when it is first asked about, by reading or by a question of FS_Info, into a temporary file which
// serves all that follows until the process ends: its content and time are those of the first fetch. A fetch that fails
// leaves nothing, and the next question tries again. The temporary files go when the process ends by exit; a forked
// child leaves them. A page is known by host and path: the port isn't looked at again. Nothing is sent for any path
// that doesn't begin with "http:" in lower case. For one thread at a time.
#include <UT/UT_Export.h>
#include <stream/FS_Reader.h>

class TARVANI_EXPORT FS_HttpReadHelper : public FS_ReaderHelper {
public:
    // Registers the object, and "http:" as the beginning of absolute paths.
    FS_HttpReadHelper();
    ~FS_HttpReadHelper() override;

    // A stream over the local copy of the page, whose file name is that of the copy and whose time is the page's. Null
    // if `path` is no http address with a host, or the page can't be fetched. The caller owns the stream.
    FS_ReaderStream* createStream(const char* path) override;

    // Why the fetch that was tried last failed, if that was for `path`, in words such as "404 Not Found"; otherwise
    // empty. Valid until the next fetch.
    static const char* getErrorText(const char* path);
};
