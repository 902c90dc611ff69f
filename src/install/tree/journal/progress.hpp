// Tells an observer how far a change is, often enough, and not for every file.

#pragma once

#include "install/tree/change.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <utility>

namespace install::tree {

class ProgressReporter {
public:
    using Observer = std::function<void(const Progress&)>;

    explicit ProgressReporter(Observer observer) : observer_(std::move(observer)) {}

    // All throw what the observer throws.
    void begin(Progress::Phase phase, std::size_t total) {
        progress_ = {phase, 0, total};
        report();
    }
    void step() {
        ++progress_.done;
        if (observer_ && Clock::now() >= next_)
            report();
    }
    // All files of the phase are done.
    void finish() {
        progress_.done = progress_.total;
        report();
    }

private:
    using Clock = std::chrono::steady_clock;

    void report() {
        next_ = Clock::now() + std::chrono::milliseconds(50);
        if (observer_)
            observer_(progress_);
    }

    Observer observer_;
    Progress progress_;
    Clock::time_point next_;
};

} // namespace install::tree
