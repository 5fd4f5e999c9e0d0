// One peer: whether it may talk (the constructor), its bytes until they are a message (readBatch), and the callback.
#include <UT/UT_NetPacket.h>
#include <UT/UT_NetSocket.h>
#include <events/FS_ConnectedSocketListener.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr int kLongestRead = 8191;
constexpr char kEndOfMessage = 4;
// A longer message doesn't leave its storage to the connection.
constexpr int kKeptStorage = 64 << 10;

// Where a peer stands for a mask: one on this machine counts by the machine's address, not by loopback.
std::string judgedAddress(UT_NetSocket& peer) {
    char host[8192] = "";
    int port = 0;
    peer.getRemoteSocket(host, &port);
    if (std::strcmp(host, "127.0.0.1") != 0) return host;
    unsigned char own[4];
    if (!UT_NetSocket::getHostAddress(own, nullptr)) return {};
    std::snprintf(host, sizeof host, "%d.%d.%d.%d", own[0], own[1], own[2], own[3]);
    return host;
}

}  // namespace

// Lives in the call that runs the callback, where the destructor leaves word. Also a callback that throws ends it.
struct FS_ConnectedSocketListener::Delivery {
    explicit Delivery(FS_ConnectedSocketListener& of) : listener(&of) {
        listener->delivery = this;
        listener->inCallback = true;
    }
    ~Delivery() {
        if (!listener) return;
        listener->delivery = nullptr;
        listener->inCallback = false;
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    FS_ConnectedSocketListener* listener;  // null once it has gone
};

FS_ConnectedSocketListener::FS_ConnectedSocketListener(UT_NetSocket& listeningSocket, MessageCallback function,
                                                       void* data, const char* ipMask)
    : callbackData(data), callback(function) {
    int status = 0;
    connection = listeningSocket.accept(0, &status);
    if (!connection) return;
    if (UT_NetPacket::matchIPMask(ipMask ? ipMask : "+.+.+.+", judgedAddress(*connection).c_str(), &listeningSocket))
        installGenerator();
    else
        closeConnectionSocket();
}

FS_ConnectedSocketListener::~FS_ConnectedSocketListener() {
    if (delivery) delivery->listener = nullptr;
    closeConnectionSocket();
    uninstallGenerator();
}

FS_ConnectedSocketListener::FS_ConnectedSocketListener(const FS_ConnectedSocketListener& other)
    : FS_EventGenerator(other),
      callbackData(other.callbackData),
      callback(other.callback),
      connection(other.connection),
      input(other.input),
      inCallback(other.inCallback),
      borrows(true) {}

FS_ConnectedSocketListener& FS_ConnectedSocketListener::operator=(const FS_ConnectedSocketListener& other) {
    if (this == &other) return *this;
    if (connection != other.connection) {
        closeConnectionSocket();
        borrows = true;
    }
    callbackData = other.callbackData;
    callback = other.callback;
    connection = other.connection;
    input = other.input;
    inCallback = other.inCallback;
    return *this;
}

int FS_ConnectedSocketListener::getFileDescriptor() {
    return connection ? connection->getSocket() : -1;
}

bool FS_ConnectedSocketListener::areEventsWaiting() {
    return !inCallback && connection && connection->dataAvailable(0) > 0;
}

int FS_ConnectedSocketListener::processEvents() {
    // A host that comes back from inside the callback finds nothing to do: the message is still being read.
    if (!connection || inCallback) return 1;
    switch (readBatch()) {
        case Batch::incomplete:
            return 1;
        case Batch::ended:
            delete this;
            return 0;
        case Batch::complete:
            handOver();
            return 1;
    }
    return 1;
}

FS_ConnectedSocketListener::Batch FS_ConnectedSocketListener::readBatch() {
    char buffer[kLongestRead + 1];
    const int start = input.length();
    char last = '\0';
    for (int length = 0, status = 0; connection->readWaiting(buffer, kLongestRead, &length, &status); length = 0) {
        // Any other status beside some bytes is as good as none.
        if (status == UT_NetSocket::kGone || length <= 0) return Batch::ended;
        char& end = buffer[length - 1];
        if (end == '\0') end = '\n';
        last = end;
        if (length > kLongestMessage - input.length()) return Batch::ended;
        input.append(buffer, length);
    }
    // From here on the batch is C text, which ends at its first NUL.
    input.truncate(start + static_cast<int>(std::strlen(input.buffer() + start)));
    return !input.isEmpty() && (last == '\n' || last == kEndOfMessage) ? Batch::complete : Batch::incomplete;
}

// The callback may close the socket, and may delete this listener.
void FS_ConnectedSocketListener::handOver() {
    UT_WorkBuffer message;
    message.swap(input);
    if (canBeUsed() && callback) {
        const Delivery running(*this);
        callback(callbackData, message.buffer(), message.length(), *connection);
        if (!running.listener) return;
    }
    if (message.length() <= kKeptStorage) message.swap(input);
    input.clear();
    if (!canBeUsed()) delete this;
}

bool FS_ConnectedSocketListener::canBeUsed() {
    return connection && connection->isValid();
}

void FS_ConnectedSocketListener::closeConnectionSocket() {
    const std::unique_ptr<UT_NetSocket> owned(borrows ? nullptr : connection);
    connection = nullptr;
    if (owned) owned->close();
}
