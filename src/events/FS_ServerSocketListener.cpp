// The port that peers come to, and the child process with which a service can end.
#include <UT/UT_NetSocket.h>
#include <UT/UT_Process.h>
#include <events/FS_ServerSocketListener.h>

#include <memory>

namespace {

constexpr int kNoChild = -1;
constexpr int kChildPollTime = 1000;

// While it lives, a listener's destructor leaves word here. Also a callback that throws ends it.
class Word {
public:
    explicit Word(bool*& place) : place_(place) { place_ = &isListenerGone_; }
    ~Word() {
        if (!isListenerGone_) place_ = nullptr;
    }
    Word(const Word&) = delete;
    Word& operator=(const Word&) = delete;

    bool isListenerGone() const { return isListenerGone_; }

private:
    bool*& place_;
    bool isListenerGone_ = false;
};

}  // namespace

FS_ServerSocketListener* FS_ServerSocketListener::createSocketListener(int port, MessageCallback callback, void* data,
                                                                       const char* ipMask, bool useUnprivilegedPort) {
    const int portToOpen = useUnprivilegedPort ? UT_NetSocket::mapToUnprivilegedPort(port) : port;
    std::unique_ptr<UT_NetSocket> socket(UT_NetSocket::newSocket(portToOpen, true, false));
    if (!socket || !socket->isValid()) return nullptr;
    auto* const listener = new FS_ServerSocketListener(socket.get(), port, callback, data, ipMask);
    static_cast<void>(socket.release());
    listener->installGenerator();
    return listener;
}

FS_ServerSocketListener::FS_ServerSocketListener(UT_NetSocket* socket, int port, MessageCallback function, void* data,
                                                 const char* mask)
    : serverSocket(socket),
      requestedPort(port),
      callback(function),
      callbackData(data),
      ipMask(mask ? mask : "+.+.+.+", 1) {}

FS_ServerSocketListener::~FS_ServerSocketListener() {
    if (deleted) *deleted = true;
    if (childExitCallback && !borrows) {
        const Word word(deleted);  // a loop that the callback runs doesn't find the exit any more
        childExitCallback(*this, childExitData, true);
    }
    childExitCallback = nullptr;
    deleteOnChildExit = false;
    closeServerSocket();
    uninstallGenerator();
}

FS_ServerSocketListener::FS_ServerSocketListener(const FS_ServerSocketListener& other)
    : FS_EventGenerator(other),
      serverSocket(other.serverSocket),
      requestedPort(other.requestedPort),
      callback(other.callback),
      callbackData(other.callbackData),
      ipMask(other.ipMask),
      childProcess(other.childProcess),
      deleteOnChildExit(other.deleteOnChildExit),
      childExitCallback(other.childExitCallback),
      childExitData(other.childExitData),
      borrows(true) {}

FS_ServerSocketListener& FS_ServerSocketListener::operator=(const FS_ServerSocketListener& other) {
    if (this == &other) return *this;
    if (serverSocket != other.serverSocket) {
        closeServerSocket();
        borrows = true;
    }
    serverSocket = other.serverSocket;
    requestedPort = other.requestedPort;
    callback = other.callback;
    callbackData = other.callbackData;
    ipMask = other.ipMask;
    childProcess = other.childProcess;
    deleteOnChildExit = other.deleteOnChildExit;
    childExitCallback = other.childExitCallback;
    childExitData = other.childExitData;
    return *this;
}

int FS_ServerSocketListener::getFileDescriptor() {
    return serverSocket ? serverSocket->getSocket() : -1;
}

int FS_ServerSocketListener::getPollTime() {
    return childProcess != kNoChild ? kChildPollTime : -1;
}

bool FS_ServerSocketListener::areEventsWaiting() {
    return (serverSocket && serverSocket->dataAvailable(0) > 0) || hasChildExited();
}

int FS_ServerSocketListener::processEvents() {
    if (shouldStopBecauseChildHasExited()) return 0;
    if (serverSocket && serverSocket->dataAvailable(0) > 0) createConnectedSocketListener();
    return 1;
}

int FS_ServerSocketListener::getPort() const {
    return serverSocket ? serverSocket->port : -1;
}

void FS_ServerSocketListener::closeSocketOnChildExit(int process, bool deleteListener, ChildExitCallback function,
                                                     void* data) {
    childProcess = process;
    deleteOnChildExit = deleteListener;
    childExitCallback = function;
    childExitData = data;
}

void FS_ServerSocketListener::createConnectedSocketListener() {
    if (!serverSocket) return;
    auto* const peer = new FS_ConnectedSocketListener(*serverSocket, callback, callbackData, ipMask.buffer());
    // One that was taken belongs to nobody from here on.
    if (!peer->getIsInstalled()) delete peer;
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

bool FS_ServerSocketListener::hasChildExited() {
    // While its exit is being told, it isn't found again by a loop that the callback runs.
    return childProcess != kNoChild && !deleted && !UTisRunning(childProcess, nullptr);
}

bool FS_ServerSocketListener::shouldStopBecauseChildHasExited() {
    if (!hasChildExited()) return false;
    closeServerSocket();
    if (childExitCallback) {
        const Word word(deleted);
        childExitCallback(*this, childExitData, false);
        if (word.isListenerGone()) return true;
    }
    childProcess = kNoChild;
    childExitCallback = nullptr;
    childExitData = nullptr;
    // The callback may have changed its mind.
    if (deleteOnChildExit) delete this;
    return true;
}

void FS_ServerSocketListener::closeServerSocket() {
    const std::unique_ptr<UT_NetSocket> owned(borrows ? nullptr : serverSocket);
    serverSocket = nullptr;
    if (owned) owned->close();
}
