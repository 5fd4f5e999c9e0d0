#pragma once
// A host's loop over poll: serves every generator that the library asks it to serve.
//
//     PollHost host;
//     auto* service = FS_ServerSocketListener::createSocketListener(...);
//     while (running) host.turn();
#include <events/FS_EventGenerator.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <unordered_map>
#include <vector>

class PollHost {
public:
    PollHost() {
        current() = this;
        FS_EventGenerator::setInstaller(install);
    }
    ~PollHost() { FS_EventGenerator::setInstaller(nullptr); }
    PollHost(const PollHost&) = delete;
    PollHost& operator=(const PollHost&) = delete;

    // Waits until something happens, at most so many milliseconds (negative: for ever), and serves it. Gives the number
    // of generators that had work.
    int turn(int longestWaitMs = -1) {
        forgetRemoved();
        int timeout = longestWaitMs;
        const int pollTime = shortestPollTime();
        if (pollTime >= 0) timeout = timeout < 0 ? pollTime : std::min(timeout, pollTime);
        int left = ::poll(watched_.data(), watched_.size(), timeout);
        const bool ask = pollTime >= 0 && Clock::now() >= nextAsking_;
        if (ask) nextAsking_ = Clock::now() + std::chrono::milliseconds(pollTime);
        int served = 0;
        // Those that are added meanwhile stand behind `size`, and have their turn later.
        for (std::size_t i = 0, size = watched_.size(); i < size && (left > 0 || ask); ++i) {
            const bool readable = watched_[i].revents != 0;
            if (readable) --left;
            FS_EventGenerator* const generator = generators_[i];
            if (!generator) continue;
            if (!readable && !(ask && generator->getPollTime() >= 0 && generator->areEventsWaiting())) continue;
            generator->processEvents();
            ++served;
            // It may be gone, whatever was answered; if it isn't, its descriptor may be.
            if (generators_[i]) watched_[i].fd = generators_[i]->getFileDescriptor();
        }
        return served;
    }
    std::size_t size() const { return places_.size(); }

private:
    using Clock = std::chrono::steady_clock;

    static PollHost*& current() {
        static PollHost* host = nullptr;
        return host;
    }

    static int install(FS_EventGenerator* generator, int flag) {
        flag ? current()->add(generator) : current()->remove(generator);
        return 1;
    }

    void add(FS_EventGenerator* generator) {
        if (!places_.emplace(generator, generators_.size()).second) return;
        generators_.push_back(generator);
        watched_.push_back({generator->getFileDescriptor(), POLLIN, 0});
    }

    // The place stays until the next turn: this one may be walking.
    void remove(FS_EventGenerator* generator) {
        const auto place = places_.find(generator);
        if (place == places_.end()) return;  // a connection that was refused
        generators_[place->second] = nullptr;
        watched_[place->second].fd = -1;
        places_.erase(place);
        hasRemoved_ = true;
    }

    void forgetRemoved() {
        if (!hasRemoved_) return;
        hasRemoved_ = false;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < generators_.size(); ++i) {
            if (!generators_[i]) continue;
            generators_[kept] = generators_[i];
            watched_[kept] = watched_[i];
            places_[generators_[kept]] = kept;
            ++kept;
        }
        generators_.resize(kept);
        watched_.resize(kept);
    }

    // Asked again at each turn, since it may change without a word.
    int shortestPollTime() const {
        int shortest = -1;
        for (FS_EventGenerator* const generator : generators_) {
            const int time = generator->getPollTime();
            if (time >= 0) shortest = shortest < 0 ? time : std::min(shortest, time);
        }
        return shortest;
    }

    // In step: watched_[i] belongs to generators_[i], which is null once it was removed.
    std::vector<FS_EventGenerator*> generators_;
    std::vector<pollfd> watched_;
    std::unordered_map<FS_EventGenerator*, std::size_t> places_;
    bool hasRemoved_ = false;
    Clock::time_point nextAsking_;
};
