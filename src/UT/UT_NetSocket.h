#pragma once
// A socket over TCP: one that listens on a port of this machine, or one end of a connection that it accepted.
//
//     std::unique_ptr<UT_NetSocket> server(UT_NetSocket::newSocket(0, true, false));  // port 0: any that is free
//     if (!server) return;
//     std::unique_ptr<UT_NetSocket> peer(server->accept(-1, nullptr));
//     char text[4096];
//     int length = 0;
//     if (peer && peer->read(text, sizeof text, &length, 5000) == UT_NetSocket::kDone)
//         peer->write(text, length, nullptr, 5000);
//
// Descriptors are not inherited by programs that the process starts, and a peer that has gone raises no signal. A
// timeout is in milliseconds: 0 doesn't wait, a negative one waits for ever. Objects own their descriptors and can't be
// copied; one belongs to one thread at a time.
#include <UT/UT_Export.h>

class TARVANI_EXPORT UT_NetSocket {
public:
    // What read and write give.
    static constexpr int kDone = 0;
    static constexpr int kTimedOut = -1;
    static constexpr int kGone = -6;  // the connection has ended, from either side

    // A new socket, owned by the caller, that listens on `port` of all IPv4 addresses of this machine; 0 takes a port
    // that is free, which `port` then tells. The first flag asks to listen and must be true; the second has no meaning,
    // pass false. Null if the port can't be had, or the process has fewer than two descriptors left.
    static UT_NetSocket* newSocket(int port, bool listening, bool);
    // A port that an ordinary user may open: 10000 more for those from 1 to 1023, every other as it is.
    static int mapToUnprivilegedPort(int port);
    // The first IPv4 address of a host. Null stands for this machine: the first address of an interface that is up and
    // isn't loopback, else 127.0.0.1. Not 0 on success; `address` stays as it is on failure.
    static int getHostAddress(unsigned char address[4], const char* host);

    UT_NetSocket(const UT_NetSocket&) = delete;
    UT_NetSocket& operator=(const UT_NetSocket&) = delete;

    // The descriptor, for polling; -1 once the socket is closed.
    int getSocket() const { return socket_; }
    // The port on this machine's side.
    int port = -1;

    // Closes.
    virtual ~UT_NetSocket();
    // The next peer that waits at a listening socket, as a new socket owned by the caller; null if none came. `status`,
    // if not null, becomes kDone, kTimedOut or kGone. With no descriptor left in the process the peer is taken and
    // dropped at once, so that a loop which polls this socket doesn't spin.
    virtual UT_NetSocket* accept(int timeoutMs, int* status);
    // Ends the connection, or the listening. May be called twice.
    virtual void close();
    // 1 if a read, or an accept, wouldn't wait: something is there or the peer has gone. Else 0.
    virtual int dataAvailable(int timeoutMs);
    // Reads what is there, at most `maxLength` bytes, and waits only while there is nothing. `*length` becomes the
    // number of bytes. Gives kDone, or with 0 bytes kTimedOut or kGone.
    virtual int read(void* buffer, int maxLength, int* length, int timeoutMs);
    // Sends all `length` bytes. `*written`, if not null, becomes how many the system took. Gives kDone if all, else
    // kTimedOut or kGone.
    virtual int write(const void* data, int length, int* written, int timeoutMs);
    // Writes the peer's address as dotted text, for which `host` needs room for 16 characters, and its port. Empty and
    // 0 without a peer. Either may be null.
    virtual void getRemoteSocket(char* host, int* port);
    // Not 0 until the socket is closed.
    virtual int isValid();
    // For taking all that waits, call by call until false: asks dataAvailable(0) and, if that is above 0, reads with no
    // limit of time, which gives `*status`. Sockets that are made here, where neither is overridden, do both in one
    // call of the system, and need none for the false behind the last byte.
    virtual bool readWaiting(void* buffer, int maxLength, int* length, int* status);

protected:
    // Adopts an open descriptor, or -1.
    explicit UT_NetSocket(int descriptor);

private:
    int socket_;
    int reserve_ = -1;  // of a listening socket: a descriptor that is given up when a peer can't be taken otherwise
};
