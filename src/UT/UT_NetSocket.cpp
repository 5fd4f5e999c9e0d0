#include <UT/UT_NetSocket.h>
#include <platform/Deadline.h>
#include <platform/Socket.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace {

using platform::Deadline;
using platform::Ready;

bool isFullTable(int error) {
    return error == EMFILE || error == ENFILE;
}

int finish(int status, int* out, int value) {
    if (out) *out = value;
    return status;
}

// Of a transfer that didn't have to wait.
int statusOf(const platform::Transfer& transfer) {
    return transfer.error || transfer.count == 0 ? UT_NetSocket::kGone : UT_NetSocket::kDone;
}

// The sockets that are made here: nothing in them is overridden, so asking and reading can be one call.
class PlainSocket final : public UT_NetSocket {
public:
    explicit PlainSocket(int descriptor) : UT_NetSocket(descriptor) {}

    bool readWaiting(void* buffer, int maxLength, int* length, int* status) override {
        if (std::exchange(isDrained_, false) || getSocket() < 0 || maxLength <= 0) return false;
        const auto got = platform::receiveAndLook(getSocket(), buffer, static_cast<std::size_t>(maxLength));
        if (got.error == EAGAIN) return false;
        isDrained_ = got.isLast;
        *status = finish(statusOf(got), length, static_cast<int>(got.count));
        return true;
    }

private:
    bool isDrained_ = false;  // by the call before
};

std::unique_ptr<UT_NetSocket> makeSocket(platform::UniqueFd fd) {
    auto made = std::make_unique<PlainSocket>(fd.get());
    fd.release();
    return made;
}

}  // namespace

UT_NetSocket* UT_NetSocket::newSocket(int port, bool listening, bool) {
    if (!listening) return nullptr;
    auto fd = platform::listenAt(port), reserve = platform::reserveFd();
    // Without a reserve, a peer that can't be taken would be found waiting for ever.
    if (!fd || !reserve) return nullptr;
    auto made = makeSocket(std::move(fd));
    made->reserve_ = reserve.release();
    return made.release();
}

int UT_NetSocket::mapToUnprivilegedPort(int port) {
    return 1 <= port && port <= 1023 ? port + 10000 : port;
}

int UT_NetSocket::getHostAddress(unsigned char address[4], const char* host) {
    return host ? platform::hostAddress(host, address) : platform::machineAddress(address);
}

UT_NetSocket::UT_NetSocket(int descriptor) : port(platform::localAddress(descriptor).port), socket_(descriptor) {}

UT_NetSocket::~UT_NetSocket() {
    UT_NetSocket::close();
}

UT_NetSocket* UT_NetSocket::accept(int timeoutMs, int* status) {
    const auto end = [status](int how, UT_NetSocket* peer = nullptr) {
        if (status) *status = how;
        return peer;
    };
    if (socket_ < 0) return end(kGone);
    // Taken again here where that wasn't possible at once.
    if (reserve_ < 0) reserve_ = platform::reserveFd().release();
    for (const Deadline deadline(timeoutMs);;) {
        auto accepted = platform::acceptFrom(socket_);
        if (accepted.fd) return end(kDone, makeSocket(std::move(accepted.fd)).release());
        if (isFullTable(accepted.error)) {
            // A peer left waiting would keep the listening socket readable for ever.
            platform::UniqueFd(reserve_).reset();
            accepted.error = platform::acceptFrom(socket_).error;
            reserve_ = platform::reserveFd().release();
        }
        if (accepted.error != EAGAIN) return end(kGone);
        if (!platform::waitFor(socket_, Ready::toRead, deadline.leftMs())) return end(kTimedOut);
    }
}

void UT_NetSocket::close() {
    platform::UniqueFd(socket_).reset();
    platform::UniqueFd(reserve_).reset();
    socket_ = reserve_ = -1;
}

int UT_NetSocket::dataAvailable(int timeoutMs) {
    return platform::waitFor(socket_, Ready::toRead, timeoutMs);
}

int UT_NetSocket::read(void* buffer, int maxLength, int* length, int timeoutMs) {
    if (socket_ < 0) return finish(kGone, length, 0);
    if (maxLength <= 0) return finish(kDone, length, 0);
    for (const Deadline deadline(timeoutMs);;) {
        const auto got = platform::receive(socket_, buffer, static_cast<std::size_t>(maxLength));
        if (got.error != EAGAIN) return finish(statusOf(got), length, static_cast<int>(got.count));
        if (!platform::waitFor(socket_, Ready::toRead, deadline.leftMs())) return finish(kTimedOut, length, 0);
    }
}

int UT_NetSocket::write(const void* data, int length, int* written, int timeoutMs) {
    if (socket_ < 0) return finish(kGone, written, 0);
    const auto* const bytes = static_cast<const char*>(data);
    int done = 0;
    for (const Deadline deadline(timeoutMs); done < length;) {
        const auto sent = platform::send(socket_, bytes + done, static_cast<std::size_t>(length - done));
        done += static_cast<int>(sent.count);
        if (sent.error && sent.error != EAGAIN) return finish(kGone, written, done);
        if (sent.error && !platform::waitFor(socket_, Ready::toWrite, deadline.leftMs()))
            return finish(kTimedOut, written, done);
    }
    return finish(kDone, written, done);
}

void UT_NetSocket::getRemoteSocket(char* host, int* remotePort) {
    const auto peer = platform::peerAddress(socket_);
    if (host) std::memcpy(host, peer.host.c_str(), peer.host.size() + 1);
    if (remotePort) *remotePort = peer.port;
}

int UT_NetSocket::isValid() {
    return socket_ >= 0;
}

bool UT_NetSocket::readWaiting(void* buffer, int maxLength, int* length, int* status) {
    if (dataAvailable(0) <= 0) return false;
    *status = read(buffer, maxLength, length, -1);
    return true;
}
