// listen.
#include <UT/UT_NetPacket.h>
#include <UT/UT_NetSocket.h>
#include <events/FS_ServerSocketListener.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "PollLoop.h"

namespace {

// Milliseconds that all wait for a peer that doesn't read its echo, before it is given up.
constexpr int kEchoTime = 1000;
// What has come by the end of the child is still served, in this time.
constexpr std::chrono::seconds kRestTime(1);

void echoMessage(void*, const char* text, int length, UT_NetSocket& socket) {
    if (socket.write(text, length, nullptr, kEchoTime) != UT_NetSocket::kDone) socket.close();
}

// A failure of standard output, which must not pass through the library.
std::exception_ptr printFailure;

void printMessage(void*, const char* text, int length, UT_NetSocket& socket) {
    std::string_view rest(text, static_cast<std::size_t>(length));
    try {
        while (!rest.empty()) {
            const std::size_t end = rest.find('\n');
            standardOutput().writeName(rest.substr(0, end));
            if (end != rest.npos) standardOutput().write("\n");
            rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        }
        standardOutput().flush();
    } catch (...) {
        printFailure = std::current_exception();
        socket.close();
    }
}

// The signal that asked for the end, 0 if none did.
volatile sig_atomic_t endingSignal = 0;

// Sets up the handling of the signals that end the listening or a wait of its loop, and gives them.
sigset_t handleSignals() {
    sigset_t handled;
    sigemptyset(&handled);
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) {
        struct sigaction before {};
        // What the parent ignores (a background job) stays ignored.
        if (signal != SIGCHLD && ::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        sigaddset(&handled, signal);
        // A second one ends the program at once.
        action.sa_flags = signal == SIGCHLD ? 0 : static_cast<int>(SA_RESETHAND);
        action.sa_handler = [](int number) {
            if (number != SIGCHLD) endingSignal = number;
        };
        ::sigaction(signal, &action, nullptr);
    }
    return handled;
}

// Holds signals back, so that none is missed between the last look at what they say and a wait that lets them in.
// Never longer: peers that keep the loop busy, and output that is stuck, must not keep the program from being ended.
class HeldSignals {
public:
    explicit HeldSignals(const sigset_t& held) { ::sigprocmask(SIG_BLOCK, &held, &before_); }
    ~HeldSignals() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    // What was held back before.
    const sigset_t& before() const { return before_; }

private:
    sigset_t before_;
};

// Starts the program, which finds the port in its environment.
pid_t startChild(const std::vector<std::string>& words, int port) {
    ::setenv("TARVANI_PORT", std::to_string(port).c_str(), 1);
    std::vector<char*> argv;
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t ignored;
    sigemptyset(&ignored);
    sigaddset(&ignored, SIGXFSZ);
    posix_spawnattr_setsigdefault(&attributes, &ignored);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, argv[0], nullptr, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    if (error) throw Failure{words[0], errorWords(error)};
    return child;
}

// The exit status of the child if it has ended, as a shell would give it; else -1.
int endOf(pid_t child) {
    int status = 0;
    if (::waitpid(child, &status, WNOHANG) != child) return -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// Waits for work, without end. The status to exit with if there is nothing more to wait for, else -1.
int waitForWork(PollLoop& loop, pid_t child, const sigset_t& signals) {
    const HeldSignals held(signals);
    if (const int status = child != 0 ? endOf(child) : -1; status >= 0) return status;
    if (endingSignal && child == 0) return 0;
    if (endingSignal) ::kill(child, endingSignal);
    endingSignal = 0;
    loop.wait(-1, &held.before());
    return -1;
}

void serveOnce(PollLoop& loop) {
    loop.serve();
    if (printFailure) std::rethrow_exception(printFailure);
}

// Serves until the child has ended, and then what is still waiting; without one, until a signal comes. The exit status.
int serve(PollLoop& loop, pid_t child, const sigset_t& signals) {
    int status;
    while ((status = waitForWork(loop, child, signals)) < 0) serveOnce(loop);
    const auto end = std::chrono::steady_clock::now() + kRestTime;
    while (child != 0 && std::chrono::steady_clock::now() < end && loop.wait(0)) serveOnce(loop);
    return status;
}

int listen(int port, const char* mask, bool echo, const std::vector<std::string>& program) {
    PollLoop loop;
    const std::unique_ptr<FS_ServerSocketListener> service(
        FS_ServerSocketListener::createSocketListener(port, echo ? echoMessage : printMessage, nullptr, mask, false));
    if (!service) throw Failure{"port " + std::to_string(port), "can't be listened at: in use, or not allowed"};
    const sigset_t signals = handleSignals();
    standardOutput().writeNumber(service->getPort());
    standardOutput().write("\n");
    standardOutput().flush();
    const pid_t child = program.empty() ? 0 : startChild(program, service->getPort());
    return serve(loop, child, signals);
}

// What is wrong with a list of masks: none at all, or one of a wrong form, would silently refuse everybody.
std::string mistakeInMasks(std::string_view masks) {
    bool isEmpty = true;
    while (!masks.empty()) {
        const std::size_t end = std::min(masks.find_first_of(" \t,"), masks.size());
        const std::string mask(masks.substr(0, end));
        masks.remove_prefix(std::min(end + 1, masks.size()));
        if (mask.empty()) continue;
        std::string address = mask;
        for (char& c : address)
            if (c == '+' || c == '*') c = '0';
        if (!UT_NetPacket::matchIPMask(mask.c_str(), address.c_str(), nullptr))
            return "\"" + mask + "\" is not a mask: four numbers or + for any, split by dots";
        isEmpty = false;
    }
    return isEmpty ? "no mask: it would refuse everybody" : "";
}

Action declareListen(CLI::App& app) {
    const auto port =
        addNumber(app, "PORT", 0, 65535, "the port, on all addresses of this machine; 0 takes a free one");
    const auto mask = addOptionalText(
        app, "--mask MASK", "serve only these peers: four numbers or + for any, split by dots; several with commas");
    const auto echo = addFlag(app, "--echo", "send each message back in place of printing it");
    const auto program =
        addProgram(app, "--exec CHILD",
                   "run this program, the rest of the line, with the port in TARVANI_PORT, and end when "
                   "it ends, with its exit status");
    addRule(app, [=] { return mask->empty() ? "" : mistakeInMasks(mask->back()); });
    return [=] { return listen(*port, mask->empty() ? nullptr : mask->back().c_str(), *echo, *program); };
}

constexpr Subcommand kCommands[] = {
    {"listen", "Print the messages that come to a port",
     "tarvani listen 4000\n"
     "tarvani listen 4000 --mask 192.168.1.+,10.0.0.7  # refuse all others\n"
     "tarvani listen 0 --echo --exec sh -c 'echo hello | nc -w 1 127.0.0.1 $TARVANI_PORT'",
     declareListen,
     "The first line is the number of the port. It listens until SIGINT or SIGTERM, or until CHILD ends.",
     "0 ended by a signal, with --exec that of CHILD; 1 failed, 2 wrong usage"},
};

}  // namespace

const std::span<const Subcommand> kListenCommands = kCommands;
