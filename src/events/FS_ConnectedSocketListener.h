#pragma once
// One peer of a FS_ServerSocketListener, which makes these: gathers the bytes that arrive into messages and gives each
// to a callback. It belongs to nobody and deletes itself when the connection ends.
//
// All bytes that wait make a batch. A batch whose last byte is a line feed, a NUL or byte 4 completes the message: all
// that has arrived since the last one, perhaps several lines. A NUL at the end of a read becomes a line feed; any other
// cuts off the rest of its batch. What stands incomplete, or waits together with the end, when the peer goes is
// dropped. A message of more than kLongestMessage bytes ends the connection.
#include <UT/UT_WorkBuffer.h>
#include <events/FS_EventGenerator.h>

class UT_NetSocket;

class TARVANI_EXPORT FS_ConnectedSocketListener : public FS_EventGenerator {
public:
    // Gets a message with its final byte, valid during the call, and the socket for an answer. It ends the connection
    // by closing that socket. It runs on the host's loop: while it waits for a peer, nobody else is served.
    using MessageCallback = void (*)(void* data, const char* text, int length, UT_NetSocket& socket);
    // Bytes. A message that passes them without its final byte ends the connection as if the peer had gone.
    static constexpr int kLongestMessage = 64 << 20;

    // Takes the peer that waits at `listeningSocket`, and installs itself, if the peer's address matches `ipMask`
    // (UT_NetPacket; null lets in everybody). A peer at 127.0.0.1 is judged by this machine's own address. Otherwise
    // the connection is closed without a word, getIsInstalled() is false, and the object is its creator's to delete.
    FS_ConnectedSocketListener(UT_NetSocket& listeningSocket, MessageCallback callback, void* data, const char* ipMask);
    // Closes the connection. Also a callback may delete the listener whose message it was given.
    ~FS_ConnectedSocketListener() override;
    // A copy borrows the connection: the original owns it and must outlive the copy. Assigning to an owner closes what
    // it had.
    FS_ConnectedSocketListener(const FS_ConnectedSocketListener& other);
    FS_ConnectedSocketListener& operator=(const FS_ConnectedSocketListener& other);

    const char* getClassName() const override { return "FS_ConnectedSocketListener"; }
    // True if the peer was taken and its connection stands.
    bool getIsInstalled() const { return connection != nullptr; }

protected:
    int getFileDescriptor() override;
    // False while the callback runs, so that a loop that the callback runs leaves this listener alone.
    bool areEventsWaiting() override;
    // Reads what is there and hands over the message that it completes. Gives 0 when the peer has gone and the listener
    // has deleted itself, else 1, also when it has done so because the callback closed the socket.
    int processEvents() override;

private:
    enum class Batch { incomplete, complete, ended };
    Batch readBatch();
    void handOver();
    bool canBeUsed();
    void closeConnectionSocket();

    void* callbackData;
    MessageCallback callback;
    UT_NetSocket* connection;
    UT_WorkBuffer input;
    bool inCallback = false;
    bool borrows = false;
    struct Delivery;
    Delivery* delivery = nullptr;  // while the callback runs
};
