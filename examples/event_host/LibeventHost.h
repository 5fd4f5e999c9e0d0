#pragma once
// A host's loop over libevent: an event for each generator that the library asks it to serve.
//
//     LibeventHost host;
//     auto* service = FS_ServerSocketListener::createSocketListener(...);
//     host.run();
#include <event2/event.h>
#include <events/FS_EventGenerator.h>

#include <memory>
#include <unordered_map>

class LibeventHost {
public:
    LibeventHost() : base_(event_base_new(), event_base_free) {
        current() = this;
        FS_EventGenerator::setInstaller(install);
        // Poll times may change without a word, so one slow clock asks for all that have one.
        asking_.reset(event_new(base_.get(), -1, EV_PERSIST, askAll, this));
        const timeval second = {1, 0};
        event_add(asking_.get(), &second);
    }
    ~LibeventHost() {
        FS_EventGenerator::setInstaller(nullptr);
        current() = nullptr;
    }
    LibeventHost(const LibeventHost&) = delete;
    LibeventHost& operator=(const LibeventHost&) = delete;

    void run() { event_base_dispatch(base_.get()); }
    event_base* base() const { return base_.get(); }

private:
    struct FreeEvent {
        // The descriptor may be closed already; libevent watches it by the number that it had.
        void operator()(event* watched) const { event_free(watched); }
    };
    using Event = std::unique_ptr<event, FreeEvent>;

    static LibeventHost*& current() {
        static LibeventHost* host = nullptr;
        return host;
    }

    static int install(FS_EventGenerator* generator, int flag) {
        LibeventHost& host = *current();
        if (!flag) {
            if (host.serving_ == generator) host.serving_ = nullptr;
            return static_cast<int>(host.events_.erase(generator));
        }
        // The one that brings it in may have closed its own descriptor, whose number this one then has.
        host.lookAgain();
        host.watch(host.events_[generator], generator);
        return 1;
    }

    void watch(Event& watched, FS_EventGenerator* generator) {
        watched.reset(event_new(base_.get(), generator->getFileDescriptor(), EV_READ | EV_PERSIST, serve, generator));
        event_add(watched.get(), nullptr);
    }

    // A descriptor may change without a word. What libevent goes on watching by a number that was closed, it would not
    // watch for the next that gets this number.
    void lookAgain() {
        if (!serving_) return;
        Event& watched = events_[serving_];
        if (event_get_fd(watched.get()) != serving_->getFileDescriptor()) watch(watched, serving_);
    }

    // The generator may be gone afterwards, and its event with it.
    void serveOne(FS_EventGenerator* generator) {
        serving_ = generator;
        generator->processEvents();
        lookAgain();
        serving_ = nullptr;
    }

    static void serve(evutil_socket_t, short, void* generator) {
        current()->serveOne(static_cast<FS_EventGenerator*>(generator));
    }

    static void askAll(evutil_socket_t, short, void* data) {
        auto& host = *static_cast<LibeventHost*>(data);
        for (auto next = host.events_.begin(); next != host.events_.end();) {
            // Serving it may take it out, but no other. It may also bring in one, so one is served at a time.
            FS_EventGenerator* const generator = (next++)->first;
            if (generator->getPollTime() < 0 || !generator->areEventsWaiting()) continue;
            host.serveOne(generator);
            return;
        }
    }

    std::unique_ptr<event_base, void (*)(event_base*)> base_;
    Event asking_;
    std::unordered_map<FS_EventGenerator*, Event> events_;
    FS_EventGenerator* serving_ = nullptr;  // until it is removed
};
