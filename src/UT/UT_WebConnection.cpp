#include <UT/Saturated.h>
#include <UT/UT_WebConnection.h>
#include <UT/UT_WorkBuffer.h>
#include <UT/WebFetch.h>

#include <new>

UT_WebConnection::~UT_WebConnection() = default;

bool UT_WebConnection::retrievePage(UT_WorkBuffer& body, UT_WorkBuffer& header) {
    body.assign({});
    header.assign({});
    modTime_ = 0;
    try {
        HttpAddress address{std::string(host_.view()), port, std::string(page_.view())};
        const WebAnswer answer = fetchPage(std::move(address), [&](std::string_view piece) {
            body.append(piece);
            return true;
        });
        header.assign(answer.header);
        error_ = std::string_view(answer.error);
        modTime_ = saturated(answer.modTime);
    } catch (const std::bad_alloc&) {
        // A page may be far larger than what this machine can hold.
        error_ = "out of memory";
    }
    if (error_.isEmpty()) return true;
    UT_WorkBuffer().swap(body);  // what came may be large
    return false;
}
