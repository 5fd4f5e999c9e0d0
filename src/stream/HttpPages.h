#pragma once
// Private: the pages that this process has fetched over http, each in a temporary file of its own.
#include <UT/FileSource.h>
#include <UT/HttpAddress.h>
#include <platform/FileStatus.h>
#include <platform/TempFile.h>

#include <optional>
#include <string>

// Takes "http://host:port/page" apart, with any number of slashes behind the colon, none as well. None if `path` is
// null, begins with anything but "http:" in lower case, or names no host. The port is what a number at its place says,
// in range or not; 80 where there is no place for one.
std::optional<HttpAddress> parseHttpPath(const char* path);

// The local copy of a page.
class HttpPage {
public:
    // Fetches the page. What is wrong, in words, if it isn't there whole; then there is no local copy.
    std::string fetch(const HttpAddress& address);

    // The path of the local copy.
    const std::string& file() const { return file_.path(); }
    // Opens it, or tells its status. There is no source, and an error, if the path leads elsewhere by now: where others
    // may rename files, they must not put theirs into the place of a page.
    OpenedFile open() const;
    platform::FileStatus status() const;

    // The process that fetched it, and has to remove it.
    int process() const { return process_; }
    // Leaves the local copy where it is for good.
    void keep() { file_.keep(); }

private:
    bool isThis(std::uint64_t device, std::uint64_t inode, unsigned owner) const {
        return device == written_.device && inode == written_.inode && owner == written_.owner;
    }

    platform::TempFile file_;
    platform::FileStatus written_;
    int process_ = 0;
};

// The page at `path`, fetched if this process hasn't got it. Pages are known by host and page, the port is no part of
// that. Null if it can't be had. Valid until the process ends.
const HttpPage* httpPage(const char* path);
// Why the fetch that was tried last failed, if it was for `path`; otherwise empty. Valid until the next.
const char* httpErrorText(const char* path);
