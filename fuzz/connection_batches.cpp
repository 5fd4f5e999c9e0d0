// What a connection makes of the bytes of its peer, however they are split, against the rule of messages written down
// plainly. In the input a byte 255 and the one behind it end a read or a batch, end the connection, let the next
// callback close it, or lengthen the read with its last byte; all other bytes are the peer's.
#include "../tests/support/ScriptedSocket.h"
#include "Check.h"
#include "Limits.h"

#include <events/FS_ConnectedSocketListener.h>

#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kLongestInput = 512;
constexpr std::size_t kLongestRead = 8191;

std::set<FS_EventGenerator*> installed;

int install(FS_EventGenerator* generator, int flag) {
    if (flag)
        installed.insert(generator);
    else
        check(installed.erase(generator) == 1 && generator->getFileDescriptor() == -1, "a connection is removed once");
    return 1;
}

struct Script {
    std::deque<ScriptedRead> reads;
    std::set<std::size_t> closing;  // numbers of the messages whose callback closes the connection
};

Script scriptOf(const std::uint8_t* data, std::size_t size) {
    Script script;
    std::string bytes;
    const auto endRead = [&](bool pause) {
        if (!bytes.empty()) script.reads.push_back({bytes});
        if (!script.reads.empty() && pause) script.reads.back().pause = true;
        bytes.clear();
    };
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] != 255) {
            bytes += static_cast<char>(data[i]);
            continue;
        }
        const unsigned argument = ++i < size ? data[i] : 0;
        switch (argument % 5) {
            case 0:
                endRead(false);
                break;
            case 1:
                endRead(true);
                break;
            case 2:
                endRead(false), script.reads.push_back({});
                break;
            case 3:
                script.closing.insert(argument / 5);
                break;
            case 4:
                bytes.append(kLongestRead - 20 + argument / 5, bytes.empty() ? 'x' : bytes.back());
                break;
        }
    }
    endRead(true);
    return script;
}

// What one call of processEvents is to do.
struct Model {
    std::string input;
    std::size_t count = 0;

    enum class Outcome { waits, message, gone };
    Outcome batch(std::deque<ScriptedRead>& reads) {
        std::string scratch;
        char last = 0;
        while (!reads.empty()) {
            ScriptedRead read = reads.front();
            reads.pop_front();
            if (read.bytes.empty()) return Outcome::gone;
            for (std::size_t at = 0; at < read.bytes.size(); at += kLongestRead) {
                std::string piece = read.bytes.substr(at, kLongestRead);
                if (piece.back() == '\0') piece.back() = '\n';
                last = piece.back();
                scratch += piece;
            }
            if (read.pause) break;
        }
        input += scratch.c_str();
        return !input.empty() && (last == '\n' || last == 4) ? Outcome::message : Outcome::waits;
    }
};

struct Run {
    FS_EventGenerator* listener = nullptr;
    std::set<std::size_t> closing;
    std::vector<std::string> messages;
};

void take(void* data, const char* text, int length, UT_NetSocket& socket) {
    Run& run = *static_cast<Run*>(data);
    check(!run.listener->areEventsWaiting() && run.listener->processEvents() == 1, "a callback isn't disturbed");
    check(text[length] == '\0', "a message is C text");
    if (run.closing.contains(run.messages.size())) socket.close();
    run.messages.emplace_back(text, static_cast<std::size_t>(length));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    FS_EventGenerator::setInstaller(install);
    Script script = scriptOf(data, size);
    // A lengthened read makes two bytes of the input to thousands of the peer, and those are what the connection gets.
    std::size_t sent = 0;
    for (const ScriptedRead& read : script.reads) sent += read.bytes.size();
    const Limits limits(sent);
    std::deque<ScriptedRead> reads = script.reads;
    ScriptedServer server(script.reads);
    Run run;
    run.closing = script.closing;
    run.listener = new FS_ConnectedSocketListener(server, take, &run, nullptr);
    Model model;
    while (!reads.empty() && installed.contains(run.listener)) {
        const auto outcome = model.batch(reads);
        check(run.listener->processEvents() == (outcome == Model::Outcome::gone ? 0 : 1),
              "the result tells of the end");
        if (outcome == Model::Outcome::message) {
            check(run.messages.size() == ++model.count && run.messages.back() == model.input, "a message is whole");
            model.input.clear();
        }
        check(run.messages.size() == model.count, "there are no other messages");
        const bool closed = outcome == Model::Outcome::message && run.closing.contains(model.count - 1);
        check(installed.contains(run.listener) == !(closed || outcome == Model::Outcome::gone), "it ends when it must");
    }
    if (installed.contains(run.listener)) delete run.listener;
    check(installed.empty(), "nothing stays");
    return 0;
}
