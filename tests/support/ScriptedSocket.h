#pragma once
// Sockets without a network: a connection hands out what a script says, read by read.
#include <UT/UT_NetSocket.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>

struct ScriptedRead {
    std::string bytes;   // an empty one is an end
    bool pause = false;  // nothing waits behind it
    int status = 0;
};

class ScriptedSocket : public UT_NetSocket {
public:
    explicit ScriptedSocket(std::deque<ScriptedRead>& script) : UT_NetSocket(-1), script_(script) {}

    void close() override { valid_ = 0; }
    int isValid() override { return valid_; }
    int dataAvailable(int) override { return paused_ || script_.empty() ? paused_ = false : 1; }
    int read(void* buffer, int maxLength, int* length, int) override {
        auto& next = script_.front();
        const auto count = std::min(next.bytes.size() - done_, static_cast<std::size_t>(maxLength));
        std::memcpy(buffer, next.bytes.data() + done_, count);
        *length = static_cast<int>(count);
        const int status = next.status;
        done_ += count;
        if (done_ == next.bytes.size()) {
            done_ = 0;
            paused_ = next.pause;
            script_.pop_front();
        }
        return status;
    }
    void getRemoteSocket(char* host, int*) override { std::strcpy(host, "10.0.0.1"); }

private:
    std::deque<ScriptedRead>& script_;
    int valid_ = 1;
    bool paused_ = false;
    std::size_t done_ = 0;  // of the first read
};

// A listening socket at which one peer after the other waits.
class ScriptedServer : public UT_NetSocket {
public:
    explicit ScriptedServer(std::deque<ScriptedRead>& script) : UT_NetSocket(-1), script_(script) {}
    UT_NetSocket* accept(int, int*) override { return new ScriptedSocket(script_); }

private:
    std::deque<ScriptedRead>& script_;
};
