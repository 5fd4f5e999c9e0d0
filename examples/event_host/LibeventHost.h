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
        if (!flag) return static_cast<int>(host.events_.erase(generator));
        Event watched(
            event_new(host.base_.get(), generator->getFileDescriptor(), EV_READ | EV_PERSIST, serve, generator));
        event_add(watched.get(), nullptr);
        host.events_[generator] = std::move(watched);
        return 1;
    }

    // The generator may be gone afterwards, and its event with it.
    static void serve(evutil_socket_t, short, void* generator) {
        static_cast<FS_EventGenerator*>(generator)->processEvents();
    }

    static void askAll(evutil_socket_t, short, void* data) {
        auto& events = static_cast<LibeventHost*>(data)->events_;
        for (auto next = events.begin(); next != events.end();) {
            // Serving it may take it out, but no other. It may also bring in one, so one is served at a time.
            FS_EventGenerator* const generator = (next++)->first;
            if (generator->getPollTime() < 0 || !generator->areEventsWaiting()) continue;
            generator->processEvents();
            return;
        }
    }

    std::unique_ptr<event_base, void (*)(event_base*)> base_;
    Event asking_;
    std::unordered_map<FS_EventGenerator*, Event> events_;
};
