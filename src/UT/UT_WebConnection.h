#pragma once
// One fetch of a web page over http.
//
//     UT_WebConnection web;
//     web.setHostName("example.org");
//     web.setPageName("/index.html");
//     UT_WorkBuffer body, header;
//     if (web.retrievePage(body, header)) use(body.buffer(), body.length(), web.getModTime());
//
// Speaks HTTP/1.1, asks by GET for the page as it is, and believes nothing that a server says until it has checked it:
// what isn't plainly an answer is a failure, and so is a page that doesn't arrive whole. Waits 10 seconds for a
// connection and 30 for the next byte; gives up where less than 1 KiB a second comes over a minute, above 1 MiB of
// header, and above 2147483647 bytes of page. Asking the system for the addresses of a host takes as long as the system
// lets it. Nothing throws, prints or raises a signal; a fetch blocks the calling thread. For one thread at a time.
#include <UT/UT_Export.h>
#include <UT/UT_String.h>

class UT_WorkBuffer;

class TARVANI_EXPORT UT_WebConnection {
public:
    UT_WebConnection() = default;
    virtual ~UT_WebConnection();

    // A name, or an address of IPv4 or IPv6, without brackets. The text is copied.
    void setHostName(const char* host) { host_ = UT_String(host, 1); }
    // The page, beginning with "/", as the server is to be asked for it; what stands behind a "#" isn't sent. "/" until
    // set. The text is copied.
    void setPageName(const char* page) { page_ = UT_String(page, 1); }

    // Fetches the page. True when the answer was "200" and its body came whole; redirects to other http addresses are
    // followed, five at most. `body` then holds the page, NUL bytes included, and `header` the last answer's lines up
    // to its body, as they came. On failure `body` is empty, and `header` holds what header was complete, if any.
    // Nothing is sent for a host or a page that is empty or holds a control character or a blank.
    bool retrievePage(UT_WorkBuffer& body, UT_WorkBuffer& header);
    // When the page was last changed, in seconds since the epoch, as its server tells; the time of the fetch if it
    // doesn't. 0 until a page was retrieved.
    int getModTime() const { return modTime_; }
    // Why the last retrievePage failed, in words such as "404 Not Found"; empty if it didn't. Valid until the next.
    const char* getErrorText() const { return error_.isNull() ? "" : error_.buffer(); }

    // The server's port, 1 to 65535.
    int port = 80;

private:
    UT_String host_;
    UT_String page_{"/", 1};
    UT_String error_;
    int modTime_ = 0;
};
