#pragma once
// A small text service on a port of this machine: takes the peers that come, and gives what each of them sends to a
// callback, message by message. FS_ConnectedSocketListener says what a message is.
//
//     void answer(void*, const char* text, int length, UT_NetSocket& socket) {
//         socket.write(text, length, nullptr, 1000);
//     }
//     auto* service = FS_ServerSocketListener::createSocketListener(0, answer, nullptr, "10.0.+.+", false);
//     if (service) printf("on port %d\n", service->getPort());
//
// Nothing is served without a host (FS_EventGenerator::setInstaller), and no message tells that. Connections are not
// the listener's: they live on when it is deleted.
#include <UT/UT_String.h>
#include <events/FS_ConnectedSocketListener.h>

class TARVANI_EXPORT FS_ServerSocketListener : public FS_EventGenerator {
public:
    // Given each message of each connection.
    using MessageCallback = FS_ConnectedSocketListener::MessageCallback;
    // Told once that the watched child has exited (`destroyed` false: the socket is closed, the listener lives at least
    // until the callback returns), or that the listener is being destroyed before that (true). A callback that deletes
    // the listener while it hears the first is told the second as well.
    using ChildExitCallback = void (*)(FS_ServerSocketListener& listener, void* data, bool destroyed);

    // A listener on `port`, or with `useUnprivilegedPort` on UT_NetSocket::mapToUnprivilegedPort of it, that serves the
    // peers whose addresses match `ipMask` (UT_NetPacket; null: everybody) and is installed. It is the caller's to
    // delete. Null if the port can't be had.
    static FS_ServerSocketListener* createSocketListener(int port, MessageCallback callback, void* data,
                                                         const char* ipMask, bool useUnprivilegedPort);
    // Tells a child-exit callback that is still there, then closes the socket.
    ~FS_ServerSocketListener() override;
    // A copy borrows the socket and the child: the original owns them and must outlive the copy, which is only good for
    // being destroyed once the original has found its child to have exited. Assigning to an owner closes what it had.
    FS_ServerSocketListener(const FS_ServerSocketListener& other);
    FS_ServerSocketListener& operator=(const FS_ServerSocketListener& other);

    const char* getClassName() const override { return "FS_ServerSocketListener"; }
    int getFileDescriptor() override;
    // 1000 while a child is watched, else -1.
    int getPollTime() override;
    // True if a peer waits, or the watched child has exited.
    bool areEventsWaiting() override;
    // Takes one peer that waits. 0 when the child was found to have exited; the listener may be deleted then.
    int processEvents() override;

    // The port that is really used, -1 once the socket is closed.
    int getPort() const;
    // The port as it was asked for.
    int getRequestedPort() const { return requestedPort; }
    // The mask as it was given; "+.+.+.+" for null.
    const UT_String& getIPMask() const { return ipMask; }

    // Closes the socket, and with `deleteListener` deletes the listener, when the process has exited. An earlier watch
    // is replaced and its callback not told. The exited child is left for its parent to wait for.
    void closeSocketOnChildExit(int process, bool deleteListener, ChildExitCallback callback, void* data);

protected:
    // Adopts the socket. The listener isn't installed yet.
    FS_ServerSocketListener(UT_NetSocket* socket, int port, MessageCallback callback, void* data, const char* ipMask);
    // Takes one peer. A subclass may make its own kind of connection from getServerSocket().
    virtual void createConnectedSocketListener();
    // The socket that listens, owned by the listener; null once it is closed.
    UT_NetSocket* getServerSocket() { return serverSocket; }

private:
    bool hasChildExited();
    bool shouldStopBecauseChildHasExited();
    void closeServerSocket();

    UT_NetSocket* serverSocket;
    int requestedPort;
    MessageCallback callback;
    void* callbackData;
    UT_String ipMask;
    int childProcess = -1;
    bool deleteOnChildExit = false;
    ChildExitCallback childExitCallback = nullptr;
    void* childExitData = nullptr;
    bool borrows = false;
    bool* deleted = nullptr;  // while the child-exit callback runs, where the destructor leaves word
};
