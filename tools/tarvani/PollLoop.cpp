#include "PollLoop.h"

#include <events/FS_EventGenerator.h>

#include <algorithm>
#include <ctime>

namespace {
PollLoop* theLoop = nullptr;
}  // namespace

PollLoop::PollLoop() {
    theLoop = this;
    FS_EventGenerator::setInstaller(install);
}

PollLoop::~PollLoop() {
    // Each tells its going, which leaves its place empty.
    for (std::size_t i = 0; i < generators_.size(); ++i) delete generators_[i];
    FS_EventGenerator::setInstaller(nullptr);
    theLoop = nullptr;
}

int PollLoop::install(FS_EventGenerator* generator, int flag) {
    auto& all = theLoop->generators_;
    if (flag) {
        all.push_back(generator);
        theLoop->watched_.push_back({generator->getFileDescriptor(), POLLIN, 0});
    } else if (const auto found = std::find(all.begin(), all.end(), generator); found != all.end()) {
        // The place stays until the next turn: this one may be walking.
        theLoop->watched_[static_cast<std::size_t>(found - all.begin())].fd = -1;
        *found = nullptr;
    }
    return 1;
}

void PollLoop::forgetRemoved() {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < generators_.size(); ++i) {
        if (!generators_[i]) continue;
        generators_[kept] = generators_[i];
        watched_[kept++] = watched_[i];
    }
    generators_.resize(kept);
    watched_.resize(kept);
}

bool PollLoop::wait(int longestWaitMs, const sigset_t* mask) {
    forgetRemoved();
    const timespec wait = {longestWaitMs / 1000, longestWaitMs % 1000 * 1000000L};
    const int ready = ::ppoll(watched_.data(), watched_.size(), longestWaitMs < 0 ? nullptr : &wait, mask);
    // A wait that a signal ended has found nothing.
    if (ready <= 0)
        for (pollfd& each : watched_) each.revents = 0;
    return ready > 0;
}

void PollLoop::serve() {
    // Those that are added meanwhile stand behind `size`, and have their turn later.
    for (std::size_t i = 0, size = watched_.size(); i < size; ++i) {
        if (!watched_[i].revents || !generators_[i]) continue;
        generators_[i]->processEvents();
        // It may be gone, whatever was answered; if it isn't, its descriptor may be.
        if (generators_[i]) watched_[i].fd = generators_[i]->getFileDescriptor();
    }
}
