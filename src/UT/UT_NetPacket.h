#pragma once
// Which peers may talk to a service, by their addresses.
//
//     if (UT_NetPacket::matchIPMask("10.0.+.+, 192.168.1.7", host, nullptr)) serve(peer);
#include <UT/UT_Export.h>

class UT_NetSocket;

class TARVANI_EXPORT UT_NetPacket {
public:
    // Not 0 if the address matches one of the masks, which blanks or commas separate. A mask has four fields split by
    // dots, each a number from 0 to 255 or `+` or `*` for any number; one of another form matches nothing, and so does
    // an address that isn't four such numbers. Null matches nothing. The socket is not used.
    static int matchIPMask(const char* mask, const char* address, UT_NetSocket*);
};
