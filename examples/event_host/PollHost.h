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
    ~PollHost() {
        FS_EventGenerator::setInstaller(nullptr);
        current() = nullptr;
    }
    PollHost(const PollHost&) = delete;
    PollHost& operator=(const PollHost&) = delete;

    // Waits until something happens, at most so many milliseconds (negative: for ever), and serves it. Gives the number
    // of generators that had work.
    int turn(int longestWaitMs = -1) {
        forgetRemoved();
        const auto untilAsking = std::chrono::ceil<std::chrono::milliseconds>(nextAsking_ - Clock::now()).count();
        const int wait = static_cast<int>(std::max<decltype(untilAsking)>(untilAsking, 0));
        const bool ask = longestWaitMs < 0 || wait <= longestWaitMs;
        int readable = ::poll(watched_.data(), watched_.size(), ask ? wait : longestWaitMs);
        if (readable <= 0) return ask ? askAll() : 0;
        int served = 0;
        // Those that are added meanwhile stand behind, and have their turn later.
        for (std::size_t i = 0; readable > 0; ++i) {
            if (!watched_[i].revents) continue;
            --readable;
            if (!generators_[i]) continue;  // removed by one that was served before it
            serve(i);
            ++served;
        }
        // A loop that always has something to do must come to this, too.
        return wait == 0 ? served + askAll() : served;
    }
    std::size_t size() const { return places_.size(); }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int kAskingTime = 1000;  // milliseconds

    static PollHost*& current() {
        static PollHost* host = nullptr;
        return host;
    }

    void serve(std::size_t i) {
        generators_[i]->processEvents();
        // It may be gone, whatever was answered; if it isn't, its descriptor may be.
        if (generators_[i]) watched_[i].fd = generators_[i]->getFileDescriptor();
    }

    // Poll times may change without a word, so all are looked at once a second, or as often as the shortest says.
    int askAll() {
        int served = 0, shortest = kAskingTime;
        for (std::size_t i = 0, size = generators_.size(); i < size; ++i) {
            if (!generators_[i]) continue;
            const int time = generators_[i]->getPollTime();
            if (time < 0) continue;
            shortest = std::min(shortest, time);
            if (!generators_[i]->areEventsWaiting()) continue;
            serve(i);
            ++served;
        }
        nextAsking_ = Clock::now() + std::chrono::milliseconds(shortest);
        return served;
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

    // In step: watched_[i] belongs to generators_[i], which is null once it was removed.
    std::vector<FS_EventGenerator*> generators_;
    std::vector<pollfd> watched_;
    std::unordered_map<FS_EventGenerator*, std::size_t> places_;
    bool hasRemoved_ = false;
    Clock::time_point nextAsking_;
};
