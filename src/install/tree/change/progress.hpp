// Tells an observer how far a change is, neither too often nor too rarely.

#pragma once

#include "install/tree/change.hpp"

#include <chrono>

namespace install::tree {

class ProgressReporter {
public:
    using Observer = std::function<void(const Progress&)>;

    explicit ProgressReporter(Observer observer) : observer_(std::move(observer)) {}

    // Each throws what the observer throws.
    void begin(Progress::Phase phase, std::size_t total);
    void step();

private:
    void report();

    Observer observer_;
    Progress progress_;
    std::chrono::steady_clock::time_point next_;
    std::chrono::milliseconds interval_{50};
    int reports_ = 0;
};

} // namespace install::tree
